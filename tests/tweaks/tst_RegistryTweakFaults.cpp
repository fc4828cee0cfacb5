#include "platform/Registry.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/ScratchMachine.h"
#include "tweaks/RegistryTweak.h"

#include <QTest>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

namespace {

const QString key = u"HKCU\\"_s + scratchKey;

/// A tweak that sets the values A, B, C, ... of the scratch key to 1, 2, 3, ...
RegistryTweak tweakOf(int operationCount, const QString& secondPath = scratchKey)
{
    QJsonArray operations;
    for (int i = 0; i < operationCount; ++i) {
        operations.append(QJsonObject{{u"hive"_s, u"HKCU"_s},
                                      {u"path"_s, i == 1 ? secondPath : scratchKey},
                                      {u"name"_s, QString(QChar(u'A' + i))},
                                      {u"desired"_s, i + 1}});
    }
    return {u"t"_s, operations};
}

/// The numbers of A, B, C, ... in the scratch key; -1 for an absent one.
QList<int> numbers(int count)
{
    QList<int> list;
    for (int i = 0; i < count; ++i) {
        const auto value = rawValue(QString(QChar(u'A' + i)));
        list.append(value ? value->data.at(0) : -1);
    }
    return list;
}

} // namespace

class tst_RegistryTweakFaults : public QObject {
    Q_OBJECT

private:
    std::optional<ScratchMachine> m_machine;

private Q_SLOTS:
    void init()
    {
        m_machine.emplace();
        for (const QString& name : {u"A"_s, u"B"_s, u"C"_s})
            putRaw(name, {platform::regDword, dwordBytes(9)});
    }

    void cleanup()
    {
        SimulatedPc::clearFaults();
        m_machine.reset();
    }

    void captureStopsAtAnUnreadableValue()
    {
        RegistryTweak tweak = tweakOf(3, scratchKey + u"\\Closed"_s);
        SimulatedPc::denyReads(key + u"\\Closed"_s);
        bool ok = true;
        QString error;
        QCOMPARE(tweak.capture(&ok, &error), QJsonObject());
        QVERIFY(!ok);
        QCOMPARE(error, u"Failed to read %1\\Closed [B]"_s.arg(key));
        // The first value differs already, so that the second one isn't asked for.
        QVERIFY(!tweak.isCurrentlyApplied(&ok) && ok);
        putRaw(u"A"_s, {platform::regDword, dwordBytes(1)});
        QVERIFY(!tweak.isCurrentlyApplied(&ok) && !ok);
    }

    void applyStopsAtTheFirstFailedWrite()
    {
        RegistryTweak tweak = tweakOf(5);
        SimulatedPc::failChange(3);
        const TweakResult result = tweak.apply();
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"Failed to write %1 [C]"_s.arg(key));
        QCOMPARE(numbers(5), QList<int>({1, 2, 9, -1, -1}));
    }

    void restoreGoesOnAfterAFailedWrite()
    {
        RegistryTweak tweak = tweakOf(3);
        bool ok = false;
        QString error;
        const QJsonObject capture = tweak.capture(&ok, &error);
        QVERIFY(tweak.apply().ok);
        SimulatedPc::failChange(2);
        const TweakResult result = tweak.revert(capture);
        QVERIFY(!result.ok);
        QCOMPARE(result.message, u"Failed to restore: %1\\B"_s.arg(scratchKey));
        QCOMPARE(numbers(3), QList<int>({9, 2, 9}));
        QVERIFY(tweak.revert(capture).ok);
        QCOMPARE(numbers(3), QList<int>({9, 9, 9}));
    }

    void unreadableValueIsWritten()
    {
        RegistryTweak tweak = tweakOf(1);
        SimulatedPc::failQuery(key, u"A"_s, platform::QueryStage::Data);
        QVERIFY(tweak.apply().ok);
        SimulatedPc::clearFaults();
        QCOMPARE(numbers(1), QList<int>({1}));
    }
};

QTEST_GUILESS_MAIN(tst_RegistryTweakFaults)
#include "tst_RegistryTweakFaults.moc"
