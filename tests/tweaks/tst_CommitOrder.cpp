#include "core/Paths.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/TestMachine.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QSqlDatabase>
#include <QSqlQuery>
#include <QTest>

#include <memory>
#include <optional>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::ChangeMoment;
using platform::RegistryChange;
using platform::SimulatedPc;

namespace {

const QString witnessName = u"witness"_s;

/// A row as another process would find it after a power cut at this moment.
struct Row {
    QString state;
    QJsonObject capture;
};

} // namespace

/// The engine on a machine whose every registry change can be watched and refused.
class tst_CommitOrder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void init();
    void cleanup();

    void rowIsCommittedBeforeEveryChange();
    void commitsReachTheDisk();
    void rightValuesAreNotWritten();
    void changesFail_data();
    void changesFail();
    void readsFail();

private:
    [[nodiscard]] std::optional<Row> committedRow(const QString& id) const;
    void start();
    bool apply(const QString& id);

    TweakCatalog m_catalog;
    QList<std::shared_ptr<RegistryTweak>> m_tweaks;
    std::unique_ptr<TestMachine> m_machine;
    std::unique_ptr<StateStore> m_store;
    std::unique_ptr<TweakEngine> m_engine;
    QString m_error;
};

void tst_CommitOrder::initTestCase()
{
    QVERIFY(m_catalog.load(u":/tweaks.json"_s));
    const QList<TweakDefinition> definitions = m_catalog.definitions();
    for (const TweakDefinition& definition : definitions) {
        if (auto tweak = std::dynamic_pointer_cast<RegistryTweak>(m_catalog.implementation(definition.id)))
            m_tweaks.append(tweak);
    }
    QCOMPARE_GE(m_tweaks.size(), 150);
}

void tst_CommitOrder::init()
{
    m_machine = std::make_unique<TestMachine>();
    start();
    QSqlDatabase witness = QSqlDatabase::addDatabase(u"QSQLITE"_s, witnessName);
    witness.setDatabaseName(Paths::stateDb());
    QVERIFY(witness.open());
}

void tst_CommitOrder::cleanup()
{
    QSqlDatabase::removeDatabase(witnessName);
    m_engine.reset();
    m_store.reset();
    m_machine.reset();
}

void tst_CommitOrder::start()
{
    m_engine.reset();
    m_store = std::make_unique<StateStore>();
    QVERIFY(m_store->open(Paths::stateDb()));
    m_engine = std::make_unique<TweakEngine>(&m_catalog, m_store.get());
    m_engine->recoverInterrupted();
}

bool tst_CommitOrder::apply(const QString& id)
{
    m_error.clear();
    return m_engine->applyTweak(id, Tier::Pro, &m_error, false);
}

std::optional<Row> tst_CommitOrder::committedRow(const QString& id) const
{
    QSqlQuery query(QSqlDatabase::database(witnessName));
    query.prepare(u"SELECT state, capture FROM tweak_state WHERE tweak_id=?"_s);
    query.addBindValue(id);
    if (!query.exec() || !query.next())
        return std::nullopt;
    return Row{query.value(0).toString(), QJsonDocument::fromJson(query.value(1).toByteArray()).object()};
}

void tst_CommitOrder::rowIsCommittedBeforeEveryChange()
{
    for (const auto& tweak : std::as_const(m_tweaks)) {
        const QString id = tweak->id();
        bool ok = false;
        const QJsonObject capture = tweak->capture(&ok, &m_error);
        QCOMPARE(capture.value("entries"_L1).toArray().size(), tweak->operations().size());

        QString allowedState;
        QStringList early;
        int changes = 0;
        SimulatedPc::setChangeObserver([&](ChangeMoment moment, const RegistryChange& change) {
            const std::optional<Row> row = committedRow(id);
            changes += moment == ChangeMoment::Before;
            if (!row || row->state != allowedState || row->capture != capture)
                early.append(id + u": "_s + change.keyPath + u" while "_s + (row ? row->state : u"no row"_s));
        });
        allowedState = u"capturing"_s;
        QVERIFY2(apply(id), qPrintable(m_error));
        // The same once more, by recovery this time.
        QVERIFY(m_store->setState(id, TweakState::Capturing));
        m_engine->recoverInterrupted();
        QVERIFY2(apply(id), qPrintable(m_error));
        allowedState = u"reverting"_s;
        QVERIFY(m_engine->revertTweak(id, nullptr, true));
        SimulatedPc::setChangeObserver({});

        QCOMPARE(early.join(u'\n'), QString());
        // Apply, restore, apply, restore: and what was right to begin with is still restored.
        QVERIFY2(changes >= 2 * tweak->operations().size(), qPrintable(id));
    }
}

void tst_CommitOrder::commitsReachTheDisk()
{
    const QStringList names = QSqlDatabase::connectionNames().filter(u"torvelane.state"_s);
    QCOMPARE(names.size(), 1);
    const QSqlDatabase connection = QSqlDatabase::database(names.constFirst());
    for (const auto& [pragma, expected] :
         {std::pair("journal_mode"_L1, u"wal"_s), std::pair("synchronous"_L1, u"2"_s)}) {
        QSqlQuery query(u"PRAGMA "_s + pragma, connection);
        QVERIFY(query.next());
        QCOMPARE(query.value(0).toString(), expected);
    }
}

void tst_CommitOrder::rightValuesAreNotWritten()
{
    int changes = 0;
    for (const auto& tweak : std::as_const(m_tweaks)) {
        QVERIFY(tweak->apply().ok);
        SimulatedPc::setChangeObserver([&](ChangeMoment, const RegistryChange&) { ++changes; });
        QVERIFY(apply(tweak->id()));
        SimulatedPc::setChangeObserver({});
        QVERIFY2(changes == 0, qPrintable(tweak->id()));
    }
}

void tst_CommitOrder::changesFail_data()
{
    QTest::addColumn<bool>("forGood");
    QTest::newRow("once") << false;
    QTest::newRow("for good") << true;
}

/// Every change of apply and of revert is refused in turn, alone or with all that follow.
void tst_CommitOrder::changesFail()
{
    QFETCH(bool, forGood);
    int refusals = 0;
    for (qsizetype i = 0; i < m_tweaks.size(); i += fullRun() ? 1 : 7) {
        const auto& tweak = m_tweaks.at(i);
        const QString id = tweak->id();
        // Foreign types and short numbers come back as what the registry layer makes of them; one round does that.
        QVERIFY(apply(id));
        QVERIFY(m_engine->revertTweak(id, nullptr, true));
        bool ok = false;
        const QJsonObject original = tweak->capture(&ok, &m_error);
        const MachineImage before = TestMachine::image();
        for (int n = 1;; ++n) {
            SimulatedPc::failChange(n, platform::codeWriteFault, forGood);
            const bool applied = apply(id);
            SimulatedPc::clearFaults();
            if (applied)
                break;
            ++refusals;
            QVERIFY2(m_error.startsWith(id + u": Apply error: Failed to write "_s), qPrintable(m_error));
            QCOMPARE(committedRow(id)->state, u"reverted"_s);
            // An undo that fails as well is given up, but what is needed for it stays in the row.
            QCOMPARE(committedRow(id)->capture, original);
            if (forGood)
                QVERIFY(RegistryTweak::revertCapture(committedRow(id)->capture, nullptr).ok);
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
        }
        for (int n = 1;; ++n) {
            SimulatedPc::failChange(n, platform::codeWriteFault, forGood);
            const bool reverted = m_engine->revertTweak(id, &m_error, true);
            if (reverted) {
                SimulatedPc::clearFaults();
                break;
            }
            ++refusals;
            QVERIFY2(m_error.startsWith(u"Failed to restore: "_s), qPrintable(m_error));
            QCOMPARE(committedRow(id)->state, u"reverting"_s);
            if (forGood) {
                start();
                QCOMPARE(committedRow(id)->state, u"reverting"_s);
            }
            SimulatedPc::clearFaults();
            start();
            QCOMPARE(committedRow(id)->state, u"reverted"_s);
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            QVERIFY(apply(id));
        }
        QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    }
    qInfo("%d changes refused", refusals);
    QCOMPARE_GE(refusals, 60);
}

void tst_CommitOrder::readsFail()
{
    const MachineImage before = TestMachine::image();
    for (const auto& tweak : std::as_const(m_tweaks)) {
        for (const RegistryOperation& operation : tweak->operations()) {
            const QString key = hiveName(operation.hive) + u'\\' + operation.path;
            SimulatedPc::denyReads(key);
            const bool applied = apply(tweak->id());
            SimulatedPc::clearFaults();
            QVERIFY2(!applied, qPrintable(tweak->id()));
            QVERIFY2(m_error.contains(u": Capture failed: Failed to read "_s), qPrintable(m_error));
            QVERIFY(!committedRow(tweak->id()));
        }
    }
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
}

QTEST_GUILESS_MAIN(tst_CommitOrder)

#include "tst_CommitOrder.moc"
