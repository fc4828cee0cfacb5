#include "app/AppContext.h"
#include "core/Paths.h"
#include "registry/RegistryJson.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/TweakEngine.h"

#include <QFile>
#include <QJsonArray>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

namespace {

const QString id = u"selftest.toggle"_s;
const QString lockName = u"lock"_s;
constexpr qsizetype pageSizeBytes = 4096; // SQLite's default

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

bool replaceContent(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

using Damage = QByteArray (*)(QByteArray);

QByteArray garbage(QByteArray database)
{
    return database.fill('\xa5');
}

QByteArray truncated(QByteArray database)
{
    return database.first(database.size() / 2 + 100);
}

/// The header and the schema are whole, the rows and their index aren't.
QByteArray pagesOverwritten(QByteArray database)
{
    return database.replace(pageSizeBytes, 2 * pageSizeBytes, QByteArray(2 * pageSizeBytes, '\xa5'));
}

} // namespace

/// A state.db that can't be used costs nothing but apply and revert: what it may still hold stays in it.
class tst_StoreFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void damaged_data();
    void damaged();
    void locked();

private:
    void makeDatabase();
    void expectOnlyApplyToFail(bool opens);
};

/// With a row that waits to be put back: damage must not be taken for "nothing to undo".
void tst_StoreFaults::makeDatabase()
{
    const QJsonObject entry = valueToJson(RegistryHive::CurrentUser, u"Software\\Torvelane\\SelfTest"_s, u"Label"_s,
                                          {true, RegistryValueKind::Sz, 0, u"was here"_s, {}});
    StateStore store;
    QVERIFY(store.open(Paths::stateDb()));
    QVERIFY(store.beginApply(id, Tier::Free, {{"type"_L1, "registry"_L1}, {"entries"_L1, QJsonArray{entry}}}));
}

void tst_StoreFaults::expectOnlyApplyToFail(bool opens)
{
    const LogCapture log;
    const MachineImage before = TestMachine::image();
    {
        AppContext context;
        QVERIFY(context.init());
        QCOMPARE(context.store.isOpen(), opens);
        QCOMPARE(log.contains(u"[ERROR] app: State store unavailable; apply/revert disabled"_s), !opens);
        for (const QString& entry : {id, u"opt.enable-game-mode"_s}) {
            QString error;
            QVERIFY(!context.engine->applyTweak(entry, Tier::Pro, &error, false));
            QCOMPARE(error, entry + u": Could not persist original value (state store)"_s);
        }
        QCOMPARE(context.engine->revertTweak(id, nullptr, true), !opens);
        context.engine->revertAll(true);
        QCOMPARE_GE(context.catalog.size(), 150);
        QVERIFY(context.save());
    }
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
}

void tst_StoreFaults::damaged_data()
{
    QTest::addColumn<Damage>("damage");
    QTest::addColumn<bool>("opens");
    QTest::newRow("garbage") << &garbage << false;
    QTest::newRow("truncated") << &truncated << false;
    QTest::newRow("pages overwritten") << &pagesOverwritten << true;
}

void tst_StoreFaults::damaged()
{
    QFETCH(Damage, damage);
    QFETCH(bool, opens);
    const TestMachine machine;
    makeDatabase();
    const QByteArray content = damage(contentOf(Paths::stateDb()));
    QCOMPARE_GT(content.size(), pageSizeBytes);
    QVERIFY(replaceContent(Paths::stateDb(), content));
    expectOnlyApplyToFail(opens);
    QCOMPARE(contentOf(Paths::stateDb()), content);
}

void tst_StoreFaults::locked()
{
    const TestMachine machine;
    makeDatabase();
    {
        QSqlDatabase lock = QSqlDatabase::addDatabase(u"QSQLITE"_s, lockName);
        lock.setDatabaseName(Paths::stateDb());
        QVERIFY(lock.open());
        QVERIFY(QSqlQuery(lock).exec(u"PRAGMA locking_mode=EXCLUSIVE"_s));
        QVERIFY(QSqlQuery(lock).exec(u"BEGIN EXCLUSIVE"_s));
        expectOnlyApplyToFail(false);
    }
    QSqlDatabase::removeDatabase(lockName);

    // The row has waited.
    AppContext context;
    QVERIFY(context.init());
    TweakRecord record;
    QVERIFY(context.store.loadRecord(id, record));
    QCOMPARE(record.state, TweakState::Reverted);
    RegistryValue value = valueFromJson(record.capture.value("entries"_L1).toArray().at(0).toObject());
    QCOMPARE(value.text, u"was here"_s);
}

QTEST_GUILESS_MAIN(tst_StoreFaults)

#include "tst_StoreFaults.moc"
