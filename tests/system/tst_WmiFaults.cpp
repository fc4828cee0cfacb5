#include "platform/simulated/wmi/SimulatedCom.h"
#include "support/simulated/Suite.h"
#include "system/WmiSession.h"

using namespace torvelane::platform;

namespace {

constexpr HResult refusal{static_cast<qint32>(0x8000ffff)};

} // namespace

/// What a session says and leaves behind when a step of it fails.
class tst_WmiFaults : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        // Whatever happened, each session has given back what it took.
        QCOMPARE(SimulatedCom::references(), 0);
        MachineSuite::cleanup();
    }

    /// The first of all, since the security of the process is tried once.
    void security()
    {
        SimulatedPc::fail(u"wmi.initializeSecurity"_s, refusal);
        for (int i = 0; i < 2; ++i) {
            WmiSession session;
            QString error;
            QVERIFY(session.connect(u"ROOT\\CIMV2"_s, &error));
            QCOMPARE(error, QString());
            QVERIFY(!session.query(u"SELECT * FROM Win32_BIOS"_s, &error).isEmpty());
        }
        QCOMPARE(m_machine->log.lines(), QStringList(u"[WARN] wmi: CoInitializeSecurity failed (0x8000ffff)"_s));
    }

    void connectFails()
    {
        for (const auto& [call, code, message] :
             {std::tuple("initializeCom", HResult{2}, u"CoInitializeEx failed (0x2)"_s),
              {"createLocator", refusal, u"CoCreateInstance(WbemLocator) failed (0x8000ffff)"_s},
              {"setProxyBlanket", refusal, u"CoSetProxyBlanket failed (0x8000ffff)"_s}}) {
            m_machine.emplace();
            SimulatedPc::fail(u"wmi."_s + QLatin1String(call), code);
            WmiSession session;
            QString error;
            QVERIFY(!session.connect(u"ROOT\\CIMV2"_s, &error));
            QCOMPARE(error, message);
            QCOMPARE(m_machine->log.lines(), QStringList(u"[WARN] wmi: "_s + message));
        }
        SimulatedPc::clearFaults();
        QString error;
        QVERIFY(!WmiSession().connect(u"ROOT\\NoSuch"_s, &error));
        QCOMPARE(error, u"ConnectServer(ROOT\\NoSuch) failed (0x8004100e)"_s);
    }

    /// A query that reports success and gives nothing to go through.
    void queryFails()
    {
        SimulatedPc::fail(u"wmi.execQuery"_s, HResult::Ok);
        WmiSession session;
        QVERIFY(session.connect(u"ROOT\\CIMV2"_s, nullptr));
        QString error;
        QCOMPARE(session.query(u"SELECT * FROM Win32_BIOS"_s, &error), QList<WmiRow>());
        QCOMPARE(error, u"ExecQuery failed (0x0)"_s);
    }
};

QTEST_GUILESS_MAIN(tst_WmiFaults)
#include "tst_WmiFaults.moc"
