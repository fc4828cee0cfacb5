#include "platform/ChildProcess.h"
#include "support/simulated/Suite.h"

using namespace torvelane::platform;
using Hive = RegistryHive;

namespace {

const QString userSid = u"S-1-5-21-1004336348-1177238915-682003330-1001"_s;
const QString newPath = u"Software\\New\\Deep"_s;
const QString task = u"\\Microsoft\\Windows\\Defrag\\ScheduledDefrag"_s;

ChildProcessResult shell(const QString& command)
{
    return runChildProcess(shellCommand(command));
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

bool erase(const QString& path)
{
    return deleteValue(Hive::CurrentUser, path, u"V"_s);
}

bool keyExists(const QString& path)
{
    RegistryKey key;
    return RegistryKey::open(RootKey::CurrentUser, path, KeyAccess::Read, key) == Win32Error::Success;
}

} // namespace

/// The foundation of the other suites' verdicts.
class tst_SimulatedPc : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void keysWithSeveralNames()
    {
        using Place = std::pair<Hive, QString>;
        const std::pair<Place, Place> rows[] = {
            {{Hive::CurrentUser, newPath}, {Hive::Users, userSid + u'\\' + newPath}},
            {{Hive::ClassesRoot, u".new"_s}, {Hive::LocalMachine, u"SOFTWARE\\Classes\\.new"_s}},
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

    void imagesShowEveryDifference()
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

        QCOMPARE(shell(u"schtasks /Change /TN \"%1\" /Disable"_s.arg(task)).exitCode, 0);
        QCOMPARE(differing(), 2);
        QVERIFY(SimulatedPc::image().contains(u"tasks/%1/enabled = false"_s.arg(task)));
        QVERIFY(SimulatedPc::setValue(u"tasks/%1/enabled"_s.arg(task), true));
        QCOMPARE(differing(), 0);
    }

    void faultsStrikeTheCallsThatTheyName()
    {
        const QString mouse = u"Control Panel\\Mouse"_s;
        SimulatedPc::fail(u"registry.openToRead"_s, Win32Error::AccessDenied,
                          {.part = u"hkcu\\control panel\\MOUSE"_s});
        QVERIFY(!read(mouse));
        QVERIFY(!read(mouse + u"\\Below"_s));
        QVERIFY(!read(userSid + u'\\' + mouse, Hive::Users));
        QVERIFY(read(u"Control Panel"_s));
        QVERIFY(write(mouse));

        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"registry.openToWrite"_s, Win32Error::AccessDenied, {.part = u"HKCU\\"_s + mouse});
        QVERIFY(!write(mouse));
        QVERIFY(!write(mouse + u"\\New"_s));
        QVERIFY(!erase(mouse));
        QVERIFY(!keyExists(mouse + u"\\New"_s));
        QVERIFY(read(mouse));

        // A facility stands for its changes: reading isn't struck.
        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"registry"_s, Win32Error::AccessDenied);
        QVERIFY(read(mouse));
        QVERIFY(!write(mouse));
        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"tasks"_s, 1);
        QVERIFY(write(mouse));
    }

    void changesFailInTurn()
    {
        QVERIFY(write(newPath));
        SimulatedPc::fail(u"registry"_s, Win32Error::WriteFault, {.n = 3, .once = true});
        QVERIFY(erase(newPath));                                     // 1
        QVERIFY(erase(newPath));                                     // none, since there is nothing to be deleted
        QCOMPARE(shell(u"reg add HKCU\\Software\\2"_s).exitCode, 0); // 2, in another process
        QVERIFY(!write(newPath));
        QVERIFY(!rawValue(u"V"_s, newPath));
        QVERIFY(write(newPath));

        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"registry"_s, Win32Error::WriteFault, {.n = 2});
        QVERIFY(write(newPath));
        QVERIFY(!write(newPath));
        QVERIFY(!write(u"Software\\Another"_s));
        QVERIFY(!keyExists(u"Software\\Another"_s));
        SimulatedPc::clearFaults();
        QVERIFY(write(newPath));
    }

    void killedAtAnyCall()
    {
        const QString add = u"reg add HKCU\\%1 /v V /t REG_DWORD /d 7 /f"_s.arg(newPath);
        const QString disable = u"schtasks /Change /TN %1 /Disable"_s.arg(task);
        // How many differences of images it leaves when it is killed after the call: it makes the key, then the value.
        for (const auto& [command, call, n, differencesAfter] : {std::tuple(add, u"registry"_s, 1, 0),
                                                                 {add, u"registry"_s, 2, 1},
                                                                 {add, u"tools.reg"_s, 1, 1},
                                                                 {disable, u"tasks.change"_s, 1, 2}}) {
            for (const CallMoment moment : {CallMoment::Before, CallMoment::After}) {
                m_machine.emplace();
                const MachineImage before = TestMachine::image();
                SimulatedPc::kill(call, moment, {.n = n});
                QCOMPARE(shell(command).outcome, ChildProcessResult::Outcome::Crashed);
                const qsizetype differing = differences(before, TestMachine::image()).size();
                QCOMPARE(differing, moment == CallMoment::Before ? 0 : differencesAfter);
                QVERIFY(!SimulatedPc::calls(u"tools.cmd"_s).constLast().answer);
                QCOMPARE(SimulatedPc::calls(call).constLast().answer.has_value(), moment == CallMoment::After);
                // Once only: the next start of the same program gets through.
                QCOMPARE(shell(command).exitCode, 0);
            }
        }
    }

    void unknownToolsAndOptionsFail()
    {
        for (const auto& [command, exitCode, words] :
             {std::tuple(u"regg add HKCU\\A /f"_s, 9009, "'regg' is not recognized"),
              {u"reg add HKCU\\A /v A /q /f"_s, 1, "Invalid syntax"},
              {u"schtasks /Change /TN \\Nowhere /Disable"_s, 1, "cannot find the file"},
              {u"powershell -NoProfile -Command \"Disable-MMAgents\""_s, 1, "doesn't know"},
              {u"ipconfig /flushdn"_s, 1, "doesn't know"}}) {
            const MachineImage before = TestMachine::image();
            const ChildProcessResult result = shell(command);
            QCOMPARE(result.exitCode, exitCode);
            QVERIFY2(result.output.contains(words), result.output.constData());
            QCOMPARE(differences(before, TestMachine::image()), QStringList());
        }
    }

    /// A machine's file that can't be used says in one line what to do, and that works.
    void anyFileCanBeReset()
    {
        const QStringList image = SimulatedPc::image();
        constexpr qint64 versionAt = 60; // user_version, in the header of an SQLite file
        for (const auto& [at, bytes] : {std::pair(versionAt, QByteArray(4, '\1')), {0, QByteArray(200, 'x')}}) {
            const QString path = SimulatedPc::machineFile();
            SimulatedPc::setMachineFile(m_machine->scratchFile(u"other.db"_s)); // closes it
            QFile file(path);
            QVERIFY(file.open(QIODevice::ReadWrite) && file.seek(at) && file.write(bytes) == bytes.size());
            file.close();
            const auto inspect = [&path](const QString& what) {
                return runChildProcess({systemToolPath(u"torvelane-pc"_s), {u"--machine"_s, path, what}, {}});
            };
            const ChildProcessResult refused = inspect(u"image"_s);
            QCOMPARE(refused.exitCode, 1);
            QCOMPARE(refused.output.count("\"./dev pc reset\" makes it anew.\n"), 1);
            QCOMPARE(inspect(u"reset"_s).exitCode, 0);
            SimulatedPc::setMachineFile(path);
            QCOMPARE(SimulatedPc::image(), image);
        }
    }
};

QTEST_GUILESS_MAIN(tst_SimulatedPc)
#include "tst_SimulatedPc.moc"
