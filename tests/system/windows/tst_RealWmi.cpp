#include "support/Suite.h"
#include "system/WmiSession.h"

#include <objbase.h>

using namespace torvelane::platform;

namespace {

/// The apartment of this thread, or nothing where COM isn't up.
std::optional<APTTYPE> apartment()
{
    APTTYPE type = APTTYPE_CURRENT;
    APTTYPEQUALIFIER qualifier{};
    return SUCCEEDED(CoGetApartmentType(&type, &qualifier)) ? std::optional(type) : std::nullopt;
}

} // namespace

/// Real COM.
class tst_RealWmi : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void methodWithoutASignature()
    {
        WmiSession session;
        QVERIFY(session.connect(u"ROOT\\DEFAULT"_s, nullptr));
        const auto call = session.callMethod(u"SystemRestore"_s, u"CreateRestorePoint"_s, {});
        QCOMPARE(call.stage, WmiMethodStage::Method);
        QCOMPARE(call.code, HResult::Ok);
        QCOMPARE(session.callMethod(u"NoSuchClass"_s, u"Any"_s, {}).stage, WmiMethodStage::Class);
    }

    /// A method that Wine has: the arguments arrive as their types say, and so does what it returns.
    void methodCall()
    {
        WmiSession session;
        QVERIFY(session.connect(u"ROOT\\DEFAULT"_s, nullptr));
        const auto readDword = [&session](const QString& name) {
            return session.callMethod(u"StdRegProv"_s, u"GetStringValue"_s,
                                      {{u"hDefKey"_s, {.type = vtI4, .bits = 0x80000001}},
                                       {u"sSubKeyName"_s, {.type = vtBstr, .text = torvelane::test::scratchKey}},
                                       {u"sValueName"_s, {.type = vtBstr, .text = name}}});
        };
        torvelane::test::putRaw(u"name"_s, {1, torvelane::test::utf16(u"value"_s)});
        const auto found = readDword(u"name"_s);
        QCOMPARE(found.stage, WmiMethodStage::Done);
        QCOMPARE(found.returnValue, (WmiValue{.type = vtI4}));
        QCOMPARE(readDword(u"missing"_s).returnValue, (WmiValue{.type = vtI4, .bits = 2}));
    }

    /// COM is as it was after a session, also where the thread had it already, in either apartment.
    void comIsLeftAsItWas()
    {
        const auto useSession = [] {
            WmiSession session;
            return session.connect(u"ROOT\\CIMV2"_s, nullptr)
                && !session.query(u"SELECT * FROM Win32_BIOS"_s, nullptr).isEmpty();
        };
        for (const std::optional<COINIT> before :
             {std::optional<COINIT>(), std::optional(COINIT_APARTMENTTHREADED), std::optional(COINIT_MULTITHREADED)}) {
            bool worked = false;
            std::optional<APTTYPE> apartmentBefore;
            std::optional<APTTYPE> apartmentAfter;
            std::optional<APTTYPE> apartmentAtLast;
            std::jthread([&] {
                if (before && FAILED(CoInitializeEx(nullptr, static_cast<DWORD>(*before))))
                    return;
                apartmentBefore = apartment();
                worked = useSession() && useSession();
                apartmentAfter = apartment();
                if (before)
                    CoUninitialize();
                apartmentAtLast = apartment();
            }).join();
            QVERIFY(worked);
            QCOMPARE(apartmentBefore.has_value(), before.has_value());
            QVERIFY(apartmentAfter == apartmentBefore);
            QVERIFY(!apartmentAtLast.has_value());
        }
        QCOMPARE(m_machine->log.lines(), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_RealWmi)
#include "tst_RealWmi.moc"
