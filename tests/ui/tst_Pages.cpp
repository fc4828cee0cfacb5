#include "optimizers/DebloatCleaner.h"
#include "support/simulated/Suite.h"
#include "ui/WindowBench.h"
#include "ui/controls/ListRow.h"
#include "ui/controls/LiveChart.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/AppOptimizePage.h"
#include "ui/pages/BufferbloatPage.h"
#include "ui/pages/DebloatPage.h"
#include "ui/pages/GamingModePage.h"
#include "ui/pages/NetworkPage.h"
#include "ui/pages/PowerPlanPage.h"
#include "ui/pages/RestorePointsPage.h"
#include "ui/pages/ScanPage.h"
#include "ui/pages/ServicesPage.h"
#include "ui/theme/Theme.h"

#include <QLineEdit>
#include <QScreen>
#include <QScrollArea>
#include <QScrollBar>
#include <QThreadPool>

namespace {

const QString adapters = u"wmi/namespaces/ROOT\\CIMV2/Win32_NetworkAdapter"_s;
const QString points = u"wmi/namespaces/ROOT\\DEFAULT/SystemRestore"_s;
const QString maxCpu = u"Max CPU performance (no parking / C-states)"_s;
constexpr HResult refusal = HResult::Unspecified;

using MakePage = std::unique_ptr<WorkPage> (*)();

template <typename PageType>
std::unique_ptr<WorkPage> make()
{
    return std::make_unique<PageType>();
}

/// By its text, or by its accessible name where several read alike; null if it isn't shown.
QAbstractButton* button(const QWidget& page, const QString& name)
{
    const auto all = page.findChildren<QAbstractButton*>();
    const auto found = std::ranges::find_if(all, [&name](const QAbstractButton* one) {
        return one->isVisible() && (one->text() == name || one->accessibleName() == name);
    });
    return found == all.end() ? nullptr : *found;
}

bool canPress(const QWidget& page, const QString& name)
{
    const QAbstractButton* const found = button(page, name);
    return found && found->isEnabled();
}

/// Once it is there, and the page has read what it shows.
void press(const QWidget& page, const QString& name)
{
    if (!QTest::qWaitFor([&] { return !isWorking(page) && canPress(page, name); }))
        qFatal("There is no button %s", qPrintable(name));
    QAbstractButton* const found = button(page, name);
    found->setFocus();
    found->click();
}

/// Presses it and answers the question. @return the question's texts
QStringList answer(bool accept, const QWidget& page, const QString& name)
{
    QStringList texts;
    answerNextDialog(accept, &texts);
    press(page, name);
    return texts;
}

/// Whether the page shows a text with this part, or a row "name | details".
bool shows(const QWidget& page, const QString& part)
{
    QStringList all;
    for (const QLabel* const label : page.findChildren<QLabel*>()) {
        if (label->isVisible())
            all.append(QString(label->text()).remove(QChar(0x200B)));
    }
    for (const ListRow* const row : page.findChildren<ListRow*>()) {
        if (row->isVisible())
            all.append(row->accessibleName() + u" | "_s + row->accessibleDescription());
    }
    return !all.filter(part).isEmpty();
}

} // namespace

/// The pages of the optimisers, the measurements and the restore points.
class tst_Pages : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        QLocale::setDefault(QLocale::c());
        applyTheme(*qApp);
    }

    void cleanup()
    {
        QThreadPool::globalInstance()->waitForDone();
        MachineSuite::cleanup();
    }

    /// After a "no" nothing has changed, after a "yes" it works once, and a page of a later start puts all of it back.
    void thereAndBack()
    {
        const std::tuple<MakePage, QString, QString, bool> pages[] = {
            {make<ServicesPage>, u"Apply, Basic"_s, u"Restore default services"_s, true},
            {make<BufferbloatPage>, u"Apply, Ultra-low bufferbloat"_s, u"Apply, Normal mode"_s, true},
            {make<NetworkPage>, u"Optimize network"_s, u"Restore"_s, true},
            {make<GamingModePage>, u"Gaming Mode"_s, u"Gaming Mode"_s, false},
            {make<PowerPlanPage>, maxCpu, u"Restore CPU defaults"_s, false},
        };
        for (const auto& [makePage, on, off, asks] : pages) {
            m_machine.emplace();
            const MachineImage before = TestMachine::image();
            const auto changes = [&before] { return differences(before, TestMachine::image()); };
            auto page = makePage();
            showActive(*page);
            if (asks) {
                answer(false, *page, on);
                QVERIFY(!page->isBusy());
                QCOMPARE(changes(), QStringList());
                answer(true, *page, on);
            } else {
                press(*page, on);
            }
            QVERIFY2(page->isBusy() && !canPress(*page, on), qPrintable(on));
            QTRY_VERIFY(!isWorking(*page));
            QVERIFY(!changes().isEmpty());
            page = makePage();
            showActive(*page);
            if (asks)
                answer(true, *page, off);
            else
                press(*page, off);
            QTRY_VERIFY(!isWorking(*page));
            QCOMPARE(changes(), QStringList());
        }
    }

    /// The words from below stand in the status and, but for two pages, in a dialog.
    void failures()
    {
        const auto block = [] { QDir(Paths::dataDir()).mkpath(u"gaming_mode.json"_s); };
        const auto unplug = [] {
            for (const QString& adapter : {u"1"_s, u"2"_s})
                SimulatedPc::setValue(u"%1/%2/NetEnabled"_s.arg(adapters, adapter), false);
        };
        const auto fail = [](const QString& call) { return [call] { SimulatedPc::fail(call, refusal); }; };
        const struct {
            MakePage makePage;
            std::function<void()> fault;
            QString name;
            bool asks;
            QString status;
            QString dialog;
        } rows[] = {
            {make<ServicesPage>,
             [] { SimulatedPc::fail(u"registry.setValue"_s, Win32Error::AccessDenied); },
             u"Apply, Basic"_s,
             true,
             u"Start Torvelane as administrator"_s,
             {}},
            {make<PowerPlanPage>,
             [] { SimulatedPc::fail(u"tools.powercfg"_s, 1); },
             maxCpu,
             false,
             u"Could not read the active power plan."_s,
             {}},
            {make<GamingModePage>, block, u"Gaming Mode"_s, false, u"Could not save the Gaming Mode state file."_s,
             u"Could not save"_s},
            {make<BufferbloatPage>, fail(u"wmi.connectServer"_s), u"Apply, Ultra-low bufferbloat"_s, true,
             u"No active adapter exposes adjustable buffer sizes."_s, u"No active adapter"_s},
            {make<NetworkPage>, unplug, u"Optimize network"_s, true, u"No eligible network adapter to optimize."_s,
             u"No eligible"_s},
            {make<RestorePointsPage>, fail(u"wmi.execMethod"_s), u"Create restore point"_s, false,
             u"Could not create restore point."_s,
             u"Could not create the restore point:\n\nRestore point not created"_s},
            {make<RestorePointsPage>, fail(u"wmi.deleteShadowCopy"_s), u"Delete, NVIDIA PhysX"_s, true,
             u"Could not delete the restore point."_s, u"Could not delete the restore point:\n\n"_s},
            {make<RestorePointsPage>, fail(u"wmi.execMethod"_s), u"Restore, NVIDIA PhysX"_s, true,
             u"Could not initiate the restore."_s, u"Could not start the restore:\n\nRestore not initiated"_s},
        };
        for (const auto& row : rows) {
            m_machine.emplace();
            row.fault();
            const auto page = row.makePage();
            showActive(*page);
            if (row.asks)
                answer(true, *page, row.name);
            else
                press(*page, row.name);
            QStringList failure;
            if (!row.dialog.isEmpty()) {
                answerNextDialog(true, &failure);
                QTRY_VERIFY(!failure.isEmpty());
                QVERIFY2(failure.last().startsWith(row.dialog), qPrintable(failure.last()));
            }
            QTRY_VERIFY(!isWorking(*page));
            QVERIFY2(shows(*page, row.status), qPrintable(row.status));
        }
    }

    void apps()
    {
        const MachineImage before = TestMachine::image();
        const auto choose = [](const AppOptimizePage& page, const QString& path) {
            whenDialogOpens([path](QDialog* dialog) {
                dialog->findChild<QLineEdit*>()->setText(path);
                QMetaObject::invokeMethod(dialog, path.isEmpty() ? "reject" : "accept");
            });
            press(page, u"Optimize an app… (choose .exe)"_s);
        };
        {
            AppOptimizePage page;
            showActive(page);
            choose(page, {});
            QVERIFY(shows(page, u"No apps optimized yet."_s));
            QFile file(m_machine->scratchFile(u"Racer.exe"_s));
            QVERIFY(file.open(QIODevice::WriteOnly));
            choose(page, file.fileName());
            QVERIFY(shows(page, u"Racer.exe optimized"_s));
        }
        AppOptimizePage page;
        showActive(page);
        SimulatedPc::fail(u"registry.deleteValue"_s, Win32Error::AccessDenied, {.once = true});
        press(page, u"Restore, racer.exe"_s);
        QCOMPARE(page.window()->focusWidget(), button(page, u"Optimize an app… (choose .exe)"_s));
        QVERIFY(shows(page, u"delete CpuPriorityClass below Image File Execution Options\\racer.exe\\PerfOptions."_s));
        QCOMPARE(differences(before, TestMachine::image()).size(), 1);
    }

    void cleansAllThatGoes()
    {
        DebloatPage page;
        showActive(page);
        press(page, u"Clean, Prefetch"_s);
        QVERIFY(!canPress(page, u"Clean, Recycle Bin"_s));
        QTRY_VERIFY(shows(page, u" · Reclaimable: "_s));
        QCOMPARE(named<ListRow>(page, u"Prefetch"_s)->property("accessibleValue").toString(), u"0 B"_s);
        QCOMPARE(page.window()->focusWidget(), button(page, u"Clean, Prefetch"_s));
        SimulatedPc::fail(u"recycleBin.empty"_s, refusal);
        page.resize(700, 300);
        const QScrollBar* const bar = page.findChild<QScrollArea*>()->verticalScrollBar();
        QTRY_VERIFY(bar->maximum() > 0);
        press(page, u"Clean all"_s);
        QTRY_VERIFY(shows(page, u"Nothing could be removed here: Recycle Bin."_s));
        QCOMPARE(bar->value(), 0); // The keyboard went nowhere while all rows were disabled.
        QCOMPARE(page.window()->focusWidget(), button(page, u"Clean all"_s));
    }

    /// The session ends in the middle.
    void chainEndsEarly()
    {
        DebloatPage page;
        showActive(page);
        press(page, u"Clean all"_s);
        page.finishWork();
        QTRY_VERIFY(!page.isBusy());
        QVERIFY(DebloatCleaner::scanSize(DebloatCleaner::categories().constLast()) > 0);
        QVERIFY(canPress(page, u"Clean all"_s));
    }

    void restorePoints()
    {
        QVERIFY(SimulatedPc::setValue(points + u"/-"_s,
                                      QJsonObject{{u"SequenceNumber"_s, 20}, {u"CreationTime"_s, u"broken"_s}}));
        RestorePointsPage page;
        showActive(page);
        QTRY_VERIFY(shows(page, u"(unnamed restore point) | unknown date · sequence #20"_s));
        const MachineImage before = TestMachine::image();
        const QString question = answer(false, page, u"Delete, (unnamed restore point)"_s).last();
        QVERIFY2(question.startsWith(u"Delete the restore point “sequence #20”?"_s), qPrintable(question));
        answer(false, page, u"Restore, NVIDIA PhysX"_s);
        QCOMPARE(differences(before, TestMachine::image()), QStringList());
        answer(true, page, u"Delete, NVIDIA PhysX"_s);
        QTRY_VERIFY(shows(page, u"Restore point deleted."_s));
        QTRY_VERIFY(!shows(page, u"NVIDIA PhysX"_s));
        press(page, u"Create restore point"_s);
        QTRY_VERIFY(shows(page, u"Torvelane - "_s));
        answer(true, page, u"Restore, Windows Update"_s);
        QTRY_VERIFY(shows(page, u"Restore initiated — your PC will restart shortly."_s));
    }

    void restoreNeedsRightsAndProtection()
    {
        QVERIFY(SimulatedPc::setValue(u"user/elevated"_s, false));
        RestorePointsPage page;
        showActive(page);
        QVERIFY(shows(page, u"Torvelane is not running as administrator."_s));
        QVERIFY(!canPress(page, u"Create restore point"_s));
        QVERIFY(SimulatedPc::setValue(u"user/elevated"_s, true));
        QVERIFY(writeDword(RegistryHive::LocalMachine,
                           u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s, u"DisableSR"_s, 1));
        page.hide();
        showActive(page);
        press(page, u"Enable protection"_s);
        QTRY_VERIFY(shows(page, u"System Protection enabled."_s));
        QVERIFY(!button(page, u"Enable protection"_s));
    }

    /// The work is over before anything is put back, and the page is locked then.
    void tierFallsWhileItWorks()
    {
        m_machine.reset();
        WindowBench bench({registryEntry("a")});
        MainWindow window(bench.context);
        showActive(window);
        window.navigateTo(u"Bufferbloat"_s);
        auto* const page = window.findChild<BufferbloatPage*>();
        const auto buffers = [] { return SimulatedPc::image().filter(u"Buffers"_s); };
        const QStringList before = buffers();
        SimulatedPc::hang(u"wmi.connectServer"_s, 200);
        answer(true, *page, u"Apply, Ultra-low bufferbloat"_s);
        QVERIFY(page->isBusy());
        bench.setTier(Tier::Free);
        QVERIFY(buffers() != before);
        QVERIFY(!page->isEnabled());
        QTRY_VERIFY(!page->isBusy());
        QVERIFY(button(*page, u"Active, Ultra-low bufferbloat"_s));
    }

    /// The window paints only what has changed: what is on the screen after a while is what a new painting would show.
    void homeOnTheScreenIsWhole()
    {
        m_machine.reset();
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

    void hardware()
    {
        SimulatedPc::hang(u"wmi.connectServer"_s, 200, {.once = true});
        ScanPage page;
        page.resize(760, 540);
        showActive(page);
        QTRY_VERIFY(page.isBusy());
        QVERIFY(!canPress(page, u"Rescan"_s));
        QTRY_VERIFY_WITH_TIMEOUT(!page.isBusy(), 20000);
        // A machine that doesn't answer leaves one card, and no dialog.
        SimulatedPc::clearFaults();
        SimulatedPc::fail(u"wmi.connectServer"_s, refusal);
        press(page, u"Rescan"_s);
        QTRY_VERIFY_WITH_TIMEOUT(!page.isBusy(), 20000);
        QCOMPARE(page.findChildren<QLabel*>(u"H2"_s).size(), 1);
    }
};

QTEST_MAIN(tst_Pages)
#include "tst_Pages.moc"
