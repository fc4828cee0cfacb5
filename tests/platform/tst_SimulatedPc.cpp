#include "platform/ChildProcess.h"
#include "platform/Registry.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/ScratchMachine.h"
#include "system/RegistryAccess.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::platform;
using namespace torvelane::test;
using Hive = RegistryHive;

namespace {

const QString userSid = u"S-1-5-21-1004336348-1177238915-682003330-1001"_s;
const QString newPath = u"Software\\New\\Deep"_s;
const QString newKey = u"HKCU\\"_s + newPath;

ChildProcessResult shell(const QString& command, int limitMs = 30000)
{
    return runChildProcess(shellCommand(command), {.finishTimeoutMs = limitMs});
}

bool write(const QString& path, Hive hive = Hive::CurrentUser)
{
    return writeDword(hive, path, u"V"_s, 7);
}

bool read(const QString& path, Hive hive = Hive::CurrentUser)
{
    RegistryValue value;
    return readValue(hive, path, u"V"_s, value);
}

} // namespace

/// What the verdicts of the other suites rest on.
class tst_SimulatedPc : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init() { m_machine.emplace(); }
    void cleanup() { m_machine.reset(); }

    void keysWithSeveralNames()
    {
        using Place = std::pair<Hive, QString>;
        const std::pair<Place, Place> rows[] = {
            {{Hive::LocalMachine, u"SYSTEM\\ControlSet001\\New"_s},
             {Hive::LocalMachine, u"SYSTEM\\CurrentControlSet\\New"_s}},
            {{Hive::CurrentUser, newPath}, {Hive::Users, userSid + u'\\' + newPath}},
            {{Hive::CurrentUser, u"Software\\Classes\\.new"_s}, {Hive::Users, userSid + u"_Classes\\.new"_s}},
            {{Hive::CurrentUser, u"Software\\\u00c9t\u00e9"_s}, {Hive::CurrentUser, u"SOFTWARE\\\u00e9T\u00c9"_s}},
        };
        for (const auto& [one, other] : rows) {
            const MachineImage before = TestMachine::image();
            QVERIFY(writeDword(one.first, one.second, u"Value"_s, 1));
            QVERIFY(writeDword(other.first, other.second, u"vaLUE"_s, 2));
            RegistryValue value;
            QVERIFY(readValue(one.first, one.second, u"Value"_s, value));
            QCOMPARE(value.number, 2U);
            QCOMPARE(differences(before, TestMachine::image()).size(), 1);
        }
    }

    void imagesTellEveryDifference()
    {
        const RawValue original{regSz, utf16(u"a"_s)};
        putRaw(u"A"_s, original);
        const MachineImage before = TestMachine::image();
        const auto differing = [&before] { return differences(before, TestMachine::image()).size(); };
        for (const RawValue& other : {RawValue{regExpandSz, original.data}, {regSz, utf16(u"a"_s, 2)}, {regSz, {}}}) {
            putRaw(u"A"_s, other);
            QCOMPARE(differing(), 2);
        }
        QVERIFY(deleteValue(Hive::CurrentUser, scratchKey, u"A"_s));
        QCOMPARE(differing(), 1);
        putRaw(u"a"_s, original);
        QCOMPARE(differing(), 0);
    }

    void denialReachesDown()
    {
        const QString path = u"Control Panel\\Mouse"_s;
        SimulatedPc::denyReads(u"HKEY_CURRENT_USER\\control panel\\MOUSE"_s);
        QVERIFY(!read(path) && !read(path + u"\\Below"_s) && !read(userSid + u'\\' + path, Hive::Users));
        QVERIFY(read(path + u'X') && write(path));

        SimulatedPc::clearFaults();
        SimulatedPc::denyWrites(u"HKCU\\Control Panel\\Mouse"_s);
        QVERIFY(!write(path) && !write(path + u"\\New"_s));
        QVERIFY(!deleteValue(Hive::CurrentUser, path, u"V"_s));
        QVERIFY(!SimulatedPc::keyExists(u"HKCU\\Control Panel\\Mouse\\New"_s));
        QVERIFY(write(path + u'X') && read(path));
    }

    void changesFailInTurn()
    {
        QVERIFY(write(newPath));
        SimulatedPc::failChange(3);
        const auto erase = [] { return deleteValue(Hive::CurrentUser, newPath, u"V"_s); };
        QVERIFY(erase() && erase());                                     // 1, and none
        QCOMPARE(shell(u"reg add HKCU\\Software\\2"_s).exitCode, 0);     // 2, in another process
        QVERIFY(!write(newPath) && !SimulatedPc::value(newKey, u"V"_s)); // 3
        QVERIFY(write(newPath));

        SimulatedPc::clearFaults();
        SimulatedPc::failChange(2, Win32Error::WriteFault, true);
        QVERIFY(write(newPath) && !write(newPath) && !write(u"Software\\Another"_s));
        QVERIFY(!SimulatedPc::keyExists(u"HKCU\\Software\\Another"_s));
        SimulatedPc::clearFaults();
        QVERIFY(write(newPath));
    }

    /// "reg add" makes the key first and the value then.
    void killedAtAnyChange()
    {
        const QString command = u"reg add %1 /v V /t REG_DWORD /d 7 /f"_s.arg(newKey);
        for (const int n : {1, 2}) {
            for (const ChangeMoment moment : {ChangeMoment::Before, ChangeMoment::After}) {
                m_machine.emplace();
                SimulatedPc::killAtChange(n, moment);
                QCOMPARE(shell(command).outcome, ChildProcessResult::Outcome::Crashed);
                QCOMPARE(SimulatedPc::keyExists(newKey), n == 2 || moment == ChangeMoment::After);
                QCOMPARE(SimulatedPc::value(newKey, u"V"_s).has_value(), n == 2 && moment == ChangeMoment::After);
                QVERIFY(!SimulatedPc::journal().constLast().exitCode);
                // Once only: the next start of the same program gets through.
                QCOMPARE(shell(command).exitCode, 0);
            }
        }
    }

    void toolsFailAndHang()
    {
        SimulatedPc::failTool(u"ECHO FAILING"_s, 9);
        SimulatedPc::hangTool(u"echo hanging"_s, 60000);
        const ChildProcessResult failed = shell(u"echo failing"_s);
        QVERIFY(failed.exitCode == 9 && failed.output.isEmpty());
        QCOMPARE(shell(u"echo hanging"_s, 1000).outcome, ChildProcessResult::Outcome::TimedOut);
        QVERIFY(!SimulatedPc::journal().constLast().exitCode);
        QCOMPARE(shell(u"echo at work"_s).output, QByteArray("at work\r\n"));
    }
};

QTEST_GUILESS_MAIN(tst_SimulatedPc)
#include "tst_SimulatedPc.moc"
