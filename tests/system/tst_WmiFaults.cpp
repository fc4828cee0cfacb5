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
             {std::tuple("initializeCom", refusal, u"CoInitializeEx failed (0x8000ffff)"_s),
              {"initializeCom", HResult{2}, u"CoInitializeEx failed (0x2)"_s},
              {"createLocator", refusal, u"CoCreateInstance(WbemLocator) failed (0x8000ffff)"_s},
              {"connectServer", refusal, u"ConnectServer(ROOT\\CIMV2) failed (0x8000ffff)"_s},
              {"setProxyBlanket", refusal, u"CoSetProxyBlanket failed (0x8000ffff)"_s}}) {
            m_machine.emplace();
            SimulatedPc::fail(u"wmi."_s + QLatin1String(call), code);
            WmiSession session;
            QString error;
            QVERIFY(!session.connect(u"ROOT\\CIMV2"_s, &error));
            QCOMPARE(error, message);
            QCOMPARE(m_machine->log.lines(), QStringList(u"[WARN] wmi: "_s + message));
            QVERIFY(!WmiSession().connect(u"ROOT\\CIMV2"_s, nullptr));
        }
        SimulatedPc::clearFaults();
        QString error;
        QVERIFY(!WmiSession().connect(u"ROOT\\NoSuch"_s, &error));
        QCOMPARE(error, u"ConnectServer(ROOT\\NoSuch) failed (0x8004100e)"_s);
    }

    /// A thread that COM holds in the single-threaded apartment is used as it stands and not let go of.
    void singleThreadedApartment()
    {
        int duringSession = 0;
        int afterwards = 0;
        qsizetype rows = 0;
        std::jthread([&] {
            SimulatedCom::enterSingleThreadedApartment();
            {
                WmiSession session;
                if (session.connect(u"ROOT\\CIMV2"_s, nullptr))
                    rows = session.query(u"SELECT * FROM Win32_BIOS"_s, nullptr).size();
                duringSession = SimulatedCom::references();
            }
            afterwards = SimulatedCom::references();
            SimulatedCom::leaveSingleThreadedApartment();
        }).join();
        QCOMPARE(rows, 1);
        QCOMPARE(duringSession, 1);
        QCOMPARE(afterwards, 1);
    }

    /// Also for a query that reports success and gives nothing to go through.
    void queryFails()
    {
        for (const auto& [code, message] :
             {std::pair(refusal, "ExecQuery failed (0x8000ffff)"), std::pair(HResult::Ok, "ExecQuery failed (0x0)")}) {
            SimulatedPc::fail(u"wmi.execQuery"_s, code);
            WmiSession session;
            QVERIFY(session.connect(u"ROOT\\CIMV2"_s, nullptr));
            QString error;
            QCOMPARE(session.query(u"SELECT * FROM Win32_BIOS"_s, &error), QList<WmiRow>());
            QCOMPARE(error, QString::fromLatin1(message));
            SimulatedPc::clearFaults();
        }
        QCOMPARE(m_machine->log.lines(), QStringList());
    }

    /// Null, arrays and 8-bit numbers read as empty; an object of nothing but the system's own properties is a row.
    void oddRows()
    {
        const QJsonObject odd{
            {u"Null"_s, QJsonValue()}, {u"Array"_s, QJsonArray{u"a"_s}}, {u"Byte"_s, QJsonObject{{u"UI1"_s, 7}}},
            {u"Large"_s, -1048576},    {u"Huge"_s, u"34283036672"_s},    {u"Flag"_s, true}};
        SimulatedPc::setValue(u"wmi/namespaces/ROOT\\CIMV2/Win32_Fan"_s,
                              QJsonArray{odd, QJsonObject{{u"__CLASS"_s, u"Win32_Fan"_s}}});
        WmiSession session;
        QVERIFY(session.connect(u"ROOT\\CIMV2"_s, nullptr));
        const QList<WmiRow> rows = session.query(u"SELECT * FROM Win32_Fan"_s, nullptr);
        QCOMPARE(rows.size(), 2);
        QCOMPARE(rows[0],
                 (WmiRow{{u"Null"_s, QString()},
                         {u"Array"_s, QString()},
                         {u"Byte"_s, QString()},
                         {u"Large"_s, u"-1048576"_s},
                         {u"Huge"_s, u"34283036672"_s},
                         {u"Flag"_s, u"true"_s}}));
        QCOMPARE(rows[0].value(u"Byte"_s).toInt(), 0);
        QCOMPARE(rows[1], WmiRow());
        QCOMPARE(session.query(u"SELECT Flag FROM Win32_Fan"_s, nullptr).value(0).keys(), QStringList(u"Flag"_s));
    }
};

QTEST_GUILESS_MAIN(tst_WmiFaults)
#include "tst_WmiFaults.moc"
