#include "tweaks/EngineBench.h"

#include "platform/Registry.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

const QByteArray commandEntries = R"({"id": "once", "type": "command", "apply": ["exit 0"]},
    {"id": "both", "type": "command", "requiredTier": "none", "apply": ["exit 0"],
     "revert": ["reg add HKCU\\Software\\Torvelane\\Test /v Undone /t REG_DWORD /d 1 /f"]})";

/// "two" sets A and B, "one" sets C, "pro" sets P and needs that tier; "closed" can't be read on any machine.
QByteArray catalogue()
{
    return EngineBench::registryEntry("two", {"A", "B"}) + ',' + EngineBench::registryEntry("one", {"C"}) + ','
        + EngineBench::registryEntry("pro", {"P"}, "pro") + ',' + commandEntries
        + R"(,{"id": "closed", "operations": [{"hive": "HKCU", "path": "A\u0000B", "name": "X", "desired": 1}]})";
}

constexpr int noRow = -1;
constexpr int capturing = static_cast<int>(TweakState::Capturing);
constexpr int applied = static_cast<int>(TweakState::Applied);
constexpr int reverting = static_cast<int>(TweakState::Reverting);
constexpr int reverted = static_cast<int>(TweakState::Reverted);

/// Makes the stored capture of a tweak one that can't be restored.
void spoilCapture(const QString& id)
{
    stateSql(uR"(UPDATE tweak_state SET capture='{"type":"registry","entries":[{"name":"Spoilt"}]}' WHERE tweak_id=')"_s
             + id + u'\'');
}

} // namespace

class tst_TweakEngine : public QObject {
    Q_OBJECT

private:
    std::optional<EngineBench> m_bench;

    TweakEngine& engine() { return m_bench->engine; }
    [[nodiscard]] QStringList logged() const { return m_bench->machine.log.lines(); }
    bool apply(const QString& id) { return engine().applyTweak(id, Tier::Pro, nullptr, false); }

private Q_SLOTS:
    void init()
    {
        m_bench.emplace(catalogue());
        putRaw(u"A"_s, {platform::regDword, dwordBytes(7)});
    }

    void cleanup() { m_bench.reset(); }

    void appliedAndReverted()
    {
        const auto before = scratchImage();
        QString error;
        QVERIFY(engine().applyTweak(u"two"_s, Tier::Free, &error, false));
        QCOMPARE(EngineBench::number(u"A"_s) + EngineBench::number(u"B"_s), 2);
        QVERIFY(engine().isApplied(u"two"_s));
        QCOMPARE(engine().appliedIds(), QStringList(u"two"_s));
        QCOMPARE(EngineBench::selection(), u"two"_s);

        // Once more is no change of anything but the choice; above all the first capture stays.
        const QStringList row = stateSql(u"SELECT * FROM tweak_state"_s);
        m_bench->store.clearSelection();
        QVERIFY(engine().applyTweak(u"two"_s, Tier::Free, &error, false));
        QCOMPARE(stateSql(u"SELECT * FROM tweak_state"_s), row);
        QCOMPARE(EngineBench::selection(), u"two"_s);

        QVERIFY(engine().revertTweak(u"two"_s, &error, true));
        QCOMPARE(scratchImage(), before);
        QCOMPARE(m_bench->state(u"two"_s), reverted);
        QCOMPARE(EngineBench::selection(), QString());
        QVERIFY(engine().revertTweak(u"two"_s, &error, true));
        QCOMPARE(error, QString());
        QCOMPARE(m_bench->signalled, QStringList({u"+ two"_s, u"- two"_s}));
        QCOMPARE(logged(),
                 QStringList({u"[INFO] engine: Applied tweak: two"_s, u"[INFO] engine: Reverted tweak: two"_s}));
    }

    /// Nothing is touched before the capture is in the database, and the row says so only after all is done.
    void captureIsCommittedFirst()
    {
        QStringList seen;
        m_bench->store.setCommitObserver([&](bool committed, const char* operation) {
            seen.append(u"%1 %2 A=%3 row=%4"_s.arg(QString::fromLatin1(operation), committed ? u"after"_s : u"before"_s)
                            .arg(EngineBench::number(u"A"_s))
                            .arg(stateSql(u"SELECT state FROM tweak_state"_s).join(u' ')));
        });
        QVERIFY(apply(u"two"_s) && engine().revertTweak(u"two"_s, nullptr, false));
        QCOMPARE(seen,
                 QStringList({u"beginApply before A=7 row="_s, u"beginApply after A=7 row=capturing"_s,
                              u"setState before A=1 row=capturing"_s, u"setState after A=1 row=applied"_s,
                              u"setSelected before A=1 row=applied"_s, u"setSelected after A=1 row=applied"_s,
                              u"setState before A=1 row=applied"_s, u"setState after A=1 row=reverting"_s,
                              u"setState before A=7 row=reverting"_s, u"setState after A=7 row=reverted"_s}));
    }

    void refusedApplies_data()
    {
        QTest::addColumn<QString>("id");
        QTest::addColumn<Tier>("tier");
        QTest::addColumn<QString>("statement");
        QTest::addColumn<QString>("message");
        QTest::newRow("unknown") << u"TWO"_s << Tier::Pro << QString() << u"Unknown tweak id"_s;
        QTest::newRow("tier below") << u"pro"_s << Tier::Premium << QString() << u"Requires the pro tier"_s;
        QTest::newRow("no tier") << u"two"_s << Tier::None << QString() << u"Requires the free tier"_s;
        QTest::newRow("unreadable value")
            << u"closed"_s << Tier::Pro << QString() << QString(u"Capture failed: Failed to read HKCU\\A\0B [X]"_s);
        QTest::newRow("store refuses the row")
            << u"two"_s << Tier::Pro
            << u"CREATE TRIGGER full BEFORE INSERT ON tweak_state BEGIN SELECT RAISE(ABORT, 'full'); END"_s
            << u"Could not persist original value (state store)"_s;
    }

    void refusedApplies()
    {
        QFETCH(QString, id);
        QFETCH(Tier, tier);
        QFETCH(QString, statement);
        QFETCH(QString, message);
        if (!statement.isEmpty())
            stateSql(statement);
        const auto before = scratchImage();
        QString error;
        QVERIFY(!engine().applyTweak(id, tier, &error, false));
        QCOMPARE(error, id + u": " + message);
        QCOMPARE(m_bench->signalled, QStringList(u"! " + id + u": " + message));
        QCOMPARE(m_bench->machine.log.count(u"[WARN] engine: apply %1 failed: %2"_s.arg(id, message)), 1);
        QCOMPARE(scratchImage(), before);
        QCOMPARE(m_bench->state(id), noRow);
        QCOMPARE(EngineBench::selection(), QString());
    }

    void batchGoesOn()
    {
        QStringList errors;
        QVERIFY(!engine().applyBatch({u"one"_s, u"gone"_s, u"two"_s}, Tier::Free, &errors, false));
        QCOMPARE(errors, QStringList(u"gone: Unknown tweak id"_s));
        QCOMPARE(m_bench->signalled, QStringList({u"+ one"_s, u"! gone: Unknown tweak id"_s, u"+ two"_s}));
        QVERIFY(!engine().applyBatch({u"gone"_s, u"one"_s}, Tier::Free, nullptr, false));
        QVERIFY(engine().applyBatch({}, Tier::None, &errors, true));
        QCOMPARE(errors.size(), 1);
    }

    void restorePoints()
    {
        qint64 nowMs = 5000;
        bool makes = false;
        QStringList made;
        engine().setClock([&] { return nowMs; });
        engine().setRestorePointMaker([&](const QString& description, QString* error) {
            made.append(u"%1 %2"_s.arg(nowMs).arg(description));
            *error = u"switched off"_s;
            return makes;
        });
        const auto applyAt = [&](qint64 ms) {
            nowMs = ms;
            return engine().applyBatch({u"one"_s, u"two"_s}, Tier::Free, nullptr, true);
        };
        QVERIFY(engine().applyBatch({}, Tier::Free, nullptr, true));
        QVERIFY(engine().applyBatch({u"once"_s}, Tier::Free, nullptr, false));
        QVERIFY(applyAt(5000));
        QCOMPARE(logged().filter(u"restore point"_s),
                 QStringList(u"[WARN] engine: Proceeding without restore point: switched off"_s));
        makes = true;
        // The failed attempt has used the window up.
        QVERIFY(applyAt(5000) && applyAt(605000) && applyAt(605001) && applyAt(1205001) && applyAt(1205002));
        const QString description = u" Torvelane: before applying 2 tweak(s)"_s;
        QCOMPARE(made, QStringList({u"5000"_s + description, u"605001"_s + description, u"1205002"_s + description}));
        QCOMPARE(logged().filter(u"restore point"_s).size(), 1);
    }

    void revertWithoutAnythingToRevert()
    {
        m_bench->store.setSelected(u"two"_s, true);
        QVERIFY(engine().revertTweak(u"two"_s, nullptr, false));
        QCOMPARE(EngineBench::selection(), u"two"_s);
        QVERIFY(engine().revertTweak(u"two"_s, nullptr, true));
        QCOMPARE(EngineBench::selection(), QString());
        QCOMPARE(m_bench->signalled, QStringList());
        QCOMPARE(logged(), QStringList());

        stateSql(u"ALTER TABLE tweak_state RENAME TO lost"_s);
        QString error;
        QVERIFY(!engine().revertTweak(u"two"_s, &error, false));
        QCOMPARE(error, u"Could not read the original value (state store)"_s);
    }

    void failedRevert()
    {
        QVERIFY(apply(u"two"_s));
        spoilCapture(u"two"_s);
        QString error;
        QVERIFY(!engine().revertTweak(u"two"_s, &error, true));
        QCOMPARE(error, u"Failed to restore: Spoilt"_s);
        QCOMPARE(m_bench->state(u"two"_s), reverting);
        QCOMPARE(EngineBench::selection(), QString());
        QCOMPARE(m_bench->signalled.last(), u"! two: Revert failed: Failed to restore: Spoilt"_s);
        QCOMPARE(logged().last(), u"[ERROR] engine: revert two failed: Failed to restore: Spoilt"_s);

        // The row may hold the only originals: it is neither captured over nor forgotten.
        QVERIFY(!engine().applyTweak(u"two"_s, Tier::Pro, &error, false));
        QCOMPARE(error, u"two: An earlier change could not be undone: Failed to restore: Spoilt"_s);
        QCOMPARE(m_bench->state(u"two"_s), reverting);
        QVERIFY(stateSql(u"SELECT capture FROM tweak_state"_s).constFirst().contains(u"Spoilt"_s));
    }

    void applyOverAnInterruptedRow_data()
    {
        QTest::addColumn<TweakState>("state");
        QTest::newRow("its revert was interrupted") << TweakState::Reverting;
        QTest::newRow("its apply was interrupted") << TweakState::Capturing;
    }

    /// The values that the program found at the very first come back, not those of the half-done change.
    void applyOverAnInterruptedRow()
    {
        QFETCH(TweakState, state);
        const auto before = scratchImage();
        QVERIFY(apply(u"two"_s));
        QVERIFY(m_bench->store.setState(u"two"_s, state));
        QVERIFY(apply(u"two"_s));
        QCOMPARE(EngineBench::number(u"A"_s), 1);
        QVERIFY(engine().revertTweak(u"two"_s, nullptr, false));
        QCOMPARE(scratchImage(), before);
    }

    void revertAll_data()
    {
        QTest::addColumn<bool>("clears");
        QTest::newRow("keeps the choice") << false;
        QTest::newRow("forgets the choice") << true;
    }

    void revertAll()
    {
        QFETCH(bool, clears);
        QVERIFY(apply(u"two"_s) && apply(u"one"_s) && apply(u"once"_s));
        QVERIFY(m_bench->store.beginApply(u"half"_s, Tier::Free, {}));
        spoilCapture(u"two"_s);
        m_bench->signalled.clear();
        engine().revertAll(clears);
        QCOMPARE(EngineBench::selection(), clears ? QString() : u"once one two"_s);
        QStringList seen = m_bench->signalled;
        seen.sort();
        QCOMPARE(seen, QStringList({u"! two: Revert failed: Failed to restore: Spoilt"_s, u"- once"_s, u"- one"_s}));
        QCOMPARE(m_bench->state(u"two"_s), reverting);
        QCOMPARE(m_bench->state(u"half"_s), capturing);
        QVERIFY(m_bench->machine.log.contains(u"[INFO] engine: Reverting all 3 applied tweak(s)"_s));
    }

    void revertAboveTier_data()
    {
        QTest::addColumn<Tier>("tier");
        QTest::addColumn<QStringList>("left");
        QTest::newRow("none") << Tier::None << QStringList(u"both"_s);
        QTest::newRow("free") << Tier::Free << QStringList({u"both"_s, u"one"_s});
        QTest::newRow("premium") << Tier::Premium << QStringList({u"both"_s, u"dropped"_s, u"one"_s});
        QTest::newRow("pro") << Tier::Pro << QStringList({u"both"_s, u"dropped"_s, u"one"_s, u"pro"_s});
    }

    /// What counts is the tier that the row was applied with, also for what has left the catalogue.
    void revertAboveTier()
    {
        QFETCH(Tier, tier);
        QVERIFY(apply(u"one"_s) && apply(u"pro"_s) && apply(u"both"_s) && apply(u"two"_s));
        stateSql(u"UPDATE tweak_state SET tweak_id='dropped', required_tier='premium' WHERE tweak_id='two'"_s);
        engine().revertAboveTier(tier);
        QStringList left = engine().appliedIds();
        left.sort();
        QTEST(left, "left");
        QCOMPARE(EngineBench::number(u"A"_s), left.contains(u"dropped"_s) ? 1 : 7);
        QCOMPARE(EngineBench::selection(), u"both one pro two"_s);
    }

    void recovery()
    {
        QVERIFY(apply(u"two"_s) && apply(u"one"_s) && apply(u"both"_s) && apply(u"once"_s) && apply(u"pro"_s));
        stateSql(u"UPDATE tweak_state SET state='reverting' WHERE tweak_id IN ('two', 'once')"_s);
        stateSql(u"UPDATE tweak_state SET state='capturing' WHERE tweak_id IN ('one', 'both')"_s);
        stateSql(u"UPDATE tweak_state SET capture='cut sho' WHERE tweak_id='one'"_s);
        stateSql(u"UPDATE tweak_state SET tweak_id='dropped ' || tweak_id WHERE tweak_id IN ('two', 'once')"_s);
        const QString choice = EngineBench::selection();
        m_bench->signalled.clear();
        m_bench->machine.log = LogCapture();

        engine().recoverInterrupted();

        // A registry tweak needs no catalogue, a command tweak does; a capture that can't be read goes by the catalogue.
        QCOMPARE(logged(),
                 QStringList({u"[WARN] engine: Recovering 4 interrupted tweak(s) after crash"_s,
                              u"[ERROR] engine: Recovery revert failed for one: Capture is empty; nothing to revert"_s,
                              u"[ERROR] engine: Recovery revert failed for dropped once: "
                              "No reverter for capture type 'command'"_s}));
        QCOMPARE(EngineBench::number(u"A"_s), 7);
        QCOMPARE(EngineBench::number(u"B"_s), -1);
        QCOMPARE(EngineBench::number(u"Undone"_s), 1);
        QCOMPARE(stateSql(u"SELECT tweak_id, state FROM tweak_state ORDER BY 1"_s),
                 QStringList({u"both reverted"_s, u"dropped once reverting"_s, u"dropped two reverted"_s,
                              u"one capturing"_s, u"pro applied"_s}));
        QCOMPARE(m_bench->signalled, QStringList());
        QCOMPARE(EngineBench::selection(), choice);
    }

    /// An action without revert commands counts as applied until it is reverted, which does nothing.
    void oneShotAction()
    {
        QVERIFY(apply(u"once"_s));
        QVERIFY(engine().isApplied(u"once"_s));
        QVERIFY(engine().revertTweak(u"once"_s, nullptr, true));
        QCOMPARE(m_bench->state(u"once"_s), reverted);
        m_bench->machine.log = LogCapture();
        engine().recoverInterrupted();
        QCOMPARE(logged(), QStringList());
        QVERIFY(apply(u"once"_s));
        QCOMPARE(m_bench->state(u"once"_s), applied);
    }
};

QTEST_GUILESS_MAIN(tst_TweakEngine)
#include "tst_TweakEngine.moc"
