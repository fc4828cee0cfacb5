#include "account/AuthService.h"
#include "app/AppContext.h"
#include "core/Log.h"
#include "support/simulated/FullDisk.h"
#include "support/simulated/Suite.h"
#include "tweaks/TweakEngine.h"

#include <QScopeGuard>

#include <sys/stat.h>
#include <unistd.h>

namespace {

const QString id = u"selftest.toggle"_s;
const QString persistFailure = u"selftest.toggle: Could not persist original value (state store)"_s;

/// The files of the program.
QStringList files()
{
    return {Paths::stateDb(), Paths::configFile(), Paths::tokenFile()};
}

QList<QByteArray> contents()
{
    QList<QByteArray> list;
    for (const QString& path : files()) {
        QFile file(path);
        list.append(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray());
    }
    return list;
}

} // namespace

/// Disks that refuse to be written. The registry lies on another one here and goes on working.
class tst_DiskFaults : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        fillDisk(RLIM_INFINITY);
        MachineSuite::cleanup();
    }

    void unwritable()
    {
        for (const auto& [dirMode, fileMode] : {std::pair<mode_t, mode_t>(0777, 0444), {0555, 0666}}) {
            m_machine.emplace();
            {
                AppContext context;
                QVERIFY(context.init() && context.save() && context.auth->restoreSession());
            }
            const QList<QByteArray> kept = contents();
            const MachineImage before = TestMachine::image();
            closeLogging();
            for (const QString& path : files())
                QCOMPARE(::chmod(qPrintable(path), fileMode), 0);
            for (const QString& path : {m_machine->scratchFile(u"."_s), m_machine->scratchFile(u"config"_s)})
                QCOMPARE(::chmod(qPrintable(path), 0755), 0);
            QCOMPARE(::chmod(qPrintable(m_machine->dataDir()), dirMode), 0);
            {
                // Root may do what it likes with other people's files.
                constexpr uid_t nobody = 65534;
                const bool dropped = ::getuid() == 0 && ::setresuid(nobody, nobody, 0) == 0;
                const auto rise = qScopeGuard([dropped] { QVERIFY(!dropped || ::setresuid(0, 0, 0) == 0); });
                AppContext context;
                QVERIFY(context.init() && !context.store.isOpen());
                QString error;
                QVERIFY(!context.engine->applyTweak(id, Tier::Pro, &error, false));
                QCOMPARE(error, persistFailure);
                QVERIFY(context.auth->login(u"Ada"_s, Tier::Free, nullptr) && !context.save());
            }
            QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
            QCOMPARE(contents(), kept);
            QCOMPARE(::chmod(qPrintable(m_machine->dataDir()), 0755), 0);
        }
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
