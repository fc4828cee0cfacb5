#include "account/AuthService.h"
#include "app/AppContext.h"
#include "core/Log.h"
#include "support/simulated/FullDisk.h"
#include "support/simulated/Suite.h"
#include "tweaks/TweakEngine.h"

namespace {

const QString id = u"selftest.toggle"_s;
const QString persistFailure = u"selftest.toggle: Could not persist original value (state store)"_s;

QList<QByteArray> contents()
{
    QList<QByteArray> list;
    for (const QString& path : {Paths::stateDb(), Paths::configFile(), Paths::tokenFile()}) {
        QFile file(path);
        list.append(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }
    return list;
}

} // namespace

/// A full disk. The registry lies on another one here and goes on working.
class tst_DiskFaults : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        fillDisk(RLIM_INFINITY);
        MachineSuite::cleanup();
    }

    void fullForSmallFiles()
    {
        AppContext context;
        QVERIFY(context.init() && context.save() && context.auth->restoreSession());
        const QList<QByteArray> kept = contents();
        const LogCapture log;

        fillDisk(10);
        context.lastEmail = u"after"_s;
        QVERIFY(!context.save());
        QVERIFY(context.auth->login(u"Ada"_s, Tier::Free, nullptr));
        logMessage(LogLevel::Info, u"test"_s, u"lost"_s);
        fillDisk(RLIM_INFINITY);

        QCOMPARE(contents(), kept);
        logMessage(LogLevel::Info, u"test"_s, u"kept"_s);
        QVERIFY(log.contains(u"[INFO] test: kept"_s));
        QVERIFY(context.save());
        QCOMPARE_NE(contents(), kept);
    }

    /// From the n-th commit on there is no room; with room again, the next start and a revert lose nothing.
    void fullFromEachCommitOn()
    {
        // Each takes three commits.
        for (int i = 0; i < 8; ++i) {
            const bool revert = i >= 4;
            const int commit = i % 4 + 1;
            m_machine.emplace();
            const MachineImage before = TestMachine::image();
            const auto isAsBefore = [&before] { return differences(before, TestMachine::image()).isEmpty(); };
            {
                AppContext context;
                QVERIFY(context.init());
                QVERIFY(!revert || context.engine->applyTweak(id, Tier::Pro, nullptr, false));
                int commits = 0;
                context.store.setCommitObserver([&](bool committed, const char*) {
                    commits += committed ? 0 : 1;
                    if (commits >= commit)
                        fillDisk(1);
                });
                SimulatedPc::setObserver([](auto, const auto&) { fillDisk(RLIM_INFINITY); });
                QString error;
                const bool ok = revert ? context.engine->revertTweak(id, &error, true)
                                       : context.engine->applyTweak(id, Tier::Pro, &error, false);
                SimulatedPc::setObserver({});
                fillDisk(RLIM_INFINITY);
                QCOMPARE(commits >= commit, commit < 4);
                // A store that lags behind the truth is no failure of what was done; what comes before that is one.
                QCOMPARE(ok, commit > (revert ? 2 : 1));
                if (!ok)
                    QCOMPARE(error, revert ? u"Could not record that it begins (state store)"_s : persistFailure);
                QCOMPARE(isAsBefore(), revert == ok);
            }
            AppContext context;
            QVERIFY(context.init());
            QVERIFY(context.store.listInterrupted().isEmpty());
            QCOMPARE(isAsBefore(), !context.engine->isApplied(id));
            QVERIFY(context.engine->revertTweak(id, nullptr, true));
            QVERIFY(isAsBefore());
        }
    }
};

QTEST_GUILESS_MAIN(tst_DiskFaults)
#include "tst_DiskFaults.moc"
