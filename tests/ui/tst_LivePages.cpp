#include "support/simulated/Suite.h"
#include "ui/WindowBench.h"
#include "ui/controls/LiveChart.h"
#include "ui/controls/StatTile.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/BufferbloatPage.h"
#include "ui/pages/GamingModePage.h"
#include "ui/pages/HomePage.h"
#include "ui/pages/ScanPage.h"
#include "ui/theme/Theme.h"

#include <QAction>
#include <QClipboard>
#include <QSignalSpy>
#include <QThreadPool>

namespace {

void runGame(const QString& folder)
{
    SimulatedPc::setValue(u"processes/running/-"_s,
                          QJsonObject{{u"id"_s, 9000},
                                      {u"executable"_s, u"run.exe"_s},
                                      {u"path"_s, u"D:\\steamapps\\common\\%1\\run.exe"_s.arg(folder)}});
}

/// A page in a window of its own, which it leaves behind when it goes.
template <typename PageType>
struct Shown {
    Shown() : page(new PageType(&window))
    {
        page->resize(760, 540);
        window.resize(page->size());
        showActive(window);
    }

    [[nodiscard]] StatTile* tile(const QString& caption) const { return named<StatTile>(*page, caption); }

    [[nodiscard]] QPushButton* button(const QString& name) const { return named<QPushButton>(*page, name); }

    [[nodiscard]] bool shows(const QString& text) const
    {
        const auto labels = page->template findChildren<QLabel*>();
        return std::ranges::any_of(labels,
                                   [&](const QLabel* label) { return label->isVisible() && label->text() == text; });
    }

    QWidget window;
    PageType* page;
};

/// What the program keeps of the network buffers, and what the machine does.
QStringList buffersOf()
{
    return SimulatedPc::image().filter(u"Buffers"_s);
}

} // namespace

class tst_LivePages : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale::c());
        applyTheme(*qApp);
    }

    void cleanup() { QThreadPool::globalInstance()->waitForDone(); }

    /// A whole minute at once, then the figures of the machine, also while nobody looks.
    void homeShowsTheMachine()
    {
        WindowBench bench;
        runGame(u"half a life"_s);
        SimulatedPc::setValue(u"load/counters"_s, QJsonObject());
        Shown<HomePage> home;
        auto* const chart = home.page->findChild<LiveChart*>();
        const auto hasCurveAt = [&](int x) {
            const QImage image = chart->grab().toImage();
            int lit = 0;
            for (int y = 0; y < image.height() - 20; ++y)
                lit += image.pixelColor(x, y).lightness() > 100;
            return lit > 0;
        };
        QTRY_VERIFY(hasCurveAt(3));
        QTRY_COMPARE(valueOf(*home.tile(u"Game"_s)), u"Half A Life"_s);
        QCOMPARE(valueOf(*home.tile(u"GPU"_s)), u"—"_s);
        QVERIFY(valueOf(*home.tile(u"RAM"_s)).endsWith(u'%'));
        QCOMPARE(valueOf(*chart),
                 u"CPU %1, GPU —, RAM %2"_s.arg(valueOf(*home.tile(u"CPU"_s)), valueOf(*home.tile(u"RAM"_s))));
        home.window.hide();
        SimulatedPc::setValue(u"processes/running"_s, QJsonArray());
        QTRY_COMPARE_WITH_TIMEOUT(valueOf(*home.tile(u"Game"_s)), u"None"_s, 8000);
    }

    /// The window paints only what has changed: what is on the screen after a while is what a new painting would show.
    void homeOnTheScreenIsWhole()
    {
        WindowBench bench;
        MainWindow window(bench.context);
        QWidget other;
        showActive(window);
        auto* const chart = window.findChild<LiveChart*>();
        QTRY_VERIFY(chart->testAttribute(Qt::WA_OpaquePaintEvent));
        QTest::qWait(2000); // Stars twinkle, the glows move.
        showActive(other);
        const auto farthest = [&] {
            const QImage seen = window.screen()->grabWindow(window.winId()).toImage();
            chart->setAttribute(Qt::WA_OpaquePaintEvent, false); // It then paints nothing that it has kept.
            const QImage painted = window.grab().toImage();
            chart->setAttribute(Qt::WA_OpaquePaintEvent);
            int distance = 0;
            for (int y = 0; y < painted.height(); ++y) {
                for (int x = 0; x < painted.width(); ++x)
                    distance = std::max(distance, std::abs(qBlue(seen.pixel(x, y)) - qBlue(painted.pixel(x, y))));
            }
            return distance;
        };
        QTRY_VERIFY(farthest() <= 2); // once what a sample has changed is painted, too
    }

    void homeLeadsToOtherPages()
    {
        WindowBench bench({registryEntry("a")});
        MainWindow window(bench.context);
        showActive(window);
        for (const auto& [action, tab] : {std::pair(u"Clean my disk"_s, u"Cleanup"_s),
                                          {u"Gaming Mode"_s, u"Gaming Mode"_s},
                                          {u"Optimize my network"_s, u"Network"_s}}) {
            named<QPushButton>(*window.findChild<HomePage*>(), action)->click();
            const auto tabs = window.findChildren<QPushButton*>(u"SubTab"_s);
            const auto found = std::ranges::find_if(
                tabs, [](const QPushButton* each) { return each->isVisible() && each->isChecked(); });
            QVERIFY(found != tabs.end());
            QCOMPARE((*found)->accessibleName(), tab);
        }
    }

    void gamingModeThereAndBack()
    {
        WindowBench bench;
        const MachineImage before = TestMachine::image();
        {
            Shown<GamingModePage> gaming;
            auto* const toggle = named<ToggleSwitch>(*gaming.page, u"Gaming Mode"_s);
            QTRY_VERIFY(!isWorking(*gaming.page));
            toggle->click();
            QVERIFY(gaming.page->isBusy());
            QVERIFY(gaming.shows(u"Activating…"_s));
            toggle->click(); // which is off meanwhile
            QTRY_VERIFY(!gaming.page->isBusy());
            QVERIFY(toggle->isOn());
            QVERIFY(gaming.shows(u"Active"_s));
            QCOMPARE(bench.machine.log.lines().filter(u"Gaming Mode O"_s).size(), 1);
        }
        Shown<GamingModePage> restarted;
        auto* const toggle = named<ToggleSwitch>(*restarted.page, u"Gaming Mode"_s);
        QTRY_VERIFY(toggle->isOn());
        toggle->click();
        QTRY_VERIFY(!restarted.page->isBusy());
        QVERIFY(restarted.shows(u"Inactive"_s));
        QCOMPARE(differences(before, TestMachine::image()).filter(u"registry/"_s), QStringList());
    }

    void gamingModeFails()
    {
        WindowBench bench;
        QVERIFY(QDir(Paths::dataDir()).mkpath(u"gaming_mode.json"_s));
        Shown<GamingModePage> gaming;
        QStringList texts;
        answerNextDialog(true, &texts);
        named<ToggleSwitch>(*gaming.page, u"Gaming Mode"_s)->click();
        QTRY_VERIFY(texts.size() >= 2);
        QCOMPARE(texts, QStringList({u"Gaming Mode"_s, u"Could not save the Gaming Mode state file."_s}));
        QVERIFY(gaming.shows(texts.at(1)));
        QVERIFY(gaming.shows(u"Inactive"_s));
    }

    void buffersThereAndBack()
    {
        WindowBench bench;
        const QStringList before = buffersOf();
        QStringList texts;
        {
            Shown<BufferbloatPage> page;
            QVERIFY(!page.button(u"Active, Normal mode"_s)->isEnabled());
            answerNextDialog(false, &texts);
            page.button(u"Apply, Ultra-low bufferbloat"_s)->click();
            QVERIFY(!page.page->isBusy());
            QVERIFY(page.shows(u"Ready"_s));
            QCOMPARE(buffersOf(), before);
            answerNextDialog(true, &texts);
            page.button(u"Apply, Ultra-low bufferbloat"_s)->click();
            QVERIFY(page.page->isBusy());
            page.button(u"Apply, Ultra-low bufferbloat"_s)->click(); // off meanwhile, and so without a question
            QTRY_VERIFY(!page.page->isBusy());
            QVERIFY(page.shows(u"Ultra-low bufferbloat applied to 1 adapter(s)."_s));
            QVERIFY(buffersOf() != before);
        }
        Shown<BufferbloatPage> restarted;
        QVERIFY(!restarted.button(u"Active, Ultra-low bufferbloat"_s)->isEnabled());
        answerNextDialog(true, &texts);
        restarted.button(u"Apply, Normal mode"_s)->click();
        QTRY_VERIFY(!restarted.page->isBusy());
        QCOMPARE(buffersOf(), before);
        QVERIFY(restarted.button(u"Apply, Ultra-low bufferbloat"_s)->isEnabled());
    }

    /// The words from below, in the dialog and in the status.
    void buffersFail()
    {
        WindowBench bench;
        SimulatedPc::fail(u"wmi.connectServer"_s, platform::HResult::Unspecified);
        Shown<BufferbloatPage> page;
        QStringList question;
        QStringList failure;
        answerNextDialog(true, &question);
        page.button(u"Apply, Ultra-low bufferbloat"_s)->click();
        answerNextDialog(true, &failure);
        QTRY_VERIFY(!failure.isEmpty());
        QCOMPARE(failure, QStringList({u"Bufferbloat"_s, u"No active adapter exposes adjustable buffer sizes."_s}));
        QVERIFY(page.shows(failure.at(1)));
        QVERIFY(page.button(u"Apply, Ultra-low bufferbloat"_s)->isEnabled());
    }

    /// The worker ends what it has begun, and its record is whole.
    void pageGoesWhileItWorks()
    {
        WindowBench bench;
        const QStringList before = buffersOf();
        SimulatedPc::hang(u"wmi.connectServer"_s, 200);
        QStringList texts;
        {
            Shown<BufferbloatPage> page;
            answerNextDialog(true, &texts);
            page.button(u"Apply, Ultra-low bufferbloat"_s)->click();
            QVERIFY(page.page->isBusy());
        }
        QThreadPool::globalInstance()->waitForDone();
        QVERIFY(buffersOf() != before);
        Shown<BufferbloatPage> next;
        QVERIFY(!next.button(u"Active, Ultra-low bufferbloat"_s)->isEnabled());
    }

    /// The work is over before anything is put back, and the page is locked then.
    void tierFallsWhileItWorks()
    {
        WindowBench bench({registryEntry("a")});
        MainWindow window(bench.context);
        showActive(window);
        window.navigateTo(u"Bufferbloat"_s);
        auto* const page = window.findChild<BufferbloatPage*>();
        const QStringList before = buffersOf();
        SimulatedPc::hang(u"wmi.connectServer"_s, 200);
        QStringList texts;
        answerNextDialog(true, &texts);
        named<QPushButton>(*page, u"Apply, Ultra-low bufferbloat"_s)->click();
        QVERIFY(page->isBusy());
        bench.setTier(Tier::Free);
        QVERIFY(buffersOf() != before);
        QVERIFY(!page->isEnabled());
        QTRY_VERIFY(!page->isBusy());
        QVERIFY(!named<QPushButton>(*page, u"Active, Ultra-low bufferbloat"_s)->isEnabled());
    }

    void hardware()
    {
        WindowBench bench;
        SimulatedPc::hang(u"wmi.connectServer"_s, 200);
        Shown<ScanPage> scan;
        QPushButton* const rescan = scan.button(u"Rescan"_s);
        QTRY_VERIFY(scan.page->isBusy());
        QVERIFY(!rescan->isEnabled());
        QVERIFY(scan.shows(u"Scanning hardware…"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!scan.page->isBusy(), 20000);
        const auto titles = [&] {
            QStringList found;
            for (const QLabel* const title : scan.page->findChildren<QLabel*>(u"H2"_s))
                found.append(title->text());
            return found.join(u' ');
        };
        QCOMPARE(titles(), u"System Motherboard Processor Graphics Memory Storage Sensors"_s);

        // All of it, or what is selected.
        QAction* const copy = scan.page->actions().constFirst();
        copy->trigger();
        const QString all = QGuiApplication::clipboard()->text();
        QVERIFY2(all.startsWith(u"System\nDevice name: "_s), qPrintable(all.left(100)));
        QVERIFY(all.contains(u"\n\nStorage\n"_s));
        auto* const value = named<QLabel>(*scan.page, all.section(u'\n', 1, 1));
        QVERIFY(value);
        QTest::mouseMove(value); // which lets it be selected
        QTRY_VERIFY(value->textInteractionFlags() & Qt::TextSelectableByMouse);
        // A value that was clicked, without anything selected, leaves the keys to the page.
        QGuiApplication::clipboard()->clear();
        QTest::mouseClick(value, Qt::LeftButton);
        QTest::keySequence(value, QKeySequence::Copy);
        QCOMPARE(QGuiApplication::clipboard()->text(), all);
        value->setSelection(0, 3);
        copy->trigger();
        QCOMPARE(QGuiApplication::clipboard()->text(), value->text().left(3));

        // A machine that doesn't answer leaves one card, and no dialog.
        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"wmi.connectServer"_s, platform::HResult::Unspecified);
        rescan->click();
        QTRY_VERIFY_WITH_TIMEOUT(!scan.page->isBusy(), 20000);
        QCOMPARE(titles(), u"System"_s);
        QVERIFY(rescan->isEnabled());
    }
};

QTEST_MAIN(tst_LivePages)
#include "tst_LivePages.moc"
