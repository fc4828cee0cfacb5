// Applying and reverting 100 registry tweaks of the shipped catalogue, each against its three bare commits: the same
// statements on the same store, without a tweak around them. The excess over 1 pays for looking up, capturing,
// reading, writing and the log. The tweaks' own work on the registry is also timed by itself, since the simulated
// registry is slower than the real one.
//
// Once more on a machine on which as many entries as the catalogue has are applied and Gaming Mode is on, with undo.reg
// kept up: what the ledger of held values costs.

#include "Bench.h"
#include "optimizers/GamingMode.h"
#include "optimizers/HeldValues.h"
#include "system/UndoFile.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QJsonArray>

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

/// The engine on a store of its own, a second store for the bare commits, and the tweaks.
class Fixture {
public:
    explicit Fixture(bool isCrowded)
    {
        require(m_store.open(Paths::stateDb()) && m_bareStore.open(Paths::stateDb() + QStringLiteral(".bare"))
                && m_catalog.load(QStringLiteral(":/tweaks.json")));
        const QList<TweakDefinition> definitions = m_catalog.definitions();
        if (isCrowded)
            crowd(definitions);
        for (const TweakDefinition& definition : definitions) {
            if (definition.type == tweakTypeRegistry && m_tweaks.size() < tweakCount)
                m_tweaks.append(tweakOf(definition));
        }
        require(m_tweaks.size() == tweakCount);
    }
    ~Fixture()
    {
        ValueLedger::setCurrent(nullptr);
        m_ledger.setChangeListener({});
    }
    Fixture(const Fixture&) = delete;
    Fixture& operator=(const Fixture&) = delete;

    /// All tweaks once forward and once back, tweak by tweak in turn with their bare commits.
    void round()
    {
        m_apply = m_revert = {};
        for (const Tweak& tweak : std::as_const(m_tweaks)) {
            take(
                m_apply, [&] { require(m_engine.applyTweak(tweak.id, Tier::Pro, nullptr, false)); },
                [&] {
                    require(m_bareStore.beginApply(tweak.id, tweak.tier, tweak.capture));
                    require(m_bareStore.setState(tweak.id, TweakState::Applied));
                    m_bareStore.setSelected(tweak.id, true);
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
                    m_bareStore.setSelected(tweak.id, false);
                    require(m_bareStore.setState(tweak.id, TweakState::Reverting));
                    require(m_bareStore.setState(tweak.id, TweakState::Reverted));
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
        return {definition.id, definition.requiredTier, capture, work};
    }

    /// All registry entries as if they were applied, with values of their own, in both stores; and Gaming Mode.
    void crowd(const QList<TweakDefinition>& definitions)
    {
        for (const TweakDefinition& definition : definitions) {
            if (definition.type != tweakTypeRegistry)
                continue;
            QJsonObject capture = tweakOf(definition).capture;
            QJsonArray entries;
            for (const QJsonValue& element : capture.value(QStringLiteral("entries")).toArray()) {
                QJsonObject entry = element.toObject();
                const QString path = entry.value(QStringLiteral("path")).toString() + definition.id;
                entry.insert(QStringLiteral("path"), path);
                entries.append(entry);
            }
            capture.insert(QStringLiteral("entries"), entries);
            const QString id = QStringLiteral("held.") + definition.id;
            for (StateStore* store : {&m_store, &m_bareStore})
                require(store->beginApply(id, definition.requiredTier, capture) && store->markApplied(id));
        }
        m_engine.setLedger(&m_ledger);
        m_ledger.attach(&m_held);
        m_ledger.setChangeListener([this] { m_undoFile.request(); });
        ValueLedger::setCurrent(&m_ledger);
        require(GamingMode::activate().ok);
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
    StateStore m_bareStore;
    TweakCatalog m_catalog;
    HeldValues m_held;
    ValueLedger m_ledger;
    TweakEngine m_engine{&m_catalog, &m_store};
    UndoFile m_undoFile{m_ledger, Paths::stateDb() + QStringLiteral(".reg")};
    QList<Tweak> m_tweaks;
    Times m_apply;
    Times m_revert;
    bool m_engineFirst = false;
};

void engine(benchmark::State& state, Fixture::Times (Fixture::*times)() const, bool isCrowded)
{
    Fixture fixture(isCrowded);
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

BENCHMARK_CAPTURE(engine, apply_100_tweaks, &Fixture::apply, false)
    ->UseManualTime()
    ->Iterations(rounds)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(engine, revert_100_tweaks, &Fixture::revert, false)
    ->UseManualTime()
    ->Iterations(rounds)
    ->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(engine, apply_100_tweaks_beside_152, &Fixture::apply, true)
    ->UseManualTime()
    ->Iterations(rounds)
    ->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv)
{
    return bench::run(argc, argv);
}
