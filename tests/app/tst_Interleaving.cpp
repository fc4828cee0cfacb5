#include "app/LedgerBench.h"
#include "support/simulated/Suite.h"

/// All that holds registry values in random orders while some of the writes fail.
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
};

QTEST_GUILESS_MAIN(tst_Interleaving)
#include "tst_Interleaving.moc"
