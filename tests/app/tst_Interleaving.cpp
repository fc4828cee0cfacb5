#include "optimizers/AppOptimizer.h"
#include "optimizers/GamingMode.h"
#include "optimizers/HeldValues.h"
#include "optimizers/OptimizerBench.h"
#include "optimizers/ServiceProfiles.h"
#include "support/simulated/Suite.h"
#include "tweaks/StateStore.h"
#include "tweaks/Sweeps.h"
#include "tweaks/TweakEngine.h"

#include <QRegularExpression>

namespace {

const QString servicesKey = u"SYSTEM\\CurrentControlSet\\Services\\"_s;
constexpr int roundsUsually = 24;

QString placeOf(RegistryHive hive, const QString& path, const QString& name)
{
    return RegistryTweak::restoreKey(hive, path, name);
}

/// Whatever can be switched on and off and writes values that another one writes as well.
struct Switch {
    QString name;                  ///< As the manual calls it.
    QMap<QString, QString> places; ///< What it writes: the place, and the value's name in the manual.
    std::function<void()> on;
    std::function<void()> off;
    bool isEntry = false;
    bool isOn = false;
};

} // namespace

/// Gaming Mode, the service profiles, the priority of apps and the catalogue's entries that write the same values, in
/// random orders. TORVELANE_RANDOM_SEED repeats a run.
class tst_Interleaving : public QObject {
    Q_OBJECT

private:
    std::optional<TestMachine> m_machine;
    std::optional<TweakCatalog> m_catalog;
    std::optional<StateStore> m_store;
    std::optional<HeldValues> m_held;
    std::optional<ValueLedger> m_ledger;
    std::optional<TweakEngine> m_engine;
    QList<Switch> m_switches;
    MachineImage m_before;
    QRandomGenerator m_random;

    void addOptimizers()
    {
        Switch gaming{u"Gaming Mode"_s,
                      {},
                      [] { std::ignore = GamingMode::activate(); },
                      [] { std::ignore = GamingMode::deactivate(); }};
        gaming.on();
        const QJsonArray entries = snapshot(u"gaming_mode.json"_s).value(u"entries"_s).toArray();
        for (const QJsonValue& entry : entries) {
            const QString name = entry[u"name"].toString();
            gaming.places.insert(placeOf(parseHive(entry[u"hive"].toString(), nullptr), entry[u"key"].toString(), name),
                                 name);
        }
        gaming.off();
        m_switches.append(gaming);

        for (const ServiceProfileId id : {ServiceProfileId::Basic, ServiceProfileId::Advanced}) {
            Switch profile{u"service profile"_s,
                           {},
                           [id] { std::ignore = ServiceProfiles().apply(id); },
                           [] { std::ignore = ServiceProfiles().restoreDefaults(); }};
            for (const QString& service : ServiceProfiles::servicesFor(id))
                profile.places.insert(placeOf(RegistryHive::LocalMachine, servicesKey + service, u"Start"_s), service);
            m_switches.append(profile);
        }
    }

    /// One for each program that an entry gives its priority.
    void addApps(const QList<std::shared_ptr<RegistryTweak>>& tweaks)
    {
        for (const auto& tweak : tweaks) {
            for (const RegistryOperation& operation : tweak->operations()) {
                if (operation.name != "CpuPriorityClass"_L1)
                    continue;
                const QString app = operation.path.section(u'\\', -2, -2);
                m_switches.append({u"app optimiser"_s,
                                   {{placeOf(operation.hive, operation.path, operation.name), app}},
                                   [app] { std::ignore = AppOptimizer().optimize(u"C:\\"_s + app); },
                                   [app] { std::ignore = AppOptimizer().restore(app); }});
            }
        }
    }

    void addEntries(const QList<std::shared_ptr<RegistryTweak>>& tweaks)
    {
        QMap<QString, QString> ofOptimizers;
        for (const Switch& each : std::as_const(m_switches))
            ofOptimizers.insert(each.places);
        for (const auto& tweak : tweaks) {
            const QString id = tweak->id();
            Switch entry{u"`%1`"_s.arg(id),
                         {},
                         [this, id] { std::ignore = m_engine->applyTweak(id, Tier::Pro, nullptr, false); },
                         [this, id] { std::ignore = m_engine->revertTweak(id, nullptr, true); },
                         true};
            for (const RegistryOperation& operation : tweak->operations()) {
                const QString place = placeOf(operation.hive, operation.path, operation.name);
                if (ofOptimizers.contains(place))
                    entry.places.insert(place, ofOptimizers.value(place));
            }
            if (!entry.places.isEmpty())
                m_switches.append(entry);
        }
    }

    /// Every eighth round has power plans as well, which take time.
    static void arrangeTools(int round)
    {
        SimulatedPc::clearFaults();
        if (round % 8 != 0)
            SimulatedPc::fail(u"processes.runTool"_s, platform::Win32Error::FileNotFound);
    }

private Q_SLOTS:
    void init()
    {
        m_random.seed(randomSeed());
        m_machine.emplace();
        SimulatedPc::fail(u"processes.runTool"_s, platform::Win32Error::FileNotFound);
        m_catalog.emplace();
        m_store.emplace();
        const auto tweaks = registryTweaks(*m_catalog);
        QVERIFY(m_store->open(Paths::stateDb()));
        m_engine.emplace(&*m_catalog, &*m_store);
        m_ledger.emplace();
        m_held.emplace();
        m_ledger->attach(&*m_held);
        m_ledger->setOrderDrawer([this](const QString& holder) { return m_store->drawOrder(holder); });
        m_engine->setLedger(&*m_ledger);
        ValueLedger::setCurrent(&*m_ledger);
        addOptimizers();
        addApps(tweaks);
        addEntries(tweaks);
        m_before = TestMachine::image();
        for (Switch& each : m_switches) {
            each.on();
            each.off();
            QCOMPARE(differences(m_before, TestMachine::image()), QStringList());
        }
    }

    void cleanup()
    {
        m_switches.clear();
        ValueLedger::setCurrent(nullptr);
        m_engine.reset();
        m_ledger.reset();
        m_store.reset();
        m_catalog.reset();
        m_machine.reset();
    }

    /// In any order, some of them several times and profiles over each other: everything comes back. In every other round
    /// some writes fail; but not when an optimiser puts back, since that forgets what it couldn't write.
    void anyOrder()
    {
        for (int round = 0; round < (fullRun() ? 10 : 1) * roundsUsually && !QTest::currentTestFailed(); ++round) {
            arrangeTools(round);
            QStringList story;
            const auto turn = [&](Switch& each) {
                each.isOn = !each.isOn;
                story.append((each.isOn ? u"+ "_s : u"- "_s) + each.name);
                const bool mayFail = each.isEntry || (each.isOn && each.name == "Gaming Mode"_L1);
                if (round % 2 == 1 && mayFail && m_random.bounded(2) == 0) {
                    story.last() += u", with a failure"_s;
                    SimulatedPc::fail(u"registry"_s, platform::Win32Error::WriteFault,
                                      {.n = m_random.bounded(1, 6), .once = true});
                }
                (each.isOn ? each.on : each.off)();
                arrangeTools(round);
            };
            for (int i = 0; i < 12; ++i)
                turn(m_switches[m_random.bounded(m_switches.size())]);
            // A revert that failed is tried once more.
            std::shuffle(m_switches.begin(), m_switches.end(), m_random);
            for (Switch& each : m_switches) {
                each.off();
                each.isOn = false;
            }
            const QStringList lines = differences(m_before, TestMachine::image());
            QVERIFY2(lines.isEmpty(), qPrintable((story + lines).join(u'\n')));
        }
    }

    /// What an optimiser remembers while its file can't be written counts as well.
    void filesThatCannotBeWritten()
    {
        const QString path = snapshotPath(u"services_profile.json"_s);
        QVERIFY(QFile::remove(path));
        QVERIFY(QDir().mkpath(path));
        ServiceProfiles services;
        QVERIFY(services.apply(ServiceProfileId::Basic).count > 0);
        const QString id = u"torv.opt.disable-diagtrack"_s;
        QVERIFY(m_engine->applyTweak(id, Tier::Pro, nullptr, false));
        QVERIFY(services.restoreDefaults().count > 0);
        QVERIFY(m_engine->revertTweak(id, nullptr, true));
        QCOMPARE(differences(m_before, TestMachine::image()), QStringList());
    }

    /// The manual names each value that two write, and nothing else.
    void manualNamesThem()
    {
        QStringList expected;
        for (const Switch& optimizer : std::as_const(m_switches)) {
            for (auto place = optimizer.places.begin(); place != optimizer.places.end(); ++place) {
                for (const Switch& entry : std::as_const(m_switches)) {
                    if (entry.name.startsWith(u'`') && !optimizer.name.startsWith(u'`')
                        && entry.places.contains(place.key())) {
                        expected.append(u"| `%1` | %2 | %3 |"_s.arg(place.value(), optimizer.name, entry.name));
                    }
                }
            }
        }
        expected.removeDuplicates();
        QFile manual(QStringLiteral(TORVELANE_MANUAL));
        QVERIFY(manual.open(QIODevice::ReadOnly | QIODevice::Text));
        const QString chapter = QString::fromUtf8(manual.readAll()).section(u"## When two of them want one value"_s, 1);
        QStringList found = chapter.split(u'\n').filter(QRegularExpression(u"^\\| `"_s));
        expected.sort();
        found.sort();
        QCOMPARE(found, expected);
    }
};

QTEST_GUILESS_MAIN(tst_Interleaving)
#include "tst_Interleaving.moc"
