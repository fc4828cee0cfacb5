#include "platform/ChildProcess.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <QTemporaryDir>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <cstdlib>
#include <thread>

using namespace Qt::StringLiterals;
using namespace torvelane::platform;
using Outcome = ChildProcessResult::Outcome;

namespace {

constexpr int muchOutput = 300000; // more than a pipe holds

/// What this program does when a test starts it as a child. All but the first are told a folder.
namespace role {

const QString talk = u"--talk"_s;   ///< Reads its input to the end, then writes much.
const QString beat = u"--beat"_s;   ///< Lets a file grow while its folder is there.
const QString leave = u"--leave"_s; ///< Starts one that beats, and ends.
const QString stay = u"--stay"_s;   ///< Starts one that beats, and stays.
const QString crash = u"--crash"_s; ///< Runs one that stays, and crashes while it waits for it.

} // namespace role

ChildProcessResult runSelf(const QString& role, const QString& folder = {}, int limitMs = 30000)
{
    return runChildProcess({QCoreApplication::applicationFilePath(), {role, folder}, {}}, {.finishTimeoutMs = limitMs});
}

qint64 beatsIn(const QString& folder)
{
    return QFileInfo(folder + u"/beat"_s).size();
}

/// Whether nobody beats in the folder for longer than several beats take.
bool isSilent(const QString& folder)
{
    const qint64 before = beatsIn(folder);
    QTest::qWait(500);
    return beatsIn(folder) == before;
}

int play(const QString& wanted, const QString& folder)
{
    if (wanted == role::talk) {
        QFile input;
        const bool atEnd = input.open(stdin, QIODevice::ReadOnly) && input.readAll().isEmpty();
        std::fputs("first ", stdout);
        std::fflush(stdout);
        std::fputs("second ", stderr);
        std::fputs(QByteArray(muchOutput, 'x').constData(), stdout);
        return atEnd ? 7 : 1;
    }
    if (wanted == role::beat) {
        QFile file(folder + u"/beat"_s);
        constexpr int maximumBeats = 400; // nobody outlives a failed test for long
        for (int i = 0; i < maximumBeats && file.open(QIODevice::Append); ++i) {
            file.write("x");
            file.close();
            QThread::msleep(50);
        }
        return 0;
    }
    QProcess child;
    std::jthread worker;
    if (wanted == role::crash) {
        worker = std::jthread([&folder] { std::ignore = runSelf(role::stay, folder); });
    } else {
        child.setProcessChannelMode(QProcess::ForwardedChannels);
        child.start(QCoreApplication::applicationFilePath(), {role::beat, folder});
        child.waitForStarted();
    }
    while (beatsIn(folder) == 0)
        QThread::msleep(10);
    if (wanted == role::stay)
        child.waitForFinished(-1);
    std::_Exit(3); // no destructor runs, which would end the child
}

} // namespace

class tst_ChildProcess : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void toolsAreHeardOut()
    {
        const ChildProcessResult result = runSelf(role::talk);
        QCOMPARE(result.outcome, Outcome::Finished);
        QCOMPARE(result.exitCode, 7);
        QCOMPARE(result.output, "first second " + QByteArray(muchOutput, 'x'));
        QCOMPARE(runChildProcess({u"/nowhere/tool.exe"_s, {}, {}}).outcome, Outcome::NotStarted);
    }

    void timeoutEndsDescendants()
    {
        const QTemporaryDir dir;
        QCOMPARE(runSelf(role::stay, dir.path(), 3000).outcome, Outcome::TimedOut);
        QVERIFY(beatsIn(dir.path()) > 0);
        QVERIFY(isSilent(dir.path()));
    }

    /// As a restarted desktop must.
    void whatIsLeftRunningOutlivesANormalEnd()
    {
        const QTemporaryDir dir;
        QCOMPARE(runSelf(role::leave, dir.path()).outcome, Outcome::Finished);
        QVERIFY(!isSilent(dir.path()));
    }

    void crashEndsDescendants()
    {
        const QTemporaryDir dir;
        QCOMPARE(QProcess::execute(QCoreApplication::applicationFilePath(), {role::crash, dir.path()}), 3);
        QVERIFY(beatsIn(dir.path()) > 0);
        QTRY_VERIFY(isSilent(dir.path()));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    const QString wanted = QCoreApplication::arguments().value(1);
    if (QStringList{role::talk, role::beat, role::leave, role::stay, role::crash}.contains(wanted))
        return play(wanted, QCoreApplication::arguments().value(2));
    tst_ChildProcess test;
    return QTest::qExec(&test, argc, argv);
}

#include "tst_ChildProcess.moc"
