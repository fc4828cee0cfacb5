#include "core/JsonFile.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"
#include "support/Child.h"
#include "support/simulated/Suite.h"

#include <QSet>

#include <cstdlib>

using platform::CallMoment;

namespace {

/// One optimiser's way there and back, each on an object of its own, as after a start of the program.
struct Scenario {
    QString name;
    std::function<void()> apply;
    std::function<void()> restore;
    int leastEnds; ///< So that a sweep that swept nothing fails.
    /// What of the machine stays changed if the program is ended while it applies and the named snapshot isn't there
    /// yet: the start of the lines of its image.
    QString lost = {};
    QString lostWithout = {};
    /// How many values a refused write can cost while applying: those that the profile before had changed.
    int lostByRefusal = 0;
};

const QList<Scenario>& scenarios()
{
    static const QString cpuIndices = u"power/plans/%1/indices/54533251-82be-4824-96c1-47b60b740d00"_s;
    static const QString diskIndices = u"power/plans/%1/indices/0012ee47-9041-4b5d-9b77-535fba8b1442"_s;
    static const QString balanced = u"381b4222-f694-41f0-9685-ff5bb260df2e"_s;
    static const QString highPerformance = u"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c"_s;
    static const QString app = u"C:\\Games\\Racer.exe"_s;
    static const QList<Scenario> all{
        {u"network"_s, [] { std::ignore = NetworkOptimizer().applyAll(listNetAdapters()); },
         [] { std::ignore = NetworkOptimizer().restoreAll(); }, 36},
        {u"bufferbloat"_s, [] { std::ignore = BufferbloatOptimizer().applyAll(listNetAdapters()); },
         [] { std::ignore = BufferbloatOptimizer().restoreAll(); }, 10},
        {u"services"_s, [] { std::ignore = ServiceProfiles().apply(ServiceProfileId::Basic); },
         [] { std::ignore = ServiceProfiles().restoreDefaults(); }, 22},
        {u"services, one profile over the other"_s,
         [] {
             ServiceProfiles services;
             std::ignore = services.apply(ServiceProfileId::Basic);
             std::ignore = services.apply(ServiceProfileId::Advanced);
         },
         [] { std::ignore = ServiceProfiles().restoreDefaults(); },
         70,
         {},
         {},
         9},
        {u"app"_s, [] { std::ignore = AppOptimizer().optimize(app); },
         [] { std::ignore = AppOptimizer().restore(u"racer.exe"_s); }, 6},
        // Both bundles write their file when all of their settings are changed.
        {u"processor"_s, [] { std::ignore = PowerPlanManager::applyMaxCpu(); },
         [] { std::ignore = PowerPlanManager::restoreCpu(); }, 20, cpuIndices.arg(balanced), u"cpu_perf.json"_s},
        {u"disk"_s, [] { std::ignore = PowerPlanManager::applyMaxDisk(); },
         [] { std::ignore = PowerPlanManager::restoreDisk(); }, 18, diskIndices.arg(balanced), u"disk_perf.json"_s},
        {u"gaming mode"_s, [] { std::ignore = GamingMode::activate(); }, [] { std::ignore = GamingMode::deactivate(); },
         66, cpuIndices.arg(highPerformance), u"cpu_perf.json"_s},
    };
    return all;
}

const Scenario& scenarioNamed(const QString& name)
{
    return *std::ranges::find(scenarios(), name, &Scenario::name);
}

/// One way of one scenario, in a process that stops for good at the given event: after a change of the machine, a run of a
/// tool or a commit of a snapshot. Before one is after the one before it, so only the first has a moment before it, too.
int runChild(const QStringList& arguments)
{
    const Scenario& scenario = scenarioNamed(arguments.at(0));
    const auto stopAtN = stopAtEvent(arguments.at(2).toInt());
    bool isFirst = true;
    const auto event = [&](bool isDone) {
        if (std::exchange(isFirst, false) || isDone)
            stopAtN();
    };
    SimulatedPc::setObserver(
        [&event](CallMoment moment, const platform::Call&) { event(moment == CallMoment::After); });
    JsonFile::setCommitObserver(event);
    (arguments.at(1) == "apply"_L1 ? scenario.apply : scenario.restore)();
    SimulatedPc::setObserver({});
    return 0;
}

} // namespace

/// Each optimiser's apply and restore, ended before and after each change of the machine, each run of a tool and each
/// commit of a snapshot. The next restore has to give back the machine as it was, but for what each scenario says.
class tst_OptimizerSweep : public QObject {
    Q_OBJECT

private:
    const Scenario* m_scenario = nullptr;
    MachineImage m_before;
    QTemporaryDir m_applied; ///< A machine and its snapshots, with the scenario applied.
    QStringList m_problems;
    int m_ends = 0;
    int m_losses = 0;

    void keepApplied()
    {
        const TestMachine machine;
        m_before = TestMachine::image();
        m_scenario->apply();
        for (const QString& name : QDir(m_applied.path()).entryList(QDir::Files))
            QFile::remove(m_applied.filePath(name));
        QVERIFY(SimulatedPc::copyTo(m_applied.filePath(u"machine.db"_s)));
        copySnapshots(machine.dataDir(), m_applied.path());
    }

    /// In place of the seeded machine and its empty data directory.
    void takeApplied(const TestMachine& machine)
    {
        const QString file = machine.scratchFile(u"applied.db"_s);
        QVERIFY(QFile::copy(m_applied.filePath(u"machine.db"_s), file));
        SimulatedPc::setMachineFile(file);
        copySnapshots(m_applied.path(), machine.dataDir());
    }

    static void copySnapshots(const QString& from, const QString& to)
    {
        for (const QString& name : QDir(from).entryList({u"*.json"_s}, QDir::Files))
            QVERIFY(QFile::copy(QDir(from).filePath(name), QDir(to).filePath(name)));
    }

    /// Whether there was such an event, and the process was ended at it.
    bool endAt(const TestMachine& machine, const QString& way, int event)
    {
        Child child(machine, {m_scenario->name, way, QString::number(event)});
        const bool stopped = child.hasStopped();
        if (stopped)
            child.crash();
        else if (!child.hasSucceeded())
            m_problems.append(u"the process fails"_s);
        return stopped;
    }

    void sweepWay(const QString& way)
    {
        const bool isApply = way == "apply"_L1;
        for (int event = 1; m_problems.isEmpty(); ++event) {
            const TestMachine machine;
            if (!isApply)
                takeApplied(machine);
            const bool ended = endAt(machine, way, event);
            const bool mayLose = isApply && ended && !m_scenario->lostWithout.isEmpty()
                && !QFile::exists(QDir(machine.dataDir()).filePath(m_scenario->lostWithout));
            m_scenario->restore();
            QStringList left = differences(m_before, TestMachine::image());
            if (mayLose) {
                m_losses +=
                    left.removeIf([this](const QString& line) { return line.mid(2).startsWith(m_scenario->lost); }) > 0;
            }
            if (!left.isEmpty())
                m_problems.append(u"%1 ended at event %2:\n"_s.arg(way).arg(event) + left.join(u'\n'));
            if (!ended)
                break;
            ++m_ends;
        }
    }

private Q_SLOTS:
    void sweep_data()
    {
        QTest::addColumn<QString>("name");
        for (const Scenario& scenario : scenarios())
            QTest::newRow(qPrintable(scenario.name)) << scenario.name;
    }

    void sweep()
    {
        QFETCH(QString, name);
        m_scenario = &scenarioNamed(name);
        m_problems.clear();
        m_ends = m_losses = 0;
        keepApplied();
        sweepWay(u"apply"_s);
        sweepWay(u"restore"_s);
        QCOMPARE(m_problems.join(u'\n'), QString());
        qInfo("%d ends, %d of them lose something", m_ends, m_losses);
        QVERIFY(m_ends >= m_scenario->leastEnds);
        QCOMPARE(m_losses > 0, !m_scenario->lost.isEmpty());
    }

    void refusedWrites_data() { sweep_data(); }

    /// Each write to the registry refused in turn. While applying that costs nothing, since the snapshot has the value all
    /// the same. While restoring exactly that value stays changed, and is forgotten: the next restore knows nothing of it.
    void refusedWrites()
    {
        QFETCH(QString, name);
        m_scenario = &scenarioNamed(name);
        for (const bool inRestore : {false, true}) {
            if (inRestore && m_scenario->lostByRefusal > 0)
                continue; // the restore of one profile, once more
            qsizetype changed = 0;
            qsizetype lost = 0;
            bool refused = true;
            for (int n = 1; refused; ++n) {
                const TestMachine machine;
                const MachineImage before = TestMachine::image();
                withoutTools();
                if (inRestore)
                    m_scenario->apply();
                changed = placesOf(differences(before, TestMachine::image())).size();
                SimulatedPc::clearCalls();
                SimulatedPc::fail(u"registry"_s, Win32Error::AccessDenied, {.n = n, .once = true});
                (inRestore ? m_scenario->restore : m_scenario->apply)();
                refused = wasRefused();
                SimulatedPc::clearFaults();
                withoutTools();
                if (!inRestore)
                    m_scenario->restore();
                const QStringList left = differences(before, TestMachine::image());
                QVERIFY(placesOf(left).size() <= (refused ? 1 : 0));
                lost += placesOf(left).size();
                m_scenario->restore();
                QCOMPARE(differences(before, TestMachine::image()), left);
            }
            QCOMPARE(lost, inRestore ? changed : m_scenario->lostByRefusal);
        }
    }

private:
    static void withoutTools() { SimulatedPc::fail(u"processes.runTool"_s, Win32Error::FileNotFound); }

    static bool wasRefused()
    {
        const QList<platform::CallRecord> calls = SimulatedPc::calls();
        return std::ranges::any_of(calls, [](const platform::CallRecord& record) {
            return record.call.facility() == "registry"_L1
                && record.answer == static_cast<qint64>(Win32Error::AccessDenied);
        });
    }

    /// The values that differ: the one before and the one after are one.
    static QSet<QString> placesOf(const QStringList& lines)
    {
        QSet<QString> places;
        for (const QString& line : lines)
            places.insert(line.mid(2).section(u']', 0, 0));
        return places;
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_OptimizerSweep>(argc, argv, runChild);
}

#include "tst_OptimizerSweep.moc"
