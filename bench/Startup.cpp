// `Torvelane list`, a whole process from start to end, against a program that makes a QApplication and ends. Both are
// started in turn with their files warm, without output and on the platform plug-in that a verb chooses.

#include "Bench.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"

#include <array>
#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace {

using namespace torvelane;
using bench::Pair;
using bench::require;
using bench::timeOf;

constexpr int starts = 100;
constexpr int warmUpStarts = 5;
constexpr double goal = 1.3;

/// The cost of one whole process. The processor's time hardly depends on what else the machine does.
struct Cost {
    Pair::Seconds elapsed{};
    Pair::Seconds processor{};
};

Pair::Seconds secondsOf(const timeval& time)
{
    return Pair::Seconds(static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6);
}

/// Starts a program, with its streams on /dev/null, and waits for its end. Through the system itself: what QProcess
/// adds would be part of both times and flatter the ratio.
Cost runToEnd(const char* program, const char* argument)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_RDWR, 0);
    std::array<char*, 3> arguments{const_cast<char*>(program), const_cast<char*>(argument), nullptr};
    pid_t process = 0;
    int status = 0;
    rusage usage{};
    const Pair::Seconds elapsed = timeOf([&] {
        require(posix_spawn(&process, program, &actions, nullptr, arguments.data(), environ) == 0);
        require(wait4(process, &status, 0, &usage) == process);
    });
    require(WIFEXITED(status) && WEXITSTATUS(status) == 0);
    posix_spawn_file_actions_destroy(&actions);
    return {elapsed, secondsOf(usage.ru_utime) + secondsOf(usage.ru_stime)};
}

/// A machine and a data directory that the started programs find through their environment.
class Fixture {
public:
    Fixture() : m_dir(QCoreApplication::applicationDirPath() + QStringLiteral("/bench-XXXXXX"))
    {
        require(m_dir.isValid());
        qputenv("QT_QPA_PLATFORM", "minimal");
        qputenv("LC_ALL", "C.UTF-8"); // Qt complains of another one, at length
        qputenv("XDG_CONFIG_HOME", m_dir.path().toLocal8Bit());
        platform::SimulatedPc::setMachineFile(m_dir.filePath(QStringLiteral("machine.db")));
    }

    /// Rows as they stand after everything in the catalogue has been applied.
    static void applyAll()
    {
        TweakCatalog catalog;
        StateStore store;
        require(Paths::ensureDataDir() && store.open(Paths::stateDb())
                && catalog.load(QStringLiteral(":/tweaks.json")));
        const QList<TweakDefinition> definitions = catalog.definitions();
        for (const TweakDefinition& definition : definitions) {
            bool captured = false;
            QString error;
            const QJsonObject capture = catalog.implementation(definition.id)->capture(&captured, &error);
            require(captured && store.beginApply(definition.id, definition.requiredTier, capture)
                    && store.markApplied(definition.id));
            store.setSelected(definition.id, true);
        }
    }

private:
    QTemporaryDir m_dir;
};

void measureList(benchmark::State& state)
{
    const auto list = [] { return runToEnd(TORVELANE_PROGRAM, "list"); };
    const auto baseline = [] { return runToEnd(TORVELANE_BASELINE_PROGRAM, nullptr); };
    for (int i = 0; i < warmUpStarts; ++i) {
        list();
        baseline();
    }
    Pair pair;
    std::vector<double> processorRatios;
    bool listFirst = false;
    for (auto _ : state) {
        listFirst = !listFirst;
        Cost listCost = listFirst ? list() : Cost();
        const Cost baselineCost = baseline();
        if (!listFirst)
            listCost = list();
        pair.add(state, listCost.elapsed, baselineCost.elapsed);
        processorRatios.push_back(listCost.processor / baselineCost.processor);
    }
    pair.report(state, goal);
    state.counters["cpu_ratio"] = bench::median(processorRatios);
}

void listWithNothingApplied(benchmark::State& state)
{
    const Fixture fixture;
    measureList(state);
}
BENCHMARK(listWithNothingApplied)->UseManualTime()->Iterations(starts)->Unit(benchmark::kMillisecond);

void listWithEverythingApplied(benchmark::State& state)
{
    const Fixture fixture;
    Fixture::applyAll();
    measureList(state);
}
BENCHMARK(listWithEverythingApplied)->UseManualTime()->Iterations(starts)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
