#include "app/AppContext.h"
#include "restore/CimDateTime.h"
#include "restore/RestorePoint.h"
#include "support/simulated/Suite.h"
#include "tweaks/TweakEngine.h"

using namespace torvelane::platform;

namespace {

const QString key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s;
const QString policyKey = u"SOFTWARE\\Policies\\Microsoft\\Windows NT\\SystemRestore"_s;
const QString vssKey = u"SYSTEM\\CurrentControlSet\\Services\\VSS"_s;
const QString points = u"wmi/namespaces/ROOT\\DEFAULT/SystemRestore"_s;
const QString copies = u"wmi/namespaces/ROOT\\CIMV2/Win32_ShadowCopy"_s;
const QString frequency = u"SystemRestorePointCreationFrequency"_s;
constexpr HResult refusal{static_cast<qint32>(0x8000ffff)};
const QDateTime noon(QDate(2024, 3, 1), QTime(12, 0), Qt::UTC);

void setNumber(const QString& path, const QString& name, quint32 content)
{
    QVERIFY(writeDword(RegistryHive::LocalMachine, path, name, content));
}

/// Whether the program has lifted Windows' limit of one point a day, for good.
bool limitIsLifted()
{
    return machineValue(key, frequency) == RegistryValue{true, RegistryValueKind::Dword, 0, {}, {}};
}

/// The simulated tools' runs, as command lines.
QStringList toolRuns()
{
    QStringList lines;
    for (const CallRecord& record : SimulatedPc::calls()) {
        if (record.call.facility() == u"tools")
            lines << record.call.name.section(u'.', 1) + u' ' + record.call.argumentLine();
    }
    return lines;
}

QJsonObject shadowCopy(const QString& id, const QString& installed, bool isClientAccessible = true)
{
    return {{u"ClientAccessible"_s, isClientAccessible}, {u"ID"_s, id}, {u"InstallDate"_s, installed}};
}

} // namespace

/// System Restore on the simulated PC: creating with its fallback, protection, the list, deleting and rolling back.
class tst_RestorePoint : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void creates()
    {
        QVERIFY(deleteValue(RegistryHive::LocalMachine, key, frequency));
        QString error;
        for (const QString& name : {u"Été"_s, u"second"_s})
            QVERIFY2(RestorePoint::createWithFallback(name, &error), qPrintable(error));
        const QList<RestorePointInfo> list = RestorePoint::listPoints(&error);
        QCOMPARE(list.size(), 5);
        QCOMPARE(list[0].description, u"second"_s);
        QCOMPARE(list[1].description, u"Été"_s);
        QCOMPARE(list[1].sequenceNumber, 24u);
        QCOMPARE(list[1].restorePointType, 12u);
        QVERIFY(qAbs(list[1].creationTime.secsTo(QDateTime::currentDateTimeUtc())) < 60);
        QVERIFY(toolRuns().isEmpty());
        QVERIFY(limitIsLifted());
    }

    void createFails()
    {
        // With the number of attempts: the second one is that of the fallback.
        const std::tuple<QString, HResult, QString, int> cases[] = {
            {u"connectServer"_s, HResult::ServiceDisabled,
             u"System Restore WMI unavailable: ConnectServer(ROOT\\DEFAULT) failed (0x80070422)"_s, 1},
            {u"getObject"_s, refusal, u"System Protection appears disabled (GetObject 0x8000ffff)"_s, 1},
            {u"getObject"_s, HResult::ServiceDisabled, u"System Protection appears disabled (GetObject 0x80070422)"_s,
             2},
            {u"getMethod"_s, HResult::ServiceDisabled, u"CreateRestorePoint method unavailable"_s, 1},
            {u"spawnInstance"_s, HResult::Ok, u"ExecMethod failed (0x0)"_s, 1},
            {u"execMethod"_s, refusal, u"ExecMethod failed (0x8000ffff)"_s, 1},
            {u"execMethod"_s, HResult::ServiceDisabled, u"ExecMethod failed (0x80070422)"_s, 2},
            {u"getReturnValue"_s, HResult::ServiceDisabled, u"unknown error"_s, 1},
            {QString(), HResult::Ok, u"CreateRestorePoint returned 1058"_s, 1},
        };
        for (const auto& [call, code, reason, attempts] : cases) {
            m_machine.emplace();
            setNumber(key, frequency, 1440);
            if (call.isEmpty())
                SimulatedPc::setValue(u"wmi/returnValues"_s,
                                      QJsonObject{{u"SystemRestore.CreateRestorePoint"_s, 1058}});
            else
                SimulatedPc::fail(u"wmi."_s + call, code);
            QString error;
            QVERIFY(!RestorePoint::createWithFallback(u"name"_s, &error));
            QCOMPARE(error, u"Restore point not created: "_s + reason);
            QCOMPARE(m_machine->log.count(u"[WARN] restore: "_s + error), 1);
            QCOMPARE(SimulatedPc::calls(u"wmi.connectServer"_s).size(), attempts);
            QCOMPARE(toolRuns().isEmpty(), attempts == 1);
            QVERIFY(limitIsLifted());
        }
    }

    /// Everything that may keep System Protection off, as a policy, a disabled service and switched off altogether.
    void fallbackLiftsEverything()
    {
        setNumber(policyKey, u"DisableSR"_s, 1);
        setNumber(policyKey, u"DisableConfig"_s, 1);
        setNumber(key, u"DisableSR"_s, 1);
        setNumber(key, u"RPSessionInterval"_s, 0);
        setNumber(vssKey, u"Start"_s, 4);
        QVERIFY(!RestorePoint::isProtectionEnabled());
        QString error;
        QVERIFY2(RestorePoint::createWithFallback(u"name"_s, &error), qPrintable(error));

        const QStringList lift{u"sc config VSS start= demand"_s, u"sc start VSS"_s};
        const QString enable = u"powershell -NoProfile -NonInteractive -Command Enable-ComputerRestore -Drive 'C:\\'"_s;
        QCOMPARE(toolRuns(), QStringList(lift + lift << enable));
        QCOMPARE(machineValue(policyKey, u"DisableSR"_s).number, 0u);
        QCOMPARE(machineValue(policyKey, u"DisableConfig"_s).number, 0u);
        QCOMPARE(machineValue(key, u"DisableSR"_s).number, 0u);
        QCOMPARE(machineValue(vssKey, u"Start"_s).number, 3u);
        QVERIFY(RestorePoint::isProtectionEnabled());
    }

    void protection()
    {
        constexpr int absent = -1;
        for (const auto& [disable, interval, enabled] :
             {std::tuple(absent, absent, true), {1, 1, false}, {0, absent, true}, {0, 0, false}, {2, 1, true}}) {
            for (const auto& [name, content] :
                 {std::pair(u"DisableSR"_s, disable), {u"RPSessionInterval"_s, interval}}) {
                if (content == absent)
                    QVERIFY(deleteValue(RegistryHive::LocalMachine, key, name));
                else
                    setNumber(key, name, static_cast<quint32>(content));
            }
            QCOMPARE(RestorePoint::isProtectionEnabled(), enabled);
        }
    }

    void list()
    {
        QString error;
        QVERIFY(SimulatedPc::setValue(
            points,
            QJsonArray{QJsonObject{{u"SequenceNumber"_s, 59},
                                   {u"Description"_s, u"My 2nd checkpoint"_s},
                                   {u"CreationTime"_s, u"20120202180537.316029-000"_s}},
                       QJsonObject{{u"SequenceNumber"_s, u"none"_s}, {u"CreationTime"_s, u"2012020218053"_s}},
                       QJsonObject{{u"SequenceNumber"_s, 160}, {u"EventType"_s, QJsonObject{{u"UI1"_s, 5}}}}}));
        const QList<RestorePointInfo> list = RestorePoint::listPoints(&error);
        QCOMPARE(error, QString());
        QCOMPARE(list.size(), 3);
        QCOMPARE(list[0].sequenceNumber, 160u);
        QVERIFY(!list[0].creationTime.isValid());
        QCOMPARE(list[1].description, u"My 2nd checkpoint"_s);
        QCOMPARE(list[1].creationTime, QDateTime(QDate(2012, 2, 2), QTime(18, 5, 37), Qt::UTC));
        QCOMPARE(list[2].sequenceNumber, 0u);
        QVERIFY(!list[2].creationTime.isValid());
        SimulatedPc::fail(u"wmi.execQuery"_s, refusal);
        QVERIFY(RestorePoint::listPoints(&error).isEmpty());
        QCOMPARE(error, u"Could not read restore points: ExecQuery failed (0x8000ffff)"_s);
    }

    void moments()
    {
        for (const auto& [text, utc, offsetSeconds] : {
                 std::tuple("20150501120034.213457-300", "2015-05-01T17:00:34Z", -18000),
                 {"20260113101500", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.000000+***", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.000000-060Z", "2026-01-13T10:15:00Z", 0},
                 {"20260113101500.-030+060", "2026-01-13T09:15:00Z", 3600}, // a plus behind a minus counts
                 {"20260113101500+2147483647", "2026-01-13T10:15:00Z", 0},  // too large to be an offset
                 {"20230229000000.000000+000", "", 0},
                 {"20260113******.******+***", "", 0},
                 {"", "", 0},
             }) {
            const QDateTime parsed = parseCimDateTime(QLatin1String(text));
            QCOMPARE(parsed.isValid() ? parsed.toUTC().toString(Qt::ISODate) : QString(), QLatin1String(utc));
            QCOMPARE(parsed.isValid() ? parsed.offsetFromUtc() : 0, offsetSeconds);
        }
    }

    /// Which copy goes, or why none does. Times are local, the point's is 12:00 UTC.
    void choosesTheCopy()
    {
        const QString refused = u"Could not confidently locate the shadow copy for this restore point (closest match "
                                "off by %1 s)"_s;
        const std::tuple<QStringList, int, QString> cases[] = {
            {{u"20240301125800.0+060"_s, u"20240301130001.9+060"_s, u"20240301130002.0+060"_s}, 1, {}},
            {{u"broken"_s, u"20240301065950.0-300"_s, u"20240301120010.0-000"_s}, 1, {}}, // the first of two as close
            {{u"20240301120200.0+000"_s}, 0, {}},
            {{u"20240301120201.0+000"_s}, -1, refused.arg(121)},
            {{u"broken"_s, u"2024"_s}, -1, refused.arg(0)},
            {{}, -1, u"No shadow copies found to delete"_s},
        };
        for (const auto& [installed, chosen, expected] : cases) {
            m_machine.emplace();
            QJsonArray rows;
            for (qsizetype i = 0; i < installed.size(); ++i)
                rows.append(shadowCopy(u"{ID-%1}"_s.arg(i), installed[i]));
            QVERIFY(SimulatedPc::setValue(copies, rows));
            QString error;
            QCOMPARE(RestorePoint::deletePoint(7, noon, &error), chosen >= 0);
            QCOMPARE(error, expected);
            QStringList runs;
            if (chosen >= 0) {
                runs << u"vssadmin delete shadows /shadow={ID-%1} /quiet"_s.arg(chosen);
                rows.removeAt(chosen);
            }
            QCOMPARE(toolRuns(), runs);
            QCOMPARE(SimulatedPc::value(copies).toArray(), rows);
        }
        // A copy without a name can't be meant, nor can a point without a time.
        QVERIFY(SimulatedPc::setValue(copies, QJsonArray{shadowCopy({}, u"20240301120003.5+000"_s)}));
        QString error;
        QVERIFY(!RestorePoint::deletePoint(7, noon, &error));
        QVERIFY2(error.endsWith(u"off by 3 s)"), qPrintable(error));
        QVERIFY(!RestorePoint::deletePoint(23, QDateTime(), &error));
        QCOMPARE(error, u"Cannot delete: the restore point has no usable creation time"_s);
        QVERIFY(toolRuns().isEmpty());
    }

    void deleteFails()
    {
        QString error;
        SimulatedPc::setValue(u"user/language"_s, u"fr"_s);
        QVERIFY(SimulatedPc::setValue(copies, QJsonArray{shadowCopy(u"{ID}"_s, u"20240301120000.0+000"_s, false)}));
        QVERIFY(!RestorePoint::deletePoint(7, noon, &error));
        QVERIFY2(error.endsWith(u"qui les a créés."), qPrintable(error));
        SimulatedPc::fail(u"tools.vssadmin"_s, 2);
        QVERIFY(!RestorePoint::deletePoint(7, noon, &error));
        QCOMPARE(error, u"vssadmin failed (admin required?)"_s);
        SimulatedPc::fail(u"wmi.execQuery"_s, refusal);
        QVERIFY(!RestorePoint::deletePoint(7, noon, &error));
        QCOMPARE(error, u"Could not enumerate shadow copies: ExecQuery failed (0x8000ffff)"_s);
    }

    void rollsBack()
    {
        QString error;
        QVERIFY2(RestorePoint::restoreTo(22, false, &error), qPrintable(error));
        QCOMPARE(SimulatedPc::value(u"wmi/rollBackTo"_s).toInt(), 22);
        QVERIFY(toolRuns().isEmpty());
        QVERIFY(RestorePoint::restoreTo(21, true, &error));
        QTRY_COMPARE(SimulatedPc::value(u"shutdown/restartInSeconds"_s).toInt(), 10);
        QCOMPARE(SimulatedPc::value(u"wmi/rollBackTo"_s).toInt(), 21);
        QCOMPARE(toolRuns(), QStringList(u"shutdown /r /t 10 /c Torvelane: restoring Windows to a restore point."_s));
    }

    /// The PC isn't restarted then.
    void rollBackFails()
    {
        const std::tuple<QString, HResult, QString> cases[] = {
            {u"getObject"_s, refusal, u"System Protection appears disabled (GetObject 0x8000ffff)"_s},
            {u"getMethod"_s, refusal, u"Restore method unavailable"_s},
            {u"execMethod"_s, HResult::Ok, u"Restore not initiated: ExecMethod failed (0x0)"_s},
            {u"getReturnValue"_s, refusal, u"Restore not initiated: unknown error"_s},
            {QString(), HResult::Ok, u"Restore not initiated: Restore returned -5"_s},
        };
        for (const auto& [call, code, expected] : cases) {
            SimulatedPc::clearFaults();
            if (call.isEmpty())
                SimulatedPc::setValue(u"wmi/returnValues"_s, QJsonObject{{u"SystemRestore.Restore"_s, -5}});
            else
                SimulatedPc::fail(u"wmi."_s + call, code);
            QString error;
            QVERIFY(!RestorePoint::restoreTo(21, true, &error));
            QCOMPARE(error, expected);
        }
        QTest::qWait(500); // nobody waits for the tool that would restart it
        QVERIFY(toolRuns().isEmpty());
    }

    void engineMakesOne()
    {
        AppContext context;
        QVERIFY(context.init());
        QVERIFY(context.engine->applyBatch({u"selftest.toggle"_s}, Tier::Pro, nullptr, true));
        QCOMPARE(SimulatedPc::value(points).toArray().last()[u"Description"].toString(),
                 u"Torvelane: before applying 1 tweak(s)"_s);
    }
};

QTEST_GUILESS_MAIN(tst_RestorePoint)
#include "tst_RestorePoint.moc"
