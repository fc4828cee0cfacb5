#include "core/Paths.h"
#include "support/TestMachine.h"
#include "system/MachineLock.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTest>
#include <QThread>

#include <cstdio>
#include <thread>

using namespace Qt::StringLiterals;
using namespace torvelane;

namespace {

constexpr int briefMs = 100;
constexpr int longMs = 30000;

bool isFree()
{
    return MachineLock(briefMs).isHeld();
}

void say(const char* text)
{
    std::puts(text);
    std::fflush(stdout);
}

/// What this program does when a test starts it as another process: it holds the lock until it is told to go on, or has
/// so much to do that it hardly ever lets go of it.
int runChild(const QStringList& arguments)
{
    Paths::setDataDirOverride(arguments.at(2));
    if (arguments.at(1) == u"--hold") {
        const MachineLock lock(longMs);
        say(lock.isHeld() ? "held" : "failed");
        std::ignore = std::fgetc(stdin);
        return 0;
    }
    for (int i = 0; i < 200; ++i) {
        const MachineLock lock(longMs);
        if (!lock.isHeld())
            return 1;
        QThread::msleep(50);
        if (i == 0)
            say("busy");
    }
    return 0;
}

} // namespace

class tst_MachineLock : public QObject {
    Q_OBJECT

private:
    std::optional<test::TestMachine> m_machine;

    /// Comes back when the other process has the lock.
    static void start(QProcess& child, const QString& role)
    {
        child.start(QCoreApplication::applicationFilePath(), {role, Paths::dataDir()});
        QVERIFY(child.waitForReadyRead(longMs));
        QVERIFY(child.readAllStandardOutput().trimmed() != "failed");
    }

    /// Doesn't wait for an event loop, since the test waits for the lock.
    static void goOn(QProcess& child)
    {
        child.write("go\n");
        QVERIFY(child.waitForBytesWritten());
    }

private Q_SLOTS:
    void init() { m_machine.emplace(); }

    void otherProcessesAreKeptOut()
    {
        QProcess child;
        start(child, u"--hold"_s);
        {
            const MachineLock refused(briefMs);
            QVERIFY(!refused.isHeld());
            QCOMPARE(refused.error(),
                     u"Another Torvelane process is changing the system; try again when it has finished"_s);
        }
        goOn(child);
        QVERIFY(MachineLock(longMs).isHeld());
        QVERIFY(child.waitForFinished());
    }

    void aKilledProcessLetsGo()
    {
        QProcess child;
        start(child, u"--hold"_s);
        QVERIFY(!isFree());
        child.kill();
        QVERIFY(child.waitForFinished());
        QVERIFY(MachineLock(longMs).isHeld());
    }

    /// Threads of one process work side by side, and a holder may ask again; the last one lets go.
    void theProcessSharesIt()
    {
        std::optional<MachineLock> first(std::in_place, briefMs);
        std::optional<MachineLock> nested(std::in_place, briefMs);
        bool heldElsewhere = false;
        std::thread([&heldElsewhere] { heldElsewhere = isFree(); }).join();
        QVERIFY(heldElsewhere);
        first.reset();
        QVERIFY(nested->isHeld());
        QProcess child;
        child.start(QCoreApplication::applicationFilePath(), {u"--hold"_s, Paths::dataDir()});
        QVERIFY(!child.waitForReadyRead(1000));
        nested.reset();
        QVERIFY(child.waitForReadyRead(longMs));
        QCOMPARE(child.readAllStandardOutput().trimmed(), "held");
        goOn(child);
        QVERIFY(child.waitForFinished());
    }

    /// A process that goes from one change to the next doesn't keep the others out until it has done them all.
    void processesTakeTurns()
    {
        QProcess child;
        start(child, u"--busy"_s);
        for (int i = 0; i < 5; ++i)
            QVERIFY(MachineLock(longMs).isHeld());
        QVERIFY(!child.waitForFinished(10));
        child.kill();
        QVERIFY(child.waitForFinished());
    }

    void noPlaceForTheFile()
    {
        Paths::setDataDirOverride(m_machine->scratchFile(u"nowhere"_s));
        const MachineLock lock(briefMs);
        QVERIFY(!lock.isHeld());
        QVERIFY2(lock.error().startsWith(u"The lock between processes could not be opened ("),
                 qPrintable(lock.error()));
    }
};

int main(int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (const QStringList arguments = QCoreApplication::arguments(); arguments.size() == 3)
        return runChild(arguments);
    tst_MachineLock suite;
    return QTest::qExec(&suite, argc, argv);
}

#include "tst_MachineLock.moc"
