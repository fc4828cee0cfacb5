// Applying and reverting 100 registry tweaks of the shipped catalogue, each against its three bare commits: the same
// statements on the same store, without a tweak around them. The excess over 1 pays for looking up, capturing,
// reading, writing and the log. The tweaks' own work on the registry is also timed by itself, since the simulated
// registry is slower than the real one.

#include "Bench.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <memory>
#include <vector>

namespace {

using namespace torvelane;
using bench::Pair;
using bench::require;
using bench::timeOf;

constexpr qsizetype tweakCount = 100;
constexpr int rounds = 15;
constexpr double goal = 1.3;

/// The engine on a store of its own, and the tweaks.
class Fixture {
public:
    Fixture()
    {
        require(m_store.open(Paths::stateDb()) && m_catalog.load(QStringLiteral(":/tweaks.json")));
        const QList<TweakDefinition> definitions = m_catalog.definitions();
        for (const TweakDefinition& definition : definitions) {
            if (definition.type == tweakTypeRegistry && m_tweaks.size() < tweakCount)
                m_tweaks.append(tweakOf(definition));
        }
        require(m_tweaks.size() == tweakCount);
    }

    /// All tweaks once forward and once back, tweak by tweak in turn with their bare commits.
    void round()
    {
        m_apply = m_revert = {};
        for (const Tweak& tweak : std::as_const(m_tweaks)) {
            take(
                m_apply, [&] { require(m_engine.applyTweak(tweak.id, Tier::Pro, nullptr, false)); },
                [&] {
                    require(m_store.beginApply(tweak.bareId, tweak.tier, tweak.capture));
                    require(m_store.setState(tweak.bareId, TweakState::Applied));
                    m_store.setSelected(tweak.bareId, true);
                });
            require(tweak.work->revert(tweak.capture).ok);
            m_apply.registry += timeOf([&] {
                bool captured = false;
                QString error;
                std::ignore = tweak.work->capture(&captured, &error);
                require(captured && tweak.work->apply().ok);
            });
        }
        for (const Tweak& tweak : std::as_const(m_tweaks)) {
            take(
                m_revert, [&] { require(m_engine.revertTweak(tweak.id, nullptr, true)); },
                [&] {
                    m_store.setSelected(tweak.bareId, false);
                    require(m_store.setState(tweak.bareId, TweakState::Reverting));
                    require(m_store.setState(tweak.bareId, TweakState::Reverted));
                });
            require(tweak.work->apply().ok);
            m_revert.registry += timeOf([&] { require(tweak.work->revert(tweak.capture).ok); });
        }
    }

    struct Times {
        Pair::Seconds engine{};
        Pair::Seconds bare{};
        Pair::Seconds registry{};
    };

    [[nodiscard]] Times apply() const { return m_apply; }
    [[nodiscard]] Times revert() const { return m_revert; }

private:
    struct Tweak {
        QString id;
        QString bareId;
        Tier tier = Tier::Free;
        QJsonObject capture;
        std::shared_ptr<ITweak> work;
    };

    Tweak tweakOf(const TweakDefinition& definition) const
    {
        bool captured = false;
        QString error;
        const std::shared_ptr<ITweak> work = m_catalog.implementation(definition.id);
        const QJsonObject capture = work->capture(&captured, &error);
        require(captured);
        return {definition.id, QStringLiteral("bare.") + definition.id, definition.requiredTier, capture, work};
    }

    template <typename Engine, typename Bare>
    void take(Times& times, Engine engine, Bare bare)
    {
        m_engineFirst = !m_engineFirst;
        if (m_engineFirst)
            times.engine += timeOf(engine);
        times.bare += timeOf(bare);
        if (!m_engineFirst)
            times.engine += timeOf(engine);
    }

    bench::Machine m_machine;
    StateStore m_store;
    TweakCatalog m_catalog;
    TweakEngine m_engine{&m_catalog, &m_store};
    QList<Tweak> m_tweaks;
    Times m_apply;
    Times m_revert;
    bool m_engineFirst = false;
};

void engine(benchmark::State& state, Fixture::Times (Fixture::*times)() const)
{
    Fixture fixture;
    fixture.round(); // Keys that the tweaks create stay, and the first time pays for them.
    Pair pair;
    std::vector<double> registryMs;
    for (auto _ : state) {
        fixture.round();
        const Fixture::Times taken = (fixture.*times)();
        pair.add(state, taken.engine, taken.bare);
        registryMs.push_back(taken.registry.count() * 1000);
    }
    pair.report(state, goal);
    state.counters["registry_ms"] = bench::median(registryMs);
}

BENCHMARK_CAPTURE(engine, apply_100_tweaks, &Fixture::apply)
    ->UseManualTime()
    ->Iterations(rounds)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(engine, revert_100_tweaks, &Fixture::revert)
    ->UseManualTime()
    ->Iterations(rounds)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv);
}
