// Loading the shipped catalogue: how long it takes, and how much of the heap stays in use while it is loaded.

#include "Bench.h"
#include "tweaks/TweakCatalog.h"

#include <malloc.h>

namespace {

using torvelane::TweakCatalog;
using torvelane::bench::require;

const QString file = QStringLiteral(":/tweaks.json");

/// All that is allocated, in large blocks of their own as well.
std::size_t heapInUseBytes()
{
    const struct mallinfo2 info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

void loadCatalogue(benchmark::State& state)
{
    // The first load also pays for Qt's work once in a process.
    {
        TweakCatalog catalog;
        require(catalog.load(file));
    }
    double keptBytes = 0;
    for (auto _ : state) {
        state.PauseTiming();
        {
            const std::size_t before = heapInUseBytes();
            TweakCatalog catalog;
            state.ResumeTiming();
            require(catalog.load(file));
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
    return torvelane::bench::run(argc, argv);
}
