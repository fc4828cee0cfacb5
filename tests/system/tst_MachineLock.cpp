#include "support/Child.h"
#include "system/MachineLock.h"

#include <QThread>

namespace {

constexpr int briefMs = 100;
constexpr int longMs = Child::longMs;

/// What this program does when a test starts it as another process: it holds the lock until it is told to go on, or has
/// so much to do that it hardly ever lets go of it.
int runChild(const QStringList& arguments)
{
    if (arguments.at(0) == u"hold") {
        const MachineLock lock(longMs);
        if (lock.isHeld())
            stopUntilToldToGoOn();
        return lock.isHeld() ? 0 : 1;
    }
    for (int i = 0; i < 200; ++i) {
        const MachineLock lock(longMs);
        if (!lock.isHeld())
            return 1;
        QThread::msleep(50);
        if (i == 0)
            std::puts("busy");
        std::fflush(stdout);
    }
    return 0;
}

} // namespace

class tst_MachineLock : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void aKilledProcessLetsGo()
    {
        Child child(*m_machine, {u"hold"_s});
        QVERIFY(child.hasStopped());
        QCOMPARE(MachineLock(briefMs).error(),
                 u"Another Torvelane process is changing the system; try again when it has finished"_s);
        QVERIFY(!MachineLock(briefMs).isHeld());
        child.crash();
        QVERIFY(MachineLock(longMs).isHeld());
    }

    /// Threads of one process work side by side, and a holder may ask again; the last one lets go.
    void theProcessSharesIt()
    {
        std::optional<MachineLock> first(std::in_place, briefMs);
        std::optional<MachineLock> nested(std::in_place, briefMs);
        bool heldElsewhere = false;
        std::thread([&heldElsewhere] { heldElsewhere = MachineLock(briefMs).isHeld(); }).join();
        QVERIFY(heldElsewhere);
        first.reset();
        QVERIFY(nested->isHeld());
        Child child(*m_machine, {u"hold"_s});
        QVERIFY(!child.waitForReadyRead(1000));
        nested.reset();
        QVERIFY(child.hasStopped());
        child.goOn();
        QVERIFY(child.hasSucceeded());
    }

    /// A process that goes from one change to the next doesn't keep the others out until it has done them all.
    void processesTakeTurns()
    {
        Child child(*m_machine, {u"busy"_s});
        QVERIFY(child.hasStopped());
        for (int i = 0; i < 5; ++i)
            QVERIFY(MachineLock(longMs).isHeld());
        QVERIFY(!child.waitForFinished(10));
    }
};

int main(int argc, char** argv)
{
    return runSuite<tst_MachineLock>(argc, argv, runChild);
}

#include "tst_MachineLock.moc"
