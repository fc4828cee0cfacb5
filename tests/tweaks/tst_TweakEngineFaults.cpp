#include "tweaks/EngineBench.h"

#include "platform/Registry.h"
#include "platform/simulated/SimulatedPc.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

class tst_TweakEngineFaults : public QObject {
    Q_OBJECT

private:
    std::optional<EngineBench> m_bench;

private Q_SLOTS:
    void init()
    {
        m_bench.emplace(EngineBench::registryEntry("three", {"A", "B", "C"}));
        putRaw(u"A"_s, {platform::regSz, utf16(u"kept"_s)});
    }

    void cleanup()
    {
        SimulatedPc::clearFaults();
        m_bench.reset();
    }

    void failedApplies_data()
    {
        QTest::addColumn<bool>("andAllAfter");
        QTest::newRow("midway") << false;
        QTest::newRow("midway and at the undoing") << true;
    }

    /// Told is why the apply failed, whatever became of the undoing.
    void failedApplies()
    {
        QFETCH(bool, andAllAfter);
        const MachineImage before = TestMachine::image();
        SimulatedPc::failChange(2, platform::codeWriteFault, andAllAfter);
        QString error;
        QVERIFY(!m_bench->engine.applyTweak(u"three"_s, Tier::Free, &error, false));
        SimulatedPc::clearFaults();
        const QString message = u"Apply error: Failed to write HKCU\\%1 [B]"_s.arg(scratchKey);
        QCOMPARE(error, u"three: " + message);
        QCOMPARE(m_bench->signalled, QStringList(u"! three: " + message));
        QCOMPARE(m_bench->machine.log.count(u"[WARN] engine: apply three failed: " + message), 1);
        QCOMPARE(m_bench->state(u"three"_s), static_cast<int>(TweakState::Reverted));
        QVERIFY(stateSql(u"SELECT capture FROM tweak_state"_s).constFirst().contains(u"\"text\":\"kept\""_s));
        QCOMPARE(EngineBench::selection(), QString());
        QCOMPARE(differences(before, TestMachine::image()).isEmpty(), !andAllAfter);
    }
};

QTEST_GUILESS_MAIN(tst_TweakEngineFaults)
#include "tst_TweakEngineFaults.moc"
