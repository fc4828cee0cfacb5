#include "app/AppContext.h"
#include "support/Suite.h"
#include "tweaks/StateSql.h"
#include "tweaks/TweakEngine.h"

#include <QRegularExpression>
#include <QThread>

namespace {

const QString tweak = u"selftest.toggle"_s;
const QJsonObject captureOfAbsent{
    {u"type"_s, u"registry"_s},
    {u"entries"_s, QJsonArray{QJsonObject{{u"hive"_s, u"HKCU"_s}, {u"path"_s, scratchKey}, {u"name"_s, u"Waits"_s}}}}};

/// How the calling thread's connection of the store is set up.
QString pragmas()
{
    const QString connection =
        u"torvelane.state_"_s + QString::number(reinterpret_cast<quintptr>(QThread::currentThreadId()));
    QStringList values;
    for (const QString& name : {u"journal_mode"_s, u"synchronous"_s, u"busy_timeout"_s}) {
        QSqlQuery query(u"PRAGMA "_s + name, QSqlDatabase::database(connection, false));
        values.append(query.next() ? query.value(0).toString() : QString());
    }
    return values.join(u' ');
}

} // namespace

class tst_StateStore : public MachineSuite {
    Q_OBJECT

private:
    std::optional<StateStore> m_store;

    void openAgain()
    {
        m_store.emplace();
        QVERIFY(m_store->open(Paths::stateDb()));
    }

    /// The program starts, and what the store may still hold stays in it: only apply and revert fail.
    void expectOnlyApplyToFail(bool opens)
    {
        const LogCapture log;
        const MachineImage before = TestMachine::image();
        AppContext context;
        QVERIFY(context.init());
        QCOMPARE(context.store.isOpen(), opens);
        QCOMPARE(log.contains(u"[ERROR] app: State store unavailable; apply/revert disabled"_s), !opens);
        QString error;
        QVERIFY(!context.engine->applyTweak(tweak, Tier::Pro, &error, false));
        QCOMPARE(error, tweak + u": Could not persist original value (state store)"_s);
        // Damage must not be taken for "nothing to undo".
        QVERIFY(!context.engine->revertTweak(tweak, nullptr, true));
        QVERIFY(!context.engine->revertAll(true, &error));
        QCOMPARE(error,
                 opens ? u"Could not read the original values (state store)"_s
                       : u"The state store is not available; nothing was done"_s);
        QVERIFY(context.save());
        QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    }

private Q_SLOTS:
    void init()
    {
        // Qt's only sign of a connection used on a foreign thread is a warning.
        QTest::failOnWarning(QRegularExpression(u".*"_s));
        MachineSuite::init();
        openAgain();
    }

    void cleanup()
    {
        m_store.reset();
        MachineSuite::cleanup();
    }

    /// Only an empty selection is filled with the applied tweaks.
    void seedingHappensOnce()
    {
        const QString selected = u"SELECT tweak_id FROM tweak_selection"_s;
        QVERIFY(m_store->beginApply(u"a"_s, Tier::Free, {}) && m_store->beginApply(u"b"_s, Tier::Free, {}));
        QVERIFY(m_store->markApplied(u"a"_s));
        openAgain();
        QCOMPARE(stateSql(selected), QStringList(u"a"_s));
        m_store->setSelected(u"a"_s, false);
        m_store->setSelected(u"not applied"_s, true);
        openAgain();
        QCOMPARE(stateSql(selected), QStringList(u"not applied"_s));
    }

    void damagedFile()
    {
        constexpr qsizetype pageSizeBytes = 4096; // SQLite's default
        for (const QString& kind : {u"garbage"_s, u"truncated"_s, u"pages overwritten"_s}) {
            m_store.reset();
            m_machine.emplace();
            openAgain();
            QVERIFY(m_store->beginApply(tweak, Tier::Free, captureOfAbsent));
            m_store.reset();
            QFile file(Paths::stateDb());
            QVERIFY(file.open(QIODevice::ReadWrite));
            QByteArray content = file.readAll();
            QCOMPARE_GE(content.size(), 3 * pageSizeBytes);
            if (kind == u"garbage")
                content.fill('\xa5');
            else if (kind == u"truncated")
                content.truncate(content.size() / 2 + 100);
            else // The header and the schema stay whole, the rows and their index don't.
                content.replace(pageSizeBytes, 2 * pageSizeBytes, QByteArray(2 * pageSizeBytes, '\xa5'));
            QVERIFY(file.resize(0) && file.seek(0) && file.write(content) == content.size());
            file.close();
            expectOnlyApplyToFail(kind == u"pages overwritten");
            QVERIFY(file.open(QIODevice::ReadOnly));
            QCOMPARE(file.readAll(), content);
        }
    }

    /// With a row that waits to be put back.
    void lockedFile()
    {
        putRaw(u"Waits"_s, {platform::regDword, dwordBytes(1)});
        QVERIFY(m_store->beginApply(tweak, Tier::Free, captureOfAbsent));
        m_store.reset();
        {
            QSqlDatabase lock = QSqlDatabase::addDatabase(u"QSQLITE"_s, u"lock"_s);
            lock.setDatabaseName(Paths::stateDb());
            QVERIFY(lock.open());
            QVERIFY(QSqlQuery(lock).exec(u"PRAGMA locking_mode=EXCLUSIVE"_s));
            QVERIFY(QSqlQuery(lock).exec(u"BEGIN EXCLUSIVE"_s));
            expectOnlyApplyToFail(false);
        }
        QSqlDatabase::removeDatabase(u"lock"_s);
        AppContext context;
        QVERIFY(context.init());
        QVERIFY(!rawValue(u"Waits"_s));
        QCOMPARE(stateSql(u"SELECT state FROM tweak_state"_s), QStringList(u"reverted"_s));
    }

    /// Threads at once and one after another: those that end leave their ids to later ones, which is when connections get
    /// mixed up.
    void threads()
    {
        constexpr int rounds = 10;
        constexpr int atOnce = 4;
        std::atomic_int successes = 0;
        for (int round = 0; round < rounds; ++round) {
            std::vector<std::jthread> threads;
            for (int t = 0; t < atOnce; ++t) {
                threads.emplace_back([&, id = QString::number(round * atOnce + t)] {
                    TweakRecord record;
                    successes += m_store->beginApply(id, Tier::Free, {{u"id"_s, id}}) && m_store->markApplied(id)
                        && m_store->loadRecord(id, record) && record.capture[u"id"_s] == id
                        && pragmas() == u"wal 2 5000";
                });
            }
        }
        QCOMPARE(successes, rounds * atOnce);
        QCOMPARE(m_store->listByState(TweakState::Applied).size(), rounds * atOnce);
        m_store->close();
        QCOMPARE(QSqlDatabase::connectionNames().filter(u"torvelane.state"_s), QStringList());
    }
};

QTEST_GUILESS_MAIN(tst_StateStore)
#include "tst_StateStore.moc"
