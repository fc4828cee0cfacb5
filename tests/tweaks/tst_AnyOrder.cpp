#include "core/Paths.h"
#include "support/TestMachine.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/RestoredImage.h"
#include "tweaks/StateStore.h"
#include "tweaks/TweakCatalog.h"
#include "tweaks/TweakEngine.h"

#include <QHash>
#include <QRandomGenerator>
#include <QSet>
#include <QTest>

#include <algorithm>
#include <memory>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;

/// All registry entries together: applied in one random order and reverted in another.
class tst_AnyOrder : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void roundTrips_data();
    void roundTrips();

private:
    TweakCatalog m_catalog;
    QStringList m_ids;
    QHash<QString, QSet<QString>> m_rivals; ///< By id, the other entries that write one of its values.
    quint32 m_seed = 0;
};

void tst_AnyOrder::initTestCase()
{
    QVERIFY(m_catalog.load(u":/tweaks.json"_s));
    QHash<QString, QSet<QString>> writers;
    const QList<TweakDefinition> definitions = m_catalog.definitions();
    for (const TweakDefinition& definition : definitions) {
        const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(m_catalog.implementation(definition.id));
        if (!tweak)
            continue;
        m_ids.append(definition.id);
        for (const RegistryOperation& operation : tweak->operations())
            writers[RegistryTweak::restoreKey(operation.hive, operation.path, operation.name)].insert(definition.id);
    }
    QCOMPARE_GE(m_ids.size(), 150);
    for (const QSet<QString>& ids : std::as_const(writers)) {
        for (const QString& id : ids)
            m_rivals[id].unite(ids - QSet<QString>{id});
    }
    bool given = false;
    m_seed = qEnvironmentVariable("TORVELANE_RANDOM_SEED").toUInt(&given);
    if (!given)
        m_seed = QRandomGenerator::system()->generate();
    qInfo("TORVELANE_RANDOM_SEED=%u", m_seed);
}

void tst_AnyOrder::roundTrips_data()
{
    QTest::addColumn<bool>("lastFirst");
    // Entries that write the same value can only be taken back in turn; all others in any order.
    QTest::newRow("rivals one at a time, any order") << false;
    QTest::newRow("rivals together, all reverted at once") << true;
}

void tst_AnyOrder::roundTrips()
{
    QFETCH(bool, lastFirst);
    QRandomGenerator random(m_seed);
    for (int round = 0; round < (fullRun() ? 20 : 2); ++round) {
        const TestMachine machine;
        StateStore store;
        QVERIFY(store.open(Paths::stateDb()));
        TweakEngine engine(&m_catalog, &store);
        const auto revert = [&engine](const QString& id) {
            QString error;
            QVERIFY2(engine.revertTweak(id, &error, true), qPrintable(id + u": "_s + error));
        };
        QStringList order = m_ids;
        std::ranges::shuffle(order, random);

        const MachineImage before = TestMachine::image();
        for (const QString& id : std::as_const(order)) {
            const QSet<QString> rivals = lastFirst ? QSet<QString>() : m_rivals.value(id);
            for (const QString& rival : rivals)
                revert(rival);
            QString error;
            QVERIFY2(engine.applyTweak(id, Tier::Pro, &error, false), qPrintable(error));
        }
        const MachineImage applied = TestMachine::image();
        QCOMPARE_GE(differences(before, applied).size(), 100);
        if (lastFirst) {
            engine.revertAll(true);
        } else {
            std::ranges::shuffle(order, random);
            for (const QString& id : std::as_const(order))
                revert(id);
        }
        QCOMPARE(differences(asRestored(before, applied), TestMachine::image()).join(u'\n'), QString());
    }
}

QTEST_GUILESS_MAIN(tst_AnyOrder)

#include "tst_AnyOrder.moc"
