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
        QTest::addColumn<int>("failingWrite");
        QTest::addColumn<bool>("andAllAfter");
        QTest::addColumn<QString>("failingName");
        QTest::newRow("first write") << 1 << false << u"A"_s;
        QTest::newRow("midway") << 2 << false << u"B"_s;
        QTest::newRow("last write") << 3 << false << u"C"_s;
        QTest::newRow("midway and at the undoing") << 2 << true << u"B"_s;
    }

    /// Told is why the apply failed, whatever became of the undoing.
    void failedApplies()
    {
        QFETCH(int, failingWrite);
        QFETCH(bool, andAllAfter);
        QFETCH(QString, failingName);
        const MachineImage before = TestMachine::image();
        SimulatedPc::failChange(failingWrite, platform::codeWriteFault, andAllAfter);
        QString error;
        QVERIFY(!m_bench->engine.applyTweak(u"three"_s, Tier::Free, &error, false));
        SimulatedPc::clearFaults();
        const QString message = u"Apply error: Failed to write HKCU\\%1 [%2]"_s.arg(scratchKey, failingName);
        QCOMPARE(error, u"three: " + message);
        QCOMPARE(m_bench->signalled, QStringList(u"! three: " + message));
        QCOMPARE(m_bench->machine.log.count(u"[WARN] engine: apply three failed: " + message), 1);
        QCOMPARE(m_bench->state(u"three"_s), static_cast<int>(TweakState::Reverted));
        QVERIFY(stateSql(u"SELECT capture FROM tweak_state"_s).constFirst().contains(u"\"text\":\"kept\""_s));
        QCOMPARE(EngineBench::selection(), QString());
        QCOMPARE(differences(before, TestMachine::image()).isEmpty(), !andAllAfter);
    }

    void revertIsTriedAgain_data()
    {
        QTest::addColumn<bool>("atTheNextStart");
        QTest::newRow("by hand") << false;
        QTest::newRow("at the next start") << true;
    }

    void revertIsTriedAgain()
    {
        QFETCH(bool, atTheNextStart);
        const MachineImage before = TestMachine::image();
        QVERIFY(m_bench->engine.applyTweak(u"three"_s, Tier::Free, nullptr, false));
        SimulatedPc::failChange(2);
        QString error;
        QVERIFY(!m_bench->engine.revertTweak(u"three"_s, &error, false));
        QCOMPARE(error, u"Failed to restore: %1\\B"_s.arg(scratchKey));
        QCOMPARE(m_bench->state(u"three"_s), static_cast<int>(TweakState::Reverting));
        if (atTheNextStart)
            m_bench->engine.recoverInterrupted();
        else
            QVERIFY(m_bench->engine.revertTweak(u"three"_s, &error, false));
        QCOMPARE(m_bench->state(u"three"_s), static_cast<int>(TweakState::Reverted));
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
    }

    void recoveryThatFailsLeavesTheRow()
    {
        QVERIFY(m_bench->engine.applyTweak(u"three"_s, Tier::Free, nullptr, false));
        QVERIFY(m_bench->store.setState(u"three"_s, TweakState::Capturing));
        SimulatedPc::denyWrites(u"HKCU\\"_s + scratchKey);
        m_bench->engine.recoverInterrupted();
        QCOMPARE(m_bench->machine.log.lines().last(),
                 u"[ERROR] engine: Recovery revert failed for three: Failed to restore: %1\\A, %1\\B, %1\\C"_s.arg(
                     scratchKey));
        QCOMPARE(m_bench->state(u"three"_s), static_cast<int>(TweakState::Capturing));
    }
};

QTEST_GUILESS_MAIN(tst_TweakEngineFaults)
#include "tst_TweakEngineFaults.moc"
