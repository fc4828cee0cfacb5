#include "platform/ChildProcess.h"
#include "platform/ProcessTree.h"
#include "support/Suite.h"

#include <QThread>

#include <cstdlib>

#ifdef Q_OS_WIN
#include <windows.h>

#include <psapi.h>
#endif

using namespace torvelane::platform;
using Outcome = ChildProcessResult::Outcome;

namespace {

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif

constexpr int muchOutput = 300000; // more than a pipe holds
constexpr int maximumBeats = 400;  // nobody outlives a failed test for long

ChildProcessResult runSelf(const QString& role, const QString& folder = {}, int limitMs = 30000,
                           ErrorOutput errorOutput = ErrorOutput::Merged)
{
    return runChildProcess({QCoreApplication::applicationFilePath(), {role, folder}, {}}, {.finishTimeoutMs = limitMs},
                           errorOutput);
}

qint64 beatsIn(const QString& folder)
{
    return QFileInfo(folder + u"/beat"_s).size();
}

/// Whether whoever beat in the folder was stopped: nothing for longer than several beats take.
bool isSilent(const QString& folder)
{
    const qint64 before = beatsIn(folder);
    QTest::qWait(500);
    return before < maximumBeats && beatsIn(folder) == before;
}

QElapsedTimer started()
{
    QElapsedTimer timer;
    timer.start();
    return timer;
}

/// The most that this process has had so far.
qint64 peakMemoryKiB()
{
#ifdef Q_OS_WIN
    PROCESS_MEMORY_COUNTERS counters{};
    K32GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof(counters));
    return static_cast<qint64>(counters.PeakWorkingSetSize / 1024);
#else
    QFile file(u"/proc/self/status"_s);
    if (!file.open(QIODevice::ReadOnly))
        return 0;
    const QString status = QString::fromLatin1(file.readAll());
    return status.section(u"VmHWM:"_s, 1).section(u"kB"_s, 0, 0).trimmed().toLongLong();
#endif
}

/// This program as the child of a test.
int play(const QString& role, const QString& folder)
{
    if (role == u"--talk") { // reads its input to the end, then writes much
        QFile input;
        const bool atEnd = input.open(stdin, QIODevice::ReadOnly) && input.readAll().isEmpty();
        std::fputs("first ", stdout);
        std::fflush(stdout);
        std::fputs("second ", stderr);
        std::fflush(stderr);
        std::fputs(QByteArray(muchOutput, 'x').constData(), stdout);
        return atEnd ? 7 : 1;
    }
    if (role == u"--shout") { // never stops by itself
        const QByteArray block(65536, 'x');
        while (std::fwrite(block.constData(), 1, 65536, stdout) == 65536) { }
        return 0;
    }
    if (role == u"--beat") { // lets a file grow while its folder is there
        QFile file(folder + u"/beat"_s);
        for (int i = 0; i < maximumBeats && file.open(QIODevice::Append); ++i) {
            file.write("x");
            file.close();
            QThread::msleep(50);
        }
        return 0;
    }
    QProcess child;
    std::jthread worker;
    if (role == u"--crash") { // runs one that stays, and crashes while it waits for it
        worker = std::jthread([&folder] { std::ignore = runSelf(u"--stay"_s, folder); });
    } else { // starts one that beats, and ends or stays
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(), {u"--beat"_s, folder});
        child.waitForStarted();
    }
    while (beatsIn(folder) == 0)
        QThread::msleep(10);
    if (role == u"--stay")
        child.waitForFinished(-1);
    std::_Exit(3); // no destructor runs, which would end the child
}

} // namespace

class tst_ChildProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void toolsAreHeardOut()
    {
        const ChildProcessResult result = runSelf(u"--talk"_s);
        QCOMPARE(result.outcome, Outcome::Finished);
        QCOMPARE(result.exitCode, 7);
        QCOMPARE(result.output, "first second " + QByteArray(muchOutput, 'x'));
        const ChildProcessResult apart = runSelf(u"--talk"_s, {}, 30000, ErrorOutput::Separate);
        QCOMPARE(apart.output, "first " + QByteArray(muchOutput, 'x'));
        QCOMPARE(apart.errorOutput, QByteArray("second "));
        QCOMPARE(runChildProcess({u"/nowhere/tool.exe"_s, {}, {}}).outcome, Outcome::NotStarted);
    }

    void muchOutputIsCutAndTheLimitOfTimeHolds()
    {
        const qint64 before = peakMemoryKiB();
        const QElapsedTimer timer = started();
        const ChildProcessResult result = runSelf(u"--shout"_s, {}, 8000);
        QCOMPARE(result.outcome, Outcome::TimedOut);
        QCOMPARE_LT(timer.elapsed(), 12000);
        QCOMPARE(result.output.size(), ChildProcessLimits().outputLimitBytes);
        QVERIFY(result.outputIsCut);
        // A sanitizer holds back what is freed, a quarter of a gigabyte of it.
        QCOMPARE_LT(peakMemoryKiB() - before, (isSanitized ? 600 : 32) * 1024);
    }

    /// As when the system can't make a job: what the child has started is beyond reach then, the child isn't.
    void aChildWithoutATreeIsEnded()
    {
        const QTemporaryDir dir;
        QProcess child;
        ProcessTree tree;
        child.start(QCoreApplication::applicationFilePath(), {u"--beat"_s, dir.path()});
        QVERIFY(child.waitForStarted());
        tree.adopt(child);
        QTRY_VERIFY(beatsIn(dir.path()) > 0);
        tree.killAll();
        QVERIFY(child.waitForFinished(3000));
    }

    void timeoutEndsDescendants()
    {
        const QTemporaryDir dir;
        QCOMPARE(runSelf(u"--stay"_s, dir.path(), 3000).outcome, Outcome::TimedOut);
        QVERIFY(beatsIn(dir.path()) > 0);
        QVERIFY(isSilent(dir.path()));
    }

    /// As a restarted desktop must.
    void whatIsLeftRunningOutlivesANormalEnd()
    {
        const QTemporaryDir dir;
        QCOMPARE(runSelf(u"--leave"_s, dir.path()).outcome, Outcome::Finished);
        QVERIFY(!isSilent(dir.path()));
    }

    void crashEndsDescendants()
    {
        const QTemporaryDir dir;
        QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {u"--crash"_s, dir.path()}), 3);
        QVERIFY(beatsIn(dir.path()) > 0);
        QTest::qWait(500); // whoever ends them then acts on its own
        QVERIFY(isSilent(dir.path()));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (const QStringList arguments = QCoreApplication::arguments(); arguments.value(1).startsWith(u"--"_s))
        return play(arguments[1], arguments.value(2));
    tst_ChildProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ChildProcess.moc"
