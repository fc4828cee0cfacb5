#include "core/Paths.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"

#include <QFile>
#include <QJsonArray>
#include <QRegularExpression>
#include <QTest>
#include <QThread>

#include <atomic>
#include <thread>
#include <vector>

using namespace Qt::StringLiterals;
using namespace torvelane;
using test::stateSql;

namespace {

const QJsonObject someCapture{{u"type"_s, u"registry"_s}, {u"entries"_s, QJsonArray{1, u"\u00e9"_s}}};

/// The connection of the store that the calling thread has.
QString ownConnection()
{
    return u"torvelane.state_"_s + QString::number(reinterpret_cast<quintptr>(QThread::currentThreadId()));
}

QStringList pragmas()
{
    QStringList values;
    for (const QString& name : {u"journal_mode"_s, u"synchronous"_s, u"busy_timeout"_s}) {
        QSqlQuery query(u"PRAGMA "_s + name, QSqlDatabase::database(ownConnection(), false));
        values.append(query.next() ? query.value(0).toString() : QString());
    }
    return values;
}

QStringList ids(const QList<TweakRecord>& records)
{
    QStringList list;
    for (const TweakRecord& record : records)
        list.append(record.id);
    return list;
}

} // namespace

class tst_StateStore : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;
    std::optional<test::LogCapture> m_log;
    std::optional<StateStore> m_store;

    void openAgain()
    {
        m_store.emplace();
        m_log.emplace();
        QVERIFY(m_store->open(Paths::stateDb()));
    }

private Q_SLOTS:
    void init()
    {
        // Qt tells of connections used on foreign threads by a warning only.
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        m_machine.emplace();
        openAgain();
    }

    void cleanup()
    {
        m_store.reset();
        m_machine.reset();
    }

    void newDatabase()
    {
        QCOMPARE(stateSql(u"SELECT name FROM sqlite_master WHERE type='table' ORDER BY name"_s),
                 QStringList({u"tweak_selection"_s, u"tweak_state"_s}));
        QCOMPARE(m_log->lines(), QStringList());
        QCOMPARE(pragmas(), QStringList({u"wal"_s, u"2"_s, u"5000"_s}));
    }

    void beginApplyReplacesTheRow()
    {
        const QDateTime before = QDateTime::currentDateTime();
        QVERIFY(m_store->beginApply(u"a"_s, Tier::Premium, {{u"old"_s, 1}}));
        QVERIFY(m_store->markReverted(u"a"_s));
        stateSql(u"UPDATE tweak_state SET applied_at=1, updated_at=1"_s);
        QVERIFY(m_store->markApplied(u"a"_s));
        QCOMPARE(stateSql(u"SELECT applied_at, updated_at > 1 FROM tweak_state"_s), QStringList(u"1 1"_s));
        QVERIFY(m_store->markReverted(u"a"_s));

        QVERIFY(m_store->beginApply(u"a"_s, Tier::Pro, someCapture));
        m_store->close();
        openAgain();
        TweakRecord record;
        QVERIFY(m_store->loadRecord(u"a"_s, record));
        QCOMPARE(record.id, u"a"_s);
        QCOMPARE(record.requiredTier, Tier::Pro);
        QCOMPARE(record.capture, someCapture);
        QCOMPARE(record.state, TweakState::Capturing);
        QVERIFY(record.appliedAt.addMSecs(1) >= before && record.appliedAt <= QDateTime::currentDateTime());
        QCOMPARE(stateSql(u"SELECT applied_at = updated_at, capture FROM tweak_state"_s),
                 QStringList(u"1 {\"entries\":[1,\"\u00e9\"],\"type\":\"registry\"}"_s));
    }

    void unknownIds()
    {
        QVERIFY(m_store->markApplied(u"a"_s));
        QVERIFY(m_store->beginApply(u"A"_s, Tier::Free, {}));
        TweakRecord record;
        bool unreadable = true;
        QVERIFY(!m_store->loadRecord(u"a"_s, record, &unreadable));
        QVERIFY(!unreadable);
        QCOMPARE(m_log->lines(), QStringList());
    }

    void seedingHappensOnce()
    {
        for (const QString& id : {u"a"_s, u"b"_s, u"c"_s, u"d"_s})
            QVERIFY(m_store->beginApply(id, Tier::Free, {}));
        m_store->markApplied(u"a"_s);
        m_store->markReverted(u"b"_s);
        m_store->markApplied(u"c"_s);
        stateSql(u"UPDATE tweak_state SET updated_at=77"_s);
        const QString selection = u"SELECT tweak_id, selected_at FROM tweak_selection ORDER BY tweak_id"_s;
        QCOMPARE(stateSql(selection), QStringList());
        openAgain();
        QCOMPARE(m_log->lines(), QStringList(u"[INFO] store: Seeded selection from 2 applied tweak(s)"_s));
        QCOMPARE(stateSql(selection), QStringList({u"a 77"_s, u"c 77"_s}));

        m_store->setSelected(u"a"_s, false);
        m_store->setSelected(u"c"_s, false);
        m_store->setSelected(u"not applied"_s, true);
        m_store->setSelected(u"not applied"_s, true);
        openAgain();
        QCOMPARE(m_log->lines(), QStringList());
        QCOMPARE(stateSql(u"SELECT tweak_id FROM tweak_selection ORDER BY 1"_s), QStringList(u"not applied"_s));
        m_store->clearSelection();
        QCOMPARE(stateSql(selection), QStringList());
    }

    void interruptedRowsInOrder()
    {
        const std::pair<QString, TweakState> rows[] = {
            {u"r1"_s, TweakState::Reverting}, {u"c1"_s, TweakState::Capturing}, {u"x"_s, TweakState::Applied},
            {u"r2"_s, TweakState::Reverting}, {u"c2"_s, TweakState::Capturing}, {u"y"_s, static_cast<TweakState>(9)}};
        for (const auto& [id, state] : rows) {
            QVERIFY(m_store->beginApply(id, Tier::Free, {}));
            QVERIFY(m_store->setState(id, state));
        }
        QCOMPARE(ids(m_store->listInterrupted()), QStringList({u"c1"_s, u"c2"_s, u"r1"_s, u"r2"_s}));
        QCOMPARE(ids(m_store->listByState(TweakState::Applied)), QStringList(u"x"_s));
        QCOMPARE(ids(m_store->listByState(TweakState::Reverted)), QStringList(u"y"_s));
    }

    void damagedRow()
    {
        QVERIFY(m_store->beginApply(u"a"_s, Tier::Pro, someCapture));
        stateSql(
            u"UPDATE tweak_state SET capture='{\"type\": ', state='Applied', required_tier='gold', applied_at=0"_s);
        TweakRecord record;
        QVERIFY(m_store->loadRecord(u"a"_s, record));
        QCOMPARE(record.capture, QJsonObject());
        QCOMPARE(record.state, TweakState::Reverted);
        QCOMPARE(record.requiredTier, Tier::None);
        QVERIFY(!record.appliedAt.isValid());
    }

    /// Absence and damage are told apart, and each failure is logged with its operation.
    void failingStatements()
    {
        stateSql(u"DROP TABLE tweak_state"_s);
        stateSql(u"DROP TABLE tweak_selection"_s);
        QVERIFY(!m_store->beginApply(u"a"_s, Tier::Pro, someCapture));
        QVERIFY(!m_store->markApplied(u"a"_s));
        m_store->setSelected(u"a"_s, true);
        m_store->clearSelection();
        TweakRecord record;
        bool unreadable = false;
        QVERIFY(!m_store->loadRecord(u"a"_s, record, &unreadable));
        QVERIFY(unreadable);
        QVERIFY(m_store->listByState(TweakState::Applied).isEmpty());
        const QStringList lines = m_log->lines();
        const QStringList operations{u"beginApply"_s,     u"setState"_s,   u"setSelected"_s,
                                     u"clearSelection"_s, u"loadRecord"_s, u"listByState"_s};
        QCOMPARE(lines.size(), operations.size());
        for (qsizetype i = 0; i < lines.size(); ++i) {
            QVERIFY2(lines[i].startsWith(u"[ERROR] store: %1 failed: "_s.arg(operations[i])), qPrintable(lines[i]));
            QVERIFY2(lines[i].contains(u"no such table"_s), qPrintable(lines[i]));
        }
    }

    void closedStore()
    {
        QVERIFY(m_store->beginApply(u"a"_s, Tier::Free, {}));
        m_store->close();
        int commits = 0;
        m_store->setCommitObserver([&](bool, const char*) { ++commits; });
        QVERIFY(!m_store->beginApply(u"b"_s, Tier::Free, {}));
        QVERIFY(!m_store->setState(u"a"_s, TweakState::Applied));
        m_store->setSelected(u"a"_s, true);
        m_store->clearSelection();
        TweakRecord record;
        bool unreadable = true;
        QVERIFY(!m_store->loadRecord(u"a"_s, record, &unreadable) && !unreadable);
        QVERIFY(m_store->listInterrupted().isEmpty());
        QCOMPARE(commits, 0);
        QCOMPARE(m_log->lines(), QStringList());
        QVERIFY(!QSqlDatabase::contains(ownConnection()));
        QCOMPARE(stateSql(u"SELECT tweak_id, state FROM tweak_state"_s), QStringList(u"a capturing"_s));
    }

    void unusablePlaces_data()
    {
        QTest::addColumn<QString>("path");
        QTest::addColumn<QString>("line");
        QTest::newRow("folder") << u"."_s << u"[ERROR] store: Cannot open state.db: "_s;
        QTest::newRow("missing folder") << u"none/state.db"_s << u"[ERROR] store: Cannot open state.db: "_s;
        QTest::newRow("no database") << u"garbage.db"_s << u"[ERROR] store: Cannot create tweak_state: "_s;
    }

    void unusablePlaces()
    {
        QFETCH(QString, path);
        QFETCH(QString, line);
        QFile file(m_machine->scratchFile(u"garbage.db"_s));
        QVERIFY(file.open(QIODevice::WriteOnly) && file.write(QByteArray(5000, '?')) == 5000);
        file.close();
        m_store.reset();
        StateStore store;
        QVERIFY(!store.open(m_machine->scratchFile(path)));
        QVERIFY(!store.isOpen() && !store.beginApply(u"a"_s, Tier::Free, {}));
        QCOMPARE(m_log->lines().size(), 1);
        QVERIFY2(m_log->lines().constFirst().startsWith(line), qPrintable(m_log->lines().constFirst()));
    }

    /// Threads that end leave their ids to later ones, which is when connections get mixed up.
    void threadsOneAfterAnother()
    {
        constexpr int threadCount = 40;
        int failures = 0;
        QStringList seen;
        for (int i = 0; i < threadCount; ++i) {
            std::thread([&] {
                const QString id = QString::number(i);
                if (!m_store->beginApply(id, Tier::Free, someCapture) || !m_store->markApplied(id))
                    ++failures;
                seen.append(pragmas().join(u' '));
            }).join();
        }
        QCOMPARE(failures, 0);
        QCOMPARE(seen, QStringList(threadCount, u"wal 2 5000"_s));
        QCOMPARE(m_store->listByState(TweakState::Applied).size(), threadCount);
    }

    void threadsAtOnce()
    {
        constexpr int threadCount = 6;
        constexpr int rowCount = 10;
        std::atomic<int> failures = 0;
        {
            std::vector<std::jthread> threads;
            for (int t = 0; t < threadCount; ++t) {
                threads.emplace_back([&, t] {
                    for (int i = 0; i < rowCount; ++i) {
                        const QString id = u"%1.%2"_s.arg(t).arg(i);
                        TweakRecord record;
                        if (!m_store->beginApply(id, Tier::Free, {{u"id"_s, id}}) || !m_store->markApplied(id)
                            || !m_store->loadRecord(id, record) || record.capture[u"id"_s] != id) {
                            ++failures;
                        }
                    }
                });
            }
        }
        QCOMPARE(failures.load(), 0);
        QCOMPARE(m_store->listByState(TweakState::Applied).size(), threadCount * rowCount);
        QCOMPARE(m_log->lines(), QStringList());
        m_store->close();
        QCOMPARE(QSqlDatabase::connectionNames().filter(u"torvelane.state"_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_StateStore)
#include "tst_StateStore.moc"
