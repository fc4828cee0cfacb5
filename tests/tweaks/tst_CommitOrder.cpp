#include "support/simulated/Suite.h"
#include "tweaks/StateSql.h"
#include "tweaks/StateStore.h"
#include "tweaks/Sweeps.h"
#include "tweaks/TweakEngine.h"

using platform::Call;
using platform::CallMoment;

namespace {

/// The row as another process would find it after a power cut at this moment: state and capture.
QString committedRow(const QString& id)
{
    return stateSql(u"SELECT state, capture FROM tweak_state WHERE tweak_id='%1'"_s.arg(id)).join(u'\n');
}

/// The present values of the registry, in the form of the row.
QString captured(RegistryTweak& tweak)
{
    bool ok = false;
    QString error;
    return QString::fromUtf8(QJsonDocument(tweak.capture(&ok, &error)).toJson(QJsonDocument::Compact));
}

} // namespace

/// The engine on a machine whose every registry change can be watched and refused.
class tst_CommitOrder : public QObject {
    Q_OBJECT

private:
    TweakCatalog m_catalog;
    const QList<std::shared_ptr<RegistryTweak>> m_tweaks = registryTweaks(m_catalog);
    std::optional<TestMachine> m_machine;
    std::optional<StateStore> m_store;
    std::optional<TweakEngine> m_engine;
    QString m_error;

    void start()
    {
        m_store.emplace();
        QVERIFY(m_store->open(Paths::stateDb()));
        m_engine.emplace(&m_catalog, &*m_store);
        m_engine->recoverInterrupted();
    }

    bool apply(const QString& id) { return m_engine->applyTweak(id, Tier::Pro, &m_error, false); }
    bool revert(const QString& id) { return m_engine->revertTweak(id, &m_error, true); }

private Q_SLOTS:
    void init()
    {
        QCOMPARE_GE(m_tweaks.size(), 150);
        m_machine.emplace();
        start();
    }

    void cleanup()
    {
        m_store.reset();
        m_machine.reset();
    }

    void rowIsCommittedBeforeEveryChange()
    {
        for (const auto& tweak : m_tweaks) {
            const QString id = tweak->id();
            const QString original = captured(*tweak);
            QString allowedState;
            QStringList early;
            int changes = 0;
            SimulatedPc::setObserver([&](CallMoment moment, const Call& call) {
                const QString row = committedRow(id);
                changes += moment == CallMoment::Before;
                if (row != allowedState + u' ' + original)
                    early.append(id + u": "_s + call.argumentLine() + u" while "_s + row);
            });
            allowedState = u"capturing"_s;
            QVERIFY2(apply(id), qPrintable(m_error));
            // The same once more, by recovery this time.
            QVERIFY(m_store->setState(id, TweakState::Capturing));
            m_engine->recoverInterrupted();
            QVERIFY2(apply(id), qPrintable(m_error));
            allowedState = u"reverting"_s;
            QVERIFY(revert(id));
            SimulatedPc::setObserver({});

            QCOMPARE(early.join(u'\n'), QString());
            // Apply, restore, apply, restore: and what was right to begin with is still restored.
            QVERIFY2(changes >= 2 * tweak->operations().size(), qPrintable(id));
        }
    }

    /// Every change of apply and of revert is refused in turn, alone or with all that follow.
    void changesFail()
    {
        int refusals = 0;
        const qsizetype stride = fullRun() ? 1 : 7;
        for (qsizetype i = 0; i < 2 * m_tweaks.size(); i += stride) {
            const bool forGood = i >= m_tweaks.size();
            RegistryTweak& tweak = *m_tweaks.at(i % m_tweaks.size());
            const QString id = tweak.id();
            // Foreign types and short numbers come back as what the registry layer makes of them; one round does that.
            QVERIFY(apply(id) && revert(id));
            const QString original = captured(tweak);
            const MachineImage before = TestMachine::image();
            for (int n = 1;; ++n, ++refusals) {
                SimulatedPc::fail(u"registry"_s, platform::Win32Error::WriteFault, {.n = n, .once = !forGood});
                const bool applied = apply(id);
                SimulatedPc::clearFaults();
                if (applied)
                    break;
                QVERIFY2(m_error.startsWith(id + u": Apply error: Failed to write "_s), qPrintable(m_error));
                // An undo that fails as well is given up, but its capture stays in the row.
                QCOMPARE(committedRow(id), u"reverted " + original);
                if (forGood) {
                    const QJsonObject capture = QJsonDocument::fromJson(original.toUtf8()).object();
                    QVERIFY(RegistryTweak::revertCapture(capture, nullptr).ok);
                }
                QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            }
            for (int n = 1;; ++n, ++refusals) {
                SimulatedPc::fail(u"registry"_s, platform::Win32Error::WriteFault, {.n = n, .once = !forGood});
                if (revert(id))
                    break;
                QVERIFY2(m_error.startsWith(u"Failed to restore: "_s), qPrintable(m_error));
                if (forGood)
                    start();
                QCOMPARE(committedRow(id), u"reverting " + original);
                SimulatedPc::clearFaults();
                start();
                QCOMPARE(committedRow(id), u"reverted " + original);
                QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
                QVERIFY(apply(id));
            }
            SimulatedPc::clearFaults();
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
        }
        QCOMPARE_GE(refusals, 120);
    }

    void readsFail()
    {
        const MachineImage before = TestMachine::image();
        for (const auto& tweak : m_tweaks) {
            for (const RegistryOperation& operation : tweak->operations()) {
                RegistryValue present;
                QVERIFY(readValue(operation.hive, operation.path, operation.name, present));
                QStringList calls{u"registry.openToRead"_s};
                if (present.exists)
                    calls << u"registry.querySize"_s << u"registry.query"_s;
                for (const QString& call : calls) {
                    SimulatedPc::fail(call, platform::Win32Error::AccessDenied,
                                      {.part = hiveName(operation.hive) + u'\\' + operation.path});
                    const bool applied = apply(tweak->id());
                    SimulatedPc::clearFaults();
                    QVERIFY2(!applied && m_error.contains(u": Capture failed: Failed to read "_s), qPrintable(m_error));
                }
            }
        }
        QCOMPARE(stateSql(u"SELECT tweak_id FROM tweak_state"_s), QStringList());
        QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    }
};

QTEST_GUILESS_MAIN(tst_CommitOrder)
#include "tst_CommitOrder.moc"
