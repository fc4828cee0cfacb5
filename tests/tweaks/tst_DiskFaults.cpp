#include "account/AuthService.h"
#include "app/AppContext.h"
#include "core/Log.h"
#include "core/Paths.h"
#include "platform/simulated/SimulatedPc.h"
#include "support/LogCapture.h"
#include "support/TestMachine.h"
#include "tweaks/TweakEngine.h"

#include <QDir>
#include <QFile>
#include <QHash>
#include <QTest>

#include <algorithm>
#include <csignal>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;
using namespace torvelane;
using namespace torvelane::test;
using platform::SimulatedPc;

namespace {

const QString id = u"selftest.toggle"_s;

/// Takes away, while it lives, what root may do with other people's files.
class Unprivileged {
public:
    Unprivileged() { m_dropped = ::getuid() == 0 && ::setresuid(nobody, nobody, 0) == 0; }
    ~Unprivileged()
    {
        if (m_dropped && ::setresuid(0, 0, 0) != 0)
            qFatal("could not become root again");
    }
    Unprivileged(const Unprivileged&) = delete;
    Unprivileged& operator=(const Unprivileged&) = delete;

private:
    static constexpr uid_t nobody = 65534;
    bool m_dropped = false;
};

/// Has every write fail that would end behind `freeBytes` of its file, as on a full disk, until it is lifted.
void fillDisk(rlim_t freeBytes)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = std::min(freeBytes, limit.rlim_max);
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

void freeDisk()
{
    fillDisk(RLIM_INFINITY);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

void setMode(const QString& path, int mode)
{
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), static_cast<mode_t>(mode)), 0);
}

} // namespace

/// Disks that refuse to be written. The registry lies on another one here and goes on working.
class tst_DiskFaults : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void cleanup() { freeDisk(); }

    void unwritable_data();
    void unwritable();
    void dataDirCannotBeMade();
    void fullForSmallFiles();
    void fullFromEachCommitOn_data();
    void fullFromEachCommitOn();
};

void tst_DiskFaults::unwritable_data()
{
    QTest::addColumn<int>("dirMode");
    QTest::addColumn<int>("fileMode");
    QTest::newRow("files") << 0777 << 0444;
    QTest::newRow("folder") << 0555 << 0666;
}

void tst_DiskFaults::unwritable()
{
    QFETCH(int, dirMode);
    QFETCH(int, fileMode);
    const TestMachine machine;
    {
        AppContext context;
        QVERIFY(context.init());
        QVERIFY(context.save());
        QVERIFY(context.auth->restoreSession());
    }
    const QDir dir(machine.dataDir());
    const QStringList names{u"state.db"_s, u"config.json"_s, u"token.bin"_s};
    QHash<QString, QByteArray> contents;
    for (const QString& name : names) {
        contents.insert(name, contentOf(dir.filePath(name)));
        setMode(dir.filePath(name), fileMode);
    }
    for (const QString& path : {machine.scratchFile(u"."_s), dir.filePath(u".."_s)})
        setMode(path, 0755);
    setMode(dir.path(), dirMode);
    closeLogging();

    const MachineImage before = TestMachine::image();
    {
        const Unprivileged unprivileged;
        AppContext context;
        QVERIFY(context.init());
        QVERIFY(!context.store.isOpen());
        QString error;
        QVERIFY(!context.engine->applyTweak(id, Tier::Pro, &error, false));
        QCOMPARE(error, id + u": Could not persist original value (state store)"_s);
        QVERIFY(context.auth->login(u"Ada"_s, Tier::Free, nullptr));
        QCOMPARE(context.tier, Tier::Free);
        QVERIFY(!context.save());
    }
    QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    for (auto file = contents.cbegin(); file != contents.cend(); ++file)
        QCOMPARE(contentOf(dir.filePath(file.key())), file.value());
    setMode(dir.path(), 0755);
}

void tst_DiskFaults::dataDirCannotBeMade()
{
    const TestMachine machine;
    Paths::setDataDirOverride(machine.scratchFile(u"sealed/Torvelane"_s));
    QVERIFY(QDir().mkpath(machine.scratchFile(u"sealed"_s)));
    setMode(machine.scratchFile(u"."_s), 0755);
    setMode(machine.scratchFile(u"sealed"_s), 0555);
    const Unprivileged unprivileged;
    AppContext context;
    QVERIFY(!context.init());
}

void tst_DiskFaults::fullForSmallFiles()
{
    const TestMachine machine;
    AppContext context;
    QVERIFY(context.init());
    QVERIFY(context.auth->restoreSession());
    context.lastEmail = u"before"_s;
    QVERIFY(context.save());
    const QByteArray config = contentOf(Paths::configFile());
    const QByteArray token = contentOf(Paths::tokenFile());
    const LogCapture log;

    fillDisk(10);
    context.lastEmail = u"after"_s;
    QVERIFY(!context.save());
    QVERIFY(context.auth->login(u"Ada"_s, Tier::Free, nullptr));
    logMessage(LogLevel::Info, u"test"_s, u"lost"_s);
    freeDisk();

    QCOMPARE(contentOf(Paths::configFile()), config);
    QCOMPARE(contentOf(Paths::tokenFile()), token);
    logMessage(LogLevel::Info, u"test"_s, u"kept"_s);
    QVERIFY(log.contains(u"[INFO] test: kept"_s));
    QVERIFY(context.save());
    QCOMPARE_NE(contentOf(Paths::configFile()), config);
}

void tst_DiskFaults::fullFromEachCommitOn_data()
{
    QTest::addColumn<bool>("revert");
    QTest::newRow("apply") << false;
    QTest::newRow("revert") << true;
}

/// From the n-th commit on there is no room; with room again, the next start and a revert lose nothing.
void tst_DiskFaults::fullFromEachCommitOn()
{
    QFETCH(bool, revert);
    int commit = 0;
    for (bool reached = true; reached;) {
        ++commit;
        const TestMachine machine;
        const MachineImage before = TestMachine::image();
        {
            AppContext context;
            QVERIFY(context.init());
            if (revert)
                QVERIFY(context.engine->applyTweak(id, Tier::Pro, nullptr, false));
            int commits = 0;
            context.store.setCommitObserver([&](bool committed, const char*) {
                commits += committed ? 0 : 1;
                if (commits >= commit)
                    fillDisk(1);
            });
            SimulatedPc::setChangeObserver([](auto, const auto&) { freeDisk(); });
            QString error;
            const bool ok = revert ? context.engine->revertTweak(id, &error, true)
                                   : context.engine->applyTweak(id, Tier::Pro, &error, false);
            SimulatedPc::setChangeObserver({});
            freeDisk();
            reached = commits >= commit;
            if (!revert && commit == 1) {
                QVERIFY(!ok);
                QCOMPARE(error, id + u": Could not persist original value (state store)"_s);
            }
            // A store that lags behind the truth is no failure of what was done.
            QCOMPARE(ok, revert || commit > 1);
            QCOMPARE(differences(before, TestMachine::image()).isEmpty(), revert || !ok);
        }
        AppContext context;
        QVERIFY(context.init());
        QVERIFY(context.store.listInterrupted().isEmpty());
        QCOMPARE(differences(before, TestMachine::image()).isEmpty(), revert || !context.engine->isApplied(id));
        QVERIFY(context.engine->revertTweak(id, nullptr, true));
        QCOMPARE(differences(before, TestMachine::image()).join(u'\n'), QString());
    }
    QCOMPARE(commit, 4);
}

QTEST_GUILESS_MAIN(tst_DiskFaults)

#include "tst_DiskFaults.moc"
