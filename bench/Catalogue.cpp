// Loading the shipped catalogue: how long it takes, and how much of the heap stays in use while it is loaded.

#include "tweaks/TweakCatalog.h"

#include <QCoreApplication>

#include <benchmark/benchmark.h>

#include <cstdio>
#include <cstdlib>
#include <malloc.h>

namespace {

using torvelane::TweakCatalog;

/// All that is allocated, in large blocks of their own as well.
std::size_t heapInUseBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void load(TweakCatalog& catalog)
{
    if (!catalog.load(QStringLiteral(":/tweaks.json")))
        std::abort();
}

void loadCatalogue(benchmark::State& state)
{
    // The first load also pays for Qt's work once in a process.
    {
        TweakCatalog catalog;
        load(catalog);
    }
    double keptBytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            const std::size_t before = heapInUseBytes();
            TweakCatalog catalog;
            state.ResumeTiming();
            load(catalog);
            state.PauseTiming();
            keptBytes = static_cast<double>(heapInUseBytes() - before);
        }
        state.ResumeTiming();
    }
    state.counters["goal_ms"] = 5;
    state.counters["kept_KiB"] = keptBytes / 1024;
    state.counters["goal_KiB"] = 1024;
}
BENCHMARK(loadCatalogue)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    benchmark::Initialize(&argc, argv);
    // Each load writes a log line to standard error.
    if (!std::freopen("/dev/null", "w", stderr))
        return 1;
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
