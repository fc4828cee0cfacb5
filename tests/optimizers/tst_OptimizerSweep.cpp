#include "core/Paths.h"
#include "optimizers/AppOptimizer.h"
#include "optimizers/BufferbloatOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/NetworkOptimizer.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/ServiceProfiles.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/MachineWatch.h"
#include "support/TestMachine.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <functional>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

namespace {

constexpr int childTimeoutMs = 60000;
const QString toolCall = u"tools.powercfg"_s;

/// One optimiser's way there and back, each on an object of its own, as after a start of the program.
struct Scenario {
    QString name;
    std::function<void()> arrange; ///< Before the image that has to come back.
    std::function<void()> apply;
    std::function<void()> restore;
    /// What of the machine stays changed if the program is ended while it applies: the start of the lines of its image.
    QString lost;
};

const QList<Scenario>& scenarios()
{
    static const QString cpuIndices = u"power/plans/%1/indices/54533251-82be-4824-96c1-47b60b740d00"_s;
    static const QString diskIndices = u"power/plans/%1/indices/0012ee47-9041-4b5d-9b77-535fba8b1442"_s;
    static const QString balanced = u"381b4222-f694-41f0-9685-ff5bb260df2e"_s;
    static const QString highPerformance = u"8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c"_s;
    static const QString app = u"C:\\Games\\Racer.exe"_s;
    static const auto nothing = [] {};
    static const QList<Scenario> all{
        {u"network"_s,
         nothing,
         [] { std::ignore = NetworkOptimizer().applyAll(listNetAdapters()); },
         [] { std::ignore = NetworkOptimizer().restoreAll(); },
         {}},
        {u"bufferbloat"_s,
         nothing,
         [] { std::ignore = BufferbloatOptimizer().applyAll(listNetAdapters()); },
         [] { std::ignore = BufferbloatOptimizer().restoreAll(); },
         {}},
        {u"services"_s,
         nothing,
         [] { std::ignore = ServiceProfiles().apply(ServiceProfileId::Basic); },
         [] { std::ignore = ServiceProfiles().restoreDefaults(); },
         {}},
        {u"services, one profile over the other"_s,
         nothing,
         [] {
             ServiceProfiles services;
             std::ignore = services.apply(ServiceProfileId::Basic);
             std::ignore = services.apply(ServiceProfileId::Advanced);
         },
         [] { std::ignore = ServiceProfiles().restoreDefaults(); },
         {}},
        {u"app"_s,
         nothing,
         [] { std::ignore = AppOptimizer().optimize(app); },
         [] { std::ignore = AppOptimizer().restore(u"racer.exe"_s); },
         {}},
        // Both bundles write their file when all of their settings are changed.
        {u"processor"_s, nothing, [] { std::ignore = PowerPlanManager::applyMaxCpu(); },
         [] { std::ignore = PowerPlanManager::restoreCpu(); }, cpuIndices.arg(balanced)},
        {u"disk"_s, nothing, [] { std::ignore = PowerPlanManager::applyMaxDisk(); },
         [] { std::ignore = PowerPlanManager::restoreDisk(); }, diskIndices.arg(balanced)},
        {u"gaming mode"_s, nothing, [] { std::ignore = GamingMode::activate(); },
         [] { std::ignore = GamingMode::deactivate(); }, cpuIndices.arg(highPerformance)},
    };
    return all;
}

const Scenario& scenarioNamed(const QString& name)
{
    return *std::ranges::find(scenarios(), name, &Scenario::name);
}

/// One way of one scenario, in a process that stops for good at the given change of the machine.
int runChild(const QStringList& arguments)
{
    const Scenario& scenario = scenarioNamed(arguments.at(2));
    const int stopAt = arguments.at(4).toInt();
    Paths::setDataDirOverride(arguments.at(5));
    int events = 0;
    watchMachine([&] {
        if (++events != stopAt)
            return;
        std::puts("stopped");
        std::fflush(stdout);
        while (std::fgetc(stdin) != EOF) { }
        std::_Exit(3);
    });
    (arguments.at(3) == "apply"_L1 ? scenario.apply : scenario.restore)();
    watchMachine({});
    return 0;
}

} // namespace

/// Each optimiser's apply and restore, ended before and after each change of the machine and at each run of a tool. The
/// next restore has to give back the machine as it was, but for what each scenario says.
class tst_OptimizerSweep : public QObject {
    Q_OBJECT

private:
    const Scenario* m_scenario = nullptr;
    QString m_what;
    QStringList m_problems;

    enum class Ending { Ended, GotThrough };

    void start(QProcess& child, const TestMachine& machine, const QString& way, int stopAt)
    {
        child.setEnvironment(QProcess::systemEnvironment() + machine.childEnvironment());
        child.setStandardErrorFile(QProcess::nullDevice());
        child.start(QCoreApplication::applicationFilePath(),
                    {u"--child"_s, m_scenario->name, way, QString::number(stopAt), machine.dataDir()});
    }

    /// Ends the process at the given change of its own.
    Ending endAtChange(const TestMachine& machine, const QString& way, int change)
    {
        QProcess child;
        start(child, machine, way, change);
        while (!child.canReadLine() && child.waitForReadyRead(childTimeoutMs)) { }
        const Ending ending = child.canReadLine() ? Ending::Ended : Ending::GotThrough;
        if (ending == Ending::Ended)
            child.kill();
        if (child.state() != QProcess::NotRunning && !child.waitForFinished(childTimeoutMs))
            m_problems.append(m_what + u"the process doesn't end"_s);
        return ending;
    }

    /// Ends the process while its n-th tool runs and has done nothing yet.
    Ending endAtTool(const TestMachine& machine, const QString& way, int n)
    {
        SimulatedPc::clearCalls();
        SimulatedPc::hang(toolCall, childTimeoutMs, {.n = n, .once = true});
        QProcess child;
        start(child, machine, way, 0);
        Ending ending = Ending::GotThrough;
        QElapsedTimer timer;
        timer.start();
        while (!child.waitForFinished(5) && timer.elapsed() < childTimeoutMs) {
            if (SimulatedPc::calls(toolCall).size() == n && !SimulatedPc::calls(toolCall).last().answer) {
                ending = Ending::Ended;
                child.kill();
                child.waitForFinished(childTimeoutMs);
                break;
            }
        }
        SimulatedPc::clearFaults();
        return ending;
    }

    void sweepWay(const QString& way, bool byTool)
    {
        int ends = 0;
        for (int at = 1; m_problems.isEmpty(); ++at) {
            m_what = u"%1 ended at %2 %3: "_s.arg(way, byTool ? u"tool"_s : u"change"_s).arg(at);
            const TestMachine machine;
            m_scenario->arrange();
            const MachineImage before = TestMachine::image();
            if (way == "restore"_L1)
                m_scenario->apply();
            const Ending ending = byTool ? endAtTool(machine, way, at) : endAtChange(machine, way, at);
            m_scenario->restore();
            QStringList left = differences(before, TestMachine::image());
            if (way == "apply"_L1 && ending == Ending::Ended && !m_scenario->lost.isEmpty())
                left.removeIf([this](const QString& line) { return line.mid(2).startsWith(m_scenario->lost); });
            if (!left.isEmpty())
                m_problems.append(m_what + left.join(u'\n'));
            if (ending == Ending::GotThrough)
                break;
            ++ends;
        }
        m_ends += ends;
    }

    int m_ends = 0;

private Q_SLOTS:
    void sweep_data()
    {
        QTest::addColumn<int>("least"); // of ends, so that a sweep that swept nothing fails
        const QHash<QString, int> least{{u"network"_s, 48},  {u"bufferbloat"_s, 12},
                                        {u"services"_s, 36}, {u"services, one profile over the other"_s, 130},
                                        {u"app"_s, 4},       {u"processor"_s, 16},
                                        {u"disk"_s, 16},     {u"gaming mode"_s, 80}};
        for (const Scenario& scenario : scenarios())
            QTest::newRow(qPrintable(scenario.name)) << least.value(scenario.name, 1);
    }

    void sweep()
    {
        QFETCH(int, least);
        m_scenario = &scenarioNamed(QString::fromUtf8(QTest::currentDataTag()));
        m_problems.clear();
        m_ends = 0;
        for (const QString& way : {u"apply"_s, u"restore"_s}) {
            for (const bool byTool : {false, true})
                sweepWay(way, byTool);
        }
        QCOMPARE(m_problems.join(u'\n'), QString());
        QVERIFY2(m_ends >= least, qPrintable(QString::number(m_ends)));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (argc == 6 && qstrcmp(argv[1], "--child") == 0)
        return runChild(QCoreApplication::arguments());
    tst_OptimizerSweep test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_OptimizerSweep.moc"
