#include "app/LedgerBench.h"
#include "support/simulated/Suite.h"

#include <QRegularExpression>

/// All that holds registry values in random orders while some of the writes fail, and what the manual says of it.
class tst_Interleaving : public MachineSuite {
    Q_OBJECT

private:
    std::optional<Program> m_program;
    MachineImage m_before;
    QRandomGenerator m_random;

    /// Every eighth round has power plans as well, which take time.
    static void arrangeTools(int round)
    {
        SimulatedPc::clearFaults();
        if (round % 8 != 0)
            SimulatedPc::fail(u"processes.runTool"_s, Win32Error::FileNotFound);
    }

private Q_SLOTS:
    void init()
    {
        MachineSuite::init();
        arrangeTools(1);
        m_random.seed(randomSeed());
        m_program.emplace();
        m_before = TestMachine::image();
    }

    void cleanup()
    {
        m_program.reset();
        MachineSuite::cleanup();
    }

    /// In any order, some of them several times and profiles over each other: everything comes back. In every other round
    /// some writes fail; but not when an optimiser puts back, since that forgets what it couldn't write.
    void anyOrder()
    {
        QList<Holder>& holders = m_program->holders;
        qsizetype changes = 0;
        for (int round = 0; round < (fullRun() ? 240 : 24); ++round) {
            arrangeTools(round);
            QSet<QString> on;
            QStringList story;
            for (int i = 0; i < 12; ++i) {
                const Holder& each = holders.at(m_random.bounded(holders.size()));
                const bool isOff = on.remove(each.name);
                if (!isOff)
                    on.insert(each.name);
                story.append((isOff ? u"- "_s : u"+ "_s) + each.name);
                const bool mayFail = entries.contains(each.name) || (!isOff && each.name == u"Gaming Mode");
                if (round % 2 == 1 && mayFail && m_random.bounded(2) == 0) {
                    story.last() += u", with a failure"_s;
                    SimulatedPc::fail(u"registry"_s, Win32Error::WriteFault,
                                      {.n = m_random.bounded(1, 6), .once = true});
                }
                std::ignore = isOff ? each.off() : each.on();
                arrangeTools(round);
            }
            changes += differences(m_before, TestMachine::image()).size();
            // A revert that failed is tried once more.
            std::shuffle(holders.begin(), holders.end(), m_random);
            for (const Holder& each : std::as_const(holders))
                std::ignore = each.off();
            const QStringList lines = differences(m_before, TestMachine::image());
            QVERIFY2(lines.isEmpty(), qPrintable((story + lines).join(u'\n')));
        }
        QCOMPARE_GE(changes, 100); // or else nothing was switched
    }

    /// What an optimiser remembers while its file can't be written counts as well.
    void filesThatCannotBeWritten()
    {
        QVERIFY(QDir().mkpath(QDir(Paths::dataDir()).filePath(u"services_profile.json"_s)));
        QVERIFY(m_program->services.apply(ServiceProfileId::Basic).count > 0);
        const QString id = u"torv.opt.disable-diagtrack"_s;
        QVERIFY(m_program->context.engine->applyTweak(id, Tier::Pro, nullptr, false));
        QVERIFY(m_program->services.restoreDefaults().count > 0);
        QVERIFY(m_program->context.engine->revertTweak(id, nullptr, true));
        QCOMPARE(differences(m_before, TestMachine::image()), QStringList());
    }

    /// The manual names each value that an optimiser and an entry write, and nothing else.
    void manualNamesThem()
    {
        QMap<QString, QString> written; // by an optimiser: the place, and the first columns of its row
        QVERIFY(GamingMode::activate().ok);
        for (const ValueLedger::Held& held : m_program->context.ledger.heldValues())
            written.insert(held.place.key(), u"| `%1` | Gaming Mode"_s.arg(held.place.name));
        for (const auto profile : {ServiceProfileId::Basic, ServiceProfileId::Advanced}) {
            for (const QString& service : ServiceProfiles::servicesFor(profile))
                written.insert(startOf(service).key(), u"| `%1` | service profile"_s.arg(service));
        }
        QStringList expected;
        for (const TweakDefinition& definition : m_program->context.catalog.definitions()) {
            const auto tweak =
                std::dynamic_pointer_cast<RegistryTweak>(m_program->context.catalog.implementation(definition.id));
            const qsizetype before = expected.size();
            for (const RegistryOperation& operation : tweak ? tweak->operations() : QList<RegistryOperation>()) {
                QString row = written.value(operation.place().key());
                if (operation.name == u"CpuPriorityClass")
                    row = u"| `%1` | app optimiser"_s.arg(operation.path.section(u'\\', -2, -2));
                if (!row.isEmpty())
                    expected.append(row + u" | `%1` |"_s.arg(definition.id));
            }
            QVERIFY2(expected.size() == before || entries.contains(definition.id), qPrintable(definition.id));
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
