#include "support/Suite.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QThread>

namespace {

/// The registry entries set values of the scratch key to 1; "closed" can't be read on any machine.
QByteArray catalogue()
{
    QByteArray json = R"({"tweaks": [
        {"id": "two", "operations": [{@ "name": "A"}, {@ "name": "B"}]},
        {"id": "one", "operations": [{@ "name": "C"}]},
        {"id": "also", "operations": [{"hive": "HKCU", "path": "Software\\Torvelane\\Test", "desired": 2, "name": "A"}]},
        {"id": "pro", "requiredTier": "pro", "operations": [{@ "name": "P"}]},
        {"id": "once", "type": "command", "apply": ["exit 0"]},
        {"id": "both", "type": "command", "requiredTier": "none", "apply": ["exit 0"],
         "revert": ["reg add HKCU\\Software\\Torvelane\\Test /v Undone /t REG_DWORD /d 1 /f"]},
        {"id": "closed", "operations": [{"hive": "HKCU", "path": "A\u0000B", "name": "X", "desired": 1}]}]})";
    return json.replace("@", R"("hive": "HKCU", "path": "Software\\Torvelane\\Test", "desired": 1,)");
}

/// Number in the scratch key, or -1 if there is none.
int number(const QString& name)
{
    const auto value = rawValue(name);
    return value && !value->data.isEmpty() ? value->data.at(0) : -1;
}

/// All rows, as "id state".
QStringList rows()
{
    return stateSql(u"SELECT tweak_id, state FROM tweak_state ORDER BY 1"_s);
}

/// The user's choice.
QString selection()
{
    return stateSql(u"SELECT tweak_id FROM tweak_selection ORDER BY 1"_s).join(u' ');
}

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
    struct Bench {
        ScratchMachine machine;
        TweakCatalog catalog;
        StateStore store;
        TweakEngine engine{&catalog, &store};
    };
    std::optional<Bench> m_bench;
    QStringList m_signalled; ///< "+ id" for applied, "- id" for reverted, "! id: error" for failed.
    QString m_error;

    TweakEngine& engine() { return m_bench->engine; }
    [[nodiscard]] QStringList logged() const { return m_bench->machine.log.lines(); }
    bool apply(const QString& id, Tier tier = Tier::Pro) { return engine().applyTweak(id, tier, &m_error, false); }
    bool revert(const QString& id, bool deselect = true) { return engine().revertTweak(id, &m_error, deselect); }

private Q_SLOTS:
    void init()
    {
        m_bench.emplace();
        QVERIFY(m_bench->catalog.loadFromJson(catalogue()) && m_bench->store.open(Paths::stateDb()));
        putRaw(u"A"_s, {platform::regDword, dwordBytes(7)});
        m_signalled.clear();
        connect(&engine(), &TweakEngine::tweakApplied, this,
                [this](const QString& id) { m_signalled.append(u"+ " + id); });
        connect(&engine(), &TweakEngine::tweakReverted, this,
                [this](const QString& id) { m_signalled.append(u"- " + id); });
        connect(&engine(), &TweakEngine::tweakFailed, this,
                [this](const QString& id, const QString& error) { m_signalled.append(u"! " + id + u": " + error); });
    }

    void cleanup() { m_bench.reset(); }

    void appliedAndReverted()
    {
        // What a reader of UTF-16 would take for a byte order mark is part of the value.
        putRaw(u"A"_s, {platform::regSz, utf16(u"\ufeff\u00e9\ufeff"_s)});
        const auto before = scratchImage();
        QVERIFY(apply(u"two"_s, Tier::Free));
        QVERIFY(number(u"A"_s) == 1 && number(u"B"_s) == 1);
        QCOMPARE(engine().appliedIds(), QStringList(u"two"_s));

        // Once more is no change of anything but the choice; above all the first capture stays.
        const QStringList row = stateSql(u"SELECT * FROM tweak_state"_s);
        m_bench->store.clearSelection();
        QVERIFY(apply(u"two"_s));
        QCOMPARE(stateSql(u"SELECT * FROM tweak_state"_s), row);
        QCOMPARE(selection(), u"two"_s);

        QVERIFY(revert(u"two"_s) && revert(u"two"_s));
        QCOMPARE(scratchImage(), before);
        QCOMPARE(rows() + QStringList(selection()), QStringList({u"two reverted"_s, QString()}));
        QCOMPARE(m_signalled, QStringList({u"+ two"_s, u"- two"_s}));
    }

    void refusedApplies()
    {
        const std::tuple<QString, Tier, QString> cases[] = {
            {u"TWO"_s, Tier::Pro, u"Unknown tweak id"_s},
            {u"pro"_s, Tier::Premium, u"Requires the pro tier"_s},
            {u"two"_s, Tier::None, u"Requires the free tier"_s},
            {u"closed"_s, Tier::Pro, u"Capture failed: Failed to read HKCU\\A\0B [X]"_s},
            {u"two"_s, Tier::Free, u"Could not persist original value (state store)"_s},
        };
        stateSql(u"CREATE TRIGGER full BEFORE INSERT ON tweak_state BEGIN SELECT RAISE(ABORT, 'full'); END"_s);
        const auto before = scratchImage();
        for (const auto& [id, tier, message] : cases) {
            m_signalled.clear();
            QVERIFY(!apply(id, tier));
            QCOMPARE(m_error, id + u": " + message);
            QCOMPARE(m_signalled, QStringList(u"! " + id + u": " + message));
            QCOMPARE(scratchImage(), before);
            QCOMPARE(rows() + QStringList(selection()), QStringList(QString()));
        }
    }

    /// At most one in ten minutes, of which a failed attempt uses up its own; also after the clock was set back.
    void restorePoints()
    {
        qint64 nowMs = 0;
        QList<qint64> triedAt;
        engine().setClock([&] { return nowMs; });
        engine().setRestorePointMaker([&](const QString& description, QString* error) {
            triedAt.append(nowMs);
            *error = u"off"_s;
            return triedAt.size() > 1 && description == u"Torvelane: before applying 2 tweak(s)";
        });
        QVERIFY(apply(u"once"_s));
        for (const qint64 ms : {5000, 5001, 605000, 605001, 1205001, 1205002, 5002, 5003}) {
            nowMs = ms;
            QVERIFY(engine().applyBatch({u"one"_s, u"two"_s}, Tier::Free, nullptr, true));
        }
        QCOMPARE(triedAt, QList<qint64>({5000, 605001, 1205002, 5002}));
        QCOMPARE(logged().filter(u"restore point"_s),
                 QStringList(u"[WARN] engine: Proceeding without restore point: off"_s));
    }

    /// The row may hold the only originals: it is neither captured over nor forgotten.
    void failedRevert()
    {
        QVERIFY(apply(u"two"_s));
        spoilCapture(u"two"_s);
        const QString row = stateSql(u"SELECT capture FROM tweak_state"_s).join(u' ');
        QVERIFY(!revert(u"two"_s));
        QCOMPARE(m_error, u"Failed to restore: Spoilt"_s);
        QCOMPARE(m_signalled.last(), u"! two: Revert failed: Failed to restore: Spoilt"_s);
        QCOMPARE(selection(), QString());
        QVERIFY(!apply(u"two"_s));
        QCOMPARE(m_error, u"two: An earlier change could not be undone: Failed to restore: Spoilt"_s);
        QCOMPARE(stateSql(u"SELECT state, capture FROM tweak_state"_s), QStringList(u"reverting "_s + row));
    }

    /// The values that the program found at the very first come back, not those of the half-done change.
    void applyOverAnInterruptedRow()
    {
        const auto before = scratchImage();
        for (const TweakState state : {TweakState::Reverting, TweakState::Capturing}) {
            QVERIFY(apply(u"two"_s));
            QVERIFY(m_bench->store.setState(u"two"_s, state));
            QVERIFY(apply(u"two"_s));
            QCOMPARE(number(u"A"_s), 1);
            QVERIFY(revert(u"two"_s));
            QCOMPARE(scratchImage(), before);
        }
    }

    /// Two entries write one value. A clock that was set back must not turn the order round, and rows from before there
    /// was a sequence go by their time.
    void newestGoesFirst()
    {
        const auto before = scratchImage();
        for (const QString& rows : {u"applied_at=applied_at - 3600000 * apply_sequence"_s,
                                    u"applied_at=1000 * apply_sequence, apply_sequence=NULL"_s}) {
            for (const bool batch : {false, true}) {
                QVERIFY(apply(u"also"_s));
                QVERIFY(apply(u"two"_s));
                stateSql(u"UPDATE tweak_state SET "_s + rows);
                QVERIFY(batch ? engine().revertBatch({u"also"_s, u"one"_s, u"two"_s}, nullptr)
                              : engine().revertAll(false));
                QCOMPARE(scratchImage(), before);
            }
        }
    }

    /// A crash halfway would leave a row that says applied.
    void revertThatCannotBeRecordedTouchesNothing()
    {
        QVERIFY(apply(u"two"_s));
        const auto applied = scratchImage();
        stateSql(u"CREATE TRIGGER full BEFORE UPDATE ON tweak_state BEGIN SELECT RAISE(ABORT, 'full'); END"_s);
        QVERIFY(!revert(u"two"_s));
        QCOMPARE(m_error, u"Could not record that it begins (state store)"_s);
        QCOMPARE(scratchImage(), applied);
    }

    /// Neither a state nor a kind of value of a later version is taken for one that this version knows.
    void whatALaterVersionWrote()
    {
        QVERIFY(apply(u"two"_s));
        QVERIFY(apply(u"one"_s));
        stateSql(uR"(UPDATE tweak_state SET capture=replace(capture, '"dword"', '"multi"') WHERE tweak_id='two')"_s);
        QVERIFY(!revert(u"two"_s));
        QCOMPARE(m_error, u"Failed to restore: Software\\Torvelane\\Test\\A"_s);
        QCOMPARE(number(u"A"_s), 1);

        stateSql(u"UPDATE tweak_state SET state='paused' WHERE tweak_id='one'"_s);
        const QStringList row = stateSql(u"SELECT * FROM tweak_state WHERE tweak_id='one'"_s);
        QVERIFY(!apply(u"one"_s));
        QVERIFY(!revert(u"one"_s));
        engine().revertAll(false);
        engine().recoverInterrupted();
        QCOMPARE(stateSql(u"SELECT * FROM tweak_state WHERE tweak_id='one'"_s), row);
        QCOMPARE(number(u"C"_s), 1);
        QCOMPARE(m_bench->machine.log.count(u"[WARN] engine: Left one alone: "
                                            "A later version left it in a state that this one doesn't know"_s),
                 2);
    }

    /// Of several entries only the first one waits for another process, and the rest says why it wasn't tried.
    void busyStoreIsGivenUp()
    {
        QVERIFY(apply(u"two"_s));
        QVERIFY(apply(u"once"_s));
        const QString own =
            u"torvelane.state_"_s + QString::number(reinterpret_cast<quintptr>(QThread::currentThreadId()));
        QVERIFY(QSqlQuery(QSqlDatabase::database(own)).exec(u"PRAGMA busy_timeout=50"_s));
        {
            QSqlDatabase other = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"other"_s);
            other.setDatabaseName(Paths::stateDb());
            QVERIFY(other.open());
            QVERIFY(QSqlQuery(other).exec(u"BEGIN IMMEDIATE"_s));
            const auto waits = [this] { return logged().filter(u"[ERROR] store: "_s).size(); };
            QStringList errors;
            QVERIFY(!engine().applyBatch({u"one"_s, u"pro"_s, u"both"_s}, Tier::Pro, &errors, false));
            QCOMPARE(waits(), 1);
            QCOMPARE(errors.size(), 3);
            QCOMPARE(errors.last(), u"both: Not tried, since another process is in the way"_s);
            QVERIFY(!engine().revertAll(false, &m_error));
            QCOMPARE(m_error, u"Another process is in the way; try again when it has finished"_s);
            QCOMPARE(waits(), 2);
            QVERIFY(!engine().revertAboveTier(Tier::None));
            QCOMPARE(waits(), 3);
        }
        QSqlDatabase::removeDatabase(u"other"_s);
        QVERIFY(engine().revertAll(true));
        QCOMPARE(number(u"A"_s), 7);
    }

    /// A failure stops nothing else, neither forward nor back.
    void batchesGoOn()
    {
        QStringList errors;
        QVERIFY(!engine().applyBatch({u"two"_s, u"gone"_s, u"one"_s, u"once"_s}, Tier::Free, &errors, false));
        QCOMPARE(errors, QStringList(u"gone: Unknown tweak id"_s));
        QVERIFY(m_bench->store.beginApply(u"half"_s, Tier::Free, {}));
        spoilCapture(u"two"_s);
        m_signalled.clear();
        engine().revertAll(false);
        QCOMPARE(selection(), u"once one two"_s);
        m_signalled.sort();
        QCOMPARE(m_signalled,
                 QStringList({u"! two: Revert failed: Failed to restore: Spoilt"_s, u"- once"_s, u"- one"_s}));
        QCOMPARE(rows(), QStringList({u"half capturing"_s, u"once reverted"_s, u"one reverted"_s, u"two reverting"_s}));
        engine().revertAll(true);
        QCOMPARE(selection(), QString());
    }

    /// The tier that the row was applied with counts, also for entries that have left the catalogue.
    void revertAboveTier()
    {
        QVERIFY(apply(u"one"_s) && apply(u"pro"_s) && apply(u"both"_s) && apply(u"two"_s));
        stateSql(u"UPDATE tweak_state SET tweak_id='dropped', required_tier='premium' WHERE tweak_id='two'"_s);
        const std::pair<Tier, QString> falls[] = {{Tier::Premium, u"both dropped one"_s}, {Tier::None, u"both"_s}};
        for (const auto& [tier, left] : falls) {
            QVERIFY(engine().revertAboveTier(tier));
            QStringList applied = engine().appliedIds();
            applied.sort();
            QCOMPARE(applied.join(u' '), left);
            QCOMPARE(number(u"A"_s), left.contains(u"dropped"_s) ? 1 : 7);
            QCOMPARE(selection(), u"both one pro two"_s);
        }
    }

    /// A registry tweak needs no catalogue, a command tweak does; a capture that can't be read can't be put back.
    void recovery()
    {
        QVERIFY(apply(u"two"_s) && apply(u"one"_s) && apply(u"both"_s) && apply(u"once"_s) && apply(u"pro"_s));
        stateSql(u"UPDATE tweak_state SET state='reverting' WHERE tweak_id IN ('two', 'once')"_s);
        stateSql(u"UPDATE tweak_state SET state='capturing' WHERE tweak_id IN ('one', 'both')"_s);
        stateSql(u"UPDATE tweak_state SET capture='cut sho' WHERE tweak_id='one'"_s);
        stateSql(u"UPDATE tweak_state SET tweak_id='dropped ' || tweak_id WHERE tweak_id IN ('two', 'once')"_s);
        m_signalled.clear();
        m_bench->machine.log = LogCapture();

        engine().recoverInterrupted();

        QCOMPARE(logged(),
                 QStringList({u"[WARN] engine: Recovering 4 interrupted tweak(s) after crash"_s,
                              u"[ERROR] engine: Recovery revert failed for one: Capture is empty; nothing to revert"_s,
                              u"[ERROR] engine: Recovery revert failed for dropped once: "
                              "No reverter for capture type 'command'"_s}));
        QVERIFY(number(u"A"_s) == 7 && number(u"B"_s) == -1 && number(u"Undone"_s) == 1);
        QCOMPARE(rows(),
                 QStringList({u"both reverted"_s, u"dropped once reverting"_s, u"dropped two reverted"_s,
                              u"one capturing"_s, u"pro applied"_s}));
        QCOMPARE(m_signalled, QStringList());
        QCOMPARE(selection(), u"both once one pro two"_s);
    }
};

QTEST_GUILESS_MAIN(tst_TweakEngine)
#include "tst_TweakEngine.moc"
