#include "ui/WindowBench.h"
#include "ui/pages/ScrollColumn.h"
#include "ui/pages/WorkPage.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/HeroWindow.h"

#include <QLayout>
#include <QSemaphore>
#include <QThread>

namespace {

/// An optimiser whose work ends when the test says so.
struct Machine {
    int work(int value)
    {
        begun.release();
        mayEnd.acquire();
        ++jobs;
        return value;
    }

    QSemaphore begun;
    QSemaphore mayEnd;
    std::atomic_int jobs = 0;
};

class SamplePage : public WorkPage {
public:
    SamplePage()
    {
        addStatusRow(column());
        status = findChild<QLabel*>();
    }

    void start(int value)
    {
        run(u"Working…"_s, job([](const auto& subject, int result) { return subject->work(result); }, machine, value),
            [this](int result) {
                results.append(result);
                setStatus(u"Did %1"_s.arg(result));
                if (result < steps)
                    start(result + 1);
            });
    }

    void scanOnce()
    {
        scan(u"Scanning…"_s, job([](const auto& subject) { return subject->work(7); }, machine),
             [this](int result) { results.append(result); });
    }

    void look(int value)
    {
        read(job(
                 [](const auto& subject, int result) {
                     subject->begun.release();
                     if (result == 1)
                         subject->mayEnd.acquire();
                     return result;
                 },
                 machine, value),
             [this](int result) { results.append(result); });
    }

    std::shared_ptr<Machine> machine = std::make_shared<Machine>();
    QList<int> results;
    int steps = 0;        ///< Work of a lower number is followed by the next one.
    QStringList controls; ///< How they were brought in line, in order.
    QLabel* status;

protected:
    void refreshControls() override { controls.append(isBusy() ? u"off"_s : u"on"_s); }
};

} // namespace

class tst_WorkPage : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void oneAtATime()
    {
        SamplePage page;
        page.start(1);
        page.start(2);
        QVERIFY(page.isBusy());
        // To assistive technology it is said a turn of the event loop later.
        QTRY_COMPARE(page.status->accessibleName(), u"Working…"_s);
        page.machine->mayEnd.release();
        QTRY_VERIFY(!page.isBusy());
        QCOMPARE(page.results, QList<int>{1});
        QTRY_COMPARE(page.status->accessibleName(), u"Did 1"_s);
        QCOMPARE(page.controls, QStringList({u"off"_s, u"on"_s}));
        QCOMPARE(page.machine->jobs, 1);
    }

    void finishWaitsForWhatHasBegun()
    {
        SamplePage page;
        page.start(1);
        page.machine->begun.acquire();
        QThreadPool::globalInstance()->start([machine = page.machine] {
            QThread::msleep(50);
            machine->mayEnd.release();
        });
        page.finishWork();
        QCOMPARE(page.machine->jobs, 1);
        // The page stays, and says what it led to.
        QTRY_COMPARE(page.results, QList<int>{1});
    }

    void finishDropsWhatHasNotBegun()
    {
        // The only thread of the workers' pool is taken by another page's scan. What only reads or scans is left alone.
        QThreadPool::globalInstance()->setMaxThreadCount(1);
        SamplePage scanning;
        scanning.scanOnce();
        scanning.machine->begun.acquire();
        SamplePage page;
        page.machine->mayEnd.release();
        page.start(1);
        page.look(2);
        page.finishWork();
        scanning.finishWork();
        QVERIFY(scanning.isBusy());
        scanning.machine->mayEnd.release();
        QTRY_VERIFY(!isWorking(page) && !scanning.isBusy());
        QThreadPool::globalInstance()->setMaxThreadCount(QThread::idealThreadCount());
        QCOMPARE(page.machine->jobs, 0);
        QCOMPARE(page.results, QList<int>{2});
        QCOMPARE(scanning.results, QList<int>{7});
    }

    /// A step that ends after the reverts have begun is the last one; the next chain runs to its end again.
    void finishEndsAChain()
    {
        SamplePage page;
        page.steps = 2;
        page.machine->mayEnd.release(10);
        page.start(1);
        page.machine->begun.acquire();
        page.finishWork();
        QTRY_VERIFY(!isWorking(page));
        QCOMPARE(page.results, QList<int>{1});
        page.start(1);
        QTRY_COMPARE(page.results, QList<int>({1, 1, 2}));
    }

    void workOutlivesItsPage()
    {
        auto page = std::make_unique<SamplePage>();
        const std::weak_ptr<Machine> machine = page->machine;
        page->start(1);
        page->machine->begun.acquire();
        page.reset();
        QVERIFY(!machine.expired());
        machine.lock()->mayEnd.release();
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(machine.expired());
    }

    /// As when a session has ended, and the window waits to be deleted.
    void nothingIsShownInAWindowThatLeft()
    {
        auto* const hero = new HeroWindow;
        ChromeWindow window(hero, u"Torvelane"_s);
        auto* const page = new SamplePage;
        page->setParent(hero);
        showActive(window);
        page->start(1);
        window.hide();
        page->machine->mayEnd.release();
        QTRY_VERIFY(!isWorking(*page));
        QCOMPARE(page->machine->jobs, 1);
        QCOMPARE(page->results, QList<int>());
    }

    void laterReadWins()
    {
        QThreadPool::globalInstance()->setMaxThreadCount(2);
        SamplePage page;
        page.look(1);
        page.machine->begun.acquire();
        page.look(2);
        QTRY_COMPARE(page.results, QList<int>{2});
        page.machine->mayEnd.release();
        QTRY_VERIFY(!isWorking(page));
        QCOMPARE(page.results, QList<int>{2});
    }
};

QTEST_MAIN(tst_WorkPage)
#include "tst_WorkPage.moc"
