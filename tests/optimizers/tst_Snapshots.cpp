#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/OptimizerBench.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"
#include "support/Child.h"
#include "support/MachineWatch.h"

#include <sys/stat.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace {

const QString app = u"C:\\Games\\racer.exe"_s;
const QString perfKey =
    u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options\\racer.exe\\PerfOptions"_s;
const QString priorityName = u"CpuPriorityClass"_s;
const QString mouseKey = u"Control Panel\\Mouse"_s;
const QString refusal =
    u"Another Torvelane process is changing this PC, so nothing was changed. Try again when it has finished."_s;

bool isFolderFlushed = true;

struct Answer {
    bool ok = false;
    QString message;
};

template <typename Result>
Answer answerOf(const Result& result)
{
    return {result.ok, result.message};
}

/// What one program has of the optimisers, as its pages hold them.
struct Program {
    NetworkOptimizer network;
    BufferbloatOptimizer bufferbloat;
    ServiceProfiles services;
    AppOptimizer apps;

    void applyAll()
    {
        std::ignore = network.applyAll(listNetAdapters());
        std::ignore = bufferbloat.applyAll(listNetAdapters());
        std::ignore = services.apply(ServiceProfileId::Basic);
        std::ignore = apps.optimize(app);
    }

    void restoreAll()
    {
        std::ignore = apps.restore(u"racer.exe"_s);
        std::ignore = services.restoreDefaults();
        std::ignore = bufferbloat.restoreAll();
        std::ignore = network.restoreAll();
    }
};

/// Applies everything; with "stop" it stops at its first change until it is told to go on.
int runChild(const QStringList& arguments)
{
    Program program;
    if (arguments.at(0) == "stop"_L1) {
        watchMachine([stopped = false]() mutable {
            if (!std::exchange(stopped, true))
                stopUntilToldToGoOn();
        });
    }
    program.applyAll();
    watchMachine({});
    return 0;
}

/// Replaces one place in a file, the last one that there is.
void replaceLast(const QString& fileName, const QByteArray& from, const QByteArray& to)
{
    QFile file(snapshotPath(fileName));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray bytes = file.readAll();
    const qsizetype place = bytes.lastIndexOf(from);
    QVERIFY2(place >= 0, bytes.constData());
    putSnapshot(fileName, bytes.replace(place, from.size(), to));
}

} // namespace

/// In place of the C library's, for the program and Qt.
extern "C" int fsync(int descriptor)
{
    struct stat status { };
    isFolderFlushed = isFolderFlushed || (fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode));
    return static_cast<int>(syscall(SYS_fsync, descriptor));
}

/// What all snapshots share: texts, kinds of values, and another process beside this one.
class tst_Snapshots : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        OptimizerLock::setLongestWait(10000);
        MachineSuite::cleanup();
    }

    /// A power cut after the next change finds the snapshot under its name.
    void onTheDiskBeforeTheNextChange()
    {
        int commits = 0;
        int early = 0;
        JsonFile::setCommitObserver([&commits](bool committed) {
            commits += committed;
            isFolderFlushed = !committed;
        });
        watchMachine([&early] { early += !isFolderFlushed; });
        Program().applyAll();
        QVERIFY(GamingMode::activate().ok);
        watchMachine({});
        JsonFile::setCommitObserver({});
        QCOMPARE_GE(commits, 5);
        QCOMPARE(early, 0);
    }

    void textsThatBeginWithAMark()
    {
        const RegistryValue marked{true, RegistryValueKind::Sz, 0, u"\ufeffslow\ufeff"_s, {}};
        const QString adapterKey = listNetAdapters().constFirst().regSubKey;
        QVERIFY(writeValue(RegistryHive::LocalMachine, adapterKey, u"*FlowControl"_s, marked));
        QVERIFY(writeValue(RegistryHive::LocalMachine, perfKey, priorityName, marked));
        QVERIFY(writeValue(RegistryHive::CurrentUser, mouseKey, u"MouseSpeed"_s, marked));
        const MachineImage before = TestMachine::image();
        Program().applyAll();
        QVERIFY(GamingMode::activate().ok && GamingMode::deactivate().ok);
        Program().restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// As a later version may have captured them. The value that is there stays: it isn't deleted.
    void unknownKinds()
    {
        // Of the two snapshots with names, and of the one with numbers: later kinds, ones spelt otherwise, the one that only
        // no value has, and one of another form.
        for (const auto& [kind, number] :
             {std::pair("\"multi_sz\"", "6"), {"\"SZ\"", "-1"}, {"\"none\"", "0"}, {"3", "\"sz\""}}) {
            m_machine.emplace();
            QVERIFY(writeDword(RegistryHive::LocalMachine, perfKey, priorityName, 2));
            const MachineImage before = TestMachine::image();
            Program program;
            program.applyAll();
            QVERIFY(GamingMode::activate().ok);
            const QByteArray foreignKind = QByteArray("\"valueType\": ") + kind;
            replaceLast(u"network_opt.json"_s, "\"valueType\": \"sz\"", foreignKind);
            replaceLast(u"app_optimize.json"_s, "\"valueType\": \"dword\"", foreignKind);
            replaceLast(u"gaming_mode.json"_s, "\"type\": 3", QByteArray("\"type\": ") + number);

            // It isn't rewritten either as long as it is there.
            const QJsonValue foreign = snapshot(u"app_optimize.json"_s).value(u"racer.exe"_s);
            QVERIFY(program.apps.optimize(u"C:\\other.exe"_s).ok && program.apps.restore(u"other.exe"_s).ok);
            QCOMPARE(snapshot(u"app_optimize.json"_s).value(u"racer.exe"_s), foreign);
            QCOMPARE(GamingMode::deactivate().count, 19);
            QCOMPARE(program.apps.restore(u"racer.exe"_s).message, u"Failed to restore racer.exe."_s);
            program.restoreAll();
            // Three values, each with the one before and the one that stays.
            QCOMPARE(differences(before, TestMachine::image()).size(), 6);
        }
    }

    /// One process is in the middle of it: this one changes nothing, and says why.
    void anotherProcessIsAtIt()
    {
        OptimizerLock::setLongestWait(20);
        Child other(*m_machine, {u"stop"_s});
        QVERIFY(other.hasStopped());
        Program p;
        const NetAdapter adapter = listNetAdapters().constFirst();
        const std::vector<std::function<Answer()>> operations{
            [&] { return answerOf(p.network.applyAll({adapter})); },
            [&] { return answerOf(p.network.apply(adapter)); },
            [&] { return answerOf(p.network.restoreAll()); },
            [&] { return answerOf(p.network.restore(u"{1}"_s, {})); },
            [&] { return answerOf(p.bufferbloat.applyAll({adapter})); },
            [&] { return answerOf(p.bufferbloat.restoreAll()); },
            [&] { return answerOf(p.services.apply(ServiceProfileId::Basic)); },
            [&] { return answerOf(p.services.restoreDefaults()); },
            [&] { return answerOf(p.apps.optimize(app)); },
            [&] { return answerOf(p.apps.restore(u"racer.exe"_s)); },
            [] { return answerOf(PowerPlanManager::activatePlan(u"x"_s)); },
            [] { return answerOf(PowerPlanManager::applyBestPlan()); },
            [] { return answerOf(PowerPlanManager::applyMaxCpu()); },
            [] { return answerOf(PowerPlanManager::restoreCpu()); },
            [] { return answerOf(PowerPlanManager::applyMaxDisk()); },
            [] { return answerOf(PowerPlanManager::restoreDisk()); },
            [] { return answerOf(GamingMode::activate()); },
            [] { return answerOf(GamingMode::deactivate()); },
        };
        const MachineImage before = TestMachine::image();
        for (std::size_t i = 0; i < operations.size(); ++i) {
            const Answer answer = operations[i]();
            QVERIFY2(!answer.ok && answer.message == refusal,
                     qPrintable(u"operation %1: %2"_s.arg(i).arg(answer.message)));
        }
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// An object that was made before another process applied takes nothing of what that left for an original, and gives
    /// everything back.
    void anotherProcessWasHere()
    {
        const MachineImage before = TestMachine::image();
        Program program;
        QVERIFY(Child(*m_machine, {u"through"_s}).hasSucceeded());
        QVERIFY(differences(before, TestMachine::image()).size() > 10);
        QCOMPARE(program.apps.optimize(app).message, u"racer.exe is already optimized."_s);
        program.applyAll();
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        QVERIFY(!NetworkOptimizer().hasSnapshots());
    }

    /// What is remembered stands while the file is older, or has been damaged since.
    void filesThatCannotBeWritten()
    {
        const MachineImage before = TestMachine::image();
        Program program;
        const QStringList files{u"network_opt.json"_s, u"bufferbloat_opt.json"_s, u"services_profile.json"_s,
                                u"app_optimize.json"_s};
        for (const QString& file : files)
            QVERIFY(QDir().mkpath(snapshotPath(file)));
        program.applyAll();
        QVERIFY(differences(before, TestMachine::image()).size() > 10);
        for (const QString& file : files) {
            QVERIFY(QDir().rmdir(snapshotPath(file)));
            putSnapshot(file, "{}");
        }
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        program.applyAll();
        for (const QString& file : files)
            putSnapshot(file, "{\"x\": ");
        program.restoreAll();
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    /// A lock that can't be opened says nothing of another process.
    void noLock()
    {
        const MachineImage before = TestMachine::image();
        QVERIFY(QDir().mkpath(Paths::lockFile()));
        const LogCapture log;
        Program program;
        QVERIFY(program.services.apply(ServiceProfileId::Basic).count > 0);
        QVERIFY(!log.lines().filter(u"[WARN] services: The lock between processes could not be opened"_s).isEmpty());
        QVERIFY(program.services.restoreDefaults().ok);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_Snapshots>(argc, argv, runChild);
}

#include "tst_Snapshots.moc"
