#include "optimizers/DebloatCleaner.h"
#include "optimizers/PowerPlanManager.h"
#include "platform/simulated/files/Drive.h"
#include "restore/RestorePoint.h"
#include "support/simulated/Suite.h"
#include "ui/WindowBench.h"
#include "ui/controls/ListRow.h"
#include "ui/pages/AppOptimizePage.h"
#include "ui/pages/DebloatPage.h"
#include "ui/pages/NetworkPage.h"
#include "ui/pages/PowerPlanPage.h"
#include "ui/pages/RestorePointsPage.h"
#include "ui/pages/ServicesPage.h"

#include <QLineEdit>
#include <QProgressBar>
#include <QScrollArea>
#include <QScrollBar>
#include <QThreadPool>

using namespace torvelane::platform;

namespace {

const QString adapters = u"wmi/namespaces/ROOT\\CIMV2/Win32_NetworkAdapter"_s;
const QString points = u"wmi/namespaces/ROOT\\DEFAULT/SystemRestore"_s;
constexpr HResult refusal{static_cast<qint32>(0x8000ffff)};

/// By its text, or by its accessible name where several read alike; null if it isn't shown.
QPushButton* button(const QWidget& page, const QString& name)
{
    const auto all = page.findChildren<QPushButton*>();
    const auto found = std::ranges::find_if(all, [&name](const QPushButton* one) {
        return one->isVisible() && (one->text() == name || one->accessibleName() == name);
    });
    return found == all.end() ? nullptr : *found;
}

/// Once it is there: what joins a layout is shown when the event loop runs.
void press(const QWidget& page, const QString& name)
{
    if (!QTest::qWaitFor([&] { return button(page, name) != nullptr; }))
        qFatal("There is no button %s", qPrintable(name));
    QPushButton* const found = button(page, name);
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

/// Every text that the page shows, row by row.
QStringList texts(const QWidget& page)
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
    return all;
}

bool shows(const QWidget& page, const QString& part)
{
    return !texts(page).filter(part).isEmpty();
}

QString figure(const QWidget& page, const QString& row)
{
    return named<ListRow>(page, row)->property("accessibleValue").toString();
}

bool isUnchanged(const MachineImage& before)
{
    return differences(before, TestMachine::image()).isEmpty();
}

} // namespace

/// The pages that drive one optimiser each, on the simulated PC.
class tst_OptimizerPages : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void cleanup()
    {
        QThreadPool::globalInstance()->waitForDone();
        MachineSuite::cleanup();
    }

    void services()
    {
        for (const QString& name : {u"Basic"_s, u"Advanced"_s}) {
            const MachineImage before = TestMachine::image();
            {
                ServicesPage page;
                showActive(page);
                QVERIFY(!button(page, u"Restore default services"_s)->isEnabled());
                QCOMPARE(answer(false, page, u"Apply, "_s + name).first(), u"Services"_s);
                QVERIFY(shows(page, u"Ready"_s));
                QVERIFY(isUnchanged(before));
                answer(true, page, u"Apply, "_s + name);
                QVERIFY(shows(page, u"Applying…"_s));
                QVERIFY(!button(page, u"Apply, Basic"_s)->isEnabled());
                QVERIFY(!button(page, u"Apply, Advanced"_s)->isEnabled());
                QTRY_VERIFY(shows(page, name + u" profile applied"_s));
                QVERIFY(!isUnchanged(before));
            }
            // As after a restart.
            ServicesPage page;
            showActive(page);
            QVERIFY(button(page, u"Active, "_s + name));
            answer(true, page, u"Restore default services"_s);
            QTRY_VERIFY(shows(page, u"Default services restored"_s));
            QVERIFY(isUnchanged(before));
            QVERIFY(!button(page, u"Restore default services"_s)->isEnabled());
        }
    }

    void servicesThatStay()
    {
        SimulatedPc::fail(u"registry.setValue"_s, Win32Error::AccessDenied);
        ServicesPage page;
        showActive(page);
        answer(true, page, u"Apply, Basic"_s);
        QTRY_VERIFY(shows(page, u"Start Torvelane as administrator"_s));
    }

    void powerPlans()
    {
        const MachineImage before = TestMachine::image();
        PowerPlanPage page;
        showActive(page);
        press(page, u"Max CPU performance (no parking / C-states)"_s);
        QVERIFY(!button(page, u"Apply best performance plan"_s)->isEnabled());
        QTRY_VERIFY(button(page, u"Restore CPU defaults"_s));
        // Somebody else restores it: the click does what the PC needs, not what the button says.
        QVERIFY(PowerPlanManager::restoreCpu().ok);
        press(page, u"Restore CPU defaults"_s);
        QTRY_VERIFY(!page.isBusy());
        QVERIFY(PowerPlanManager::isMaxCpuApplied());
        press(page, u"Restore CPU defaults"_s);
        QTRY_VERIFY(!page.isBusy());
        press(page, u"Max disk performance (no parking / spindown)"_s);
        QTRY_VERIFY(!page.isBusy());
        press(page, u"Restore disk power defaults"_s);
        QTRY_VERIFY(!page.isBusy());
        QVERIFY(isUnchanged(before));
        press(page, u"Apply best performance plan"_s);
        QTRY_VERIFY(shows(page, u"Performance power plan."_s));
    }

    void powerPlanFails()
    {
        SimulatedPc::fail(u"tools.powercfg"_s, 1);
        PowerPlanPage page;
        showActive(page);
        press(page, u"Max CPU performance (no parking / C-states)"_s);
        QTRY_VERIFY(shows(page, u"Could not read the active power plan."_s));
        QVERIFY(!QApplication::activeModalWidget());
        QVERIFY(shows(page, u"Try again."_s));
        SimulatedPc::clearFaults();
        press(page, u"Max CPU performance (no parking / C-states)"_s);
        QVERIFY(!shows(page, u"Try again."_s));
        QTRY_VERIFY(!page.isBusy());
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
            QVERIFY(shows(page, u"Ready"_s));
            QVERIFY(shows(page, u"No apps optimized yet."_s));
            for (const QString& name : {u"Racer.exe"_s, u"chess.exe"_s}) {
                QFile file(m_machine->scratchFile(name));
                QVERIFY(file.open(QIODevice::WriteOnly));
                choose(page, file.fileName());
                QVERIFY(shows(page, name + u" optimized"_s));
            }
            QVERIFY(!shows(page, u"No apps optimized yet."_s));
        }
        AppOptimizePage page;
        showActive(page);
        QCOMPARE(texts(page).filter(u" | "_s).first(), u"chess.exe | "_s + m_machine->scratchFile(u"chess.exe"_s));
        press(page, u"Restore, chess.exe"_s);
        QCOMPARE(page.window()->focusWidget(), button(page, u"Optimize an app… (choose .exe)"_s));
        SimulatedPc::fail(u"registry.deleteValue"_s, Win32Error::AccessDenied, {.once = true});
        press(page, u"Restore, racer.exe"_s);
        QVERIFY(shows(page, u"Failed to restore racer.exe."_s));
        QVERIFY(shows(page, u"delete CpuPriorityClass below Image File Execution Options\\racer.exe\\PerfOptions."_s));
        QVERIFY(shows(page, u"No apps optimized yet."_s));
        QCOMPARE(differences(before, TestMachine::image()).size(), 1);
    }

    void sizes()
    {
        for (const CleanCategory& category : DebloatCleaner::categories())
            std::ignore = DebloatCleaner::clean(category);
        QFile file(simulated::hostPath(u"C:\\Windows\\Prefetch\\X.pf"_s));
        QVERIFY(file.open(QIODevice::WriteOnly));
        const auto grouped = [](int number) { return QLocale::system().toString(number); };
        for (const auto& [bytes, text] : {std::pair(0, u"0 B"_s),
                                          {1023, grouped(1023) + u" B"_s},
                                          {1024, u"1 KB"_s},
                                          {1048575, grouped(1024) + u" KB"_s},
                                          {1048576, u"1.0 MB"_s},
                                          {1073741824, u"1.00 GB"_s}}) {
            QVERIFY(file.resize(bytes));
            DebloatPage page;
            showActive(page);
            QTRY_VERIFY(shows(page, u"Reclaimable: "_s + text));
            QCOMPARE(figure(page, u"Prefetch"_s), text);
        }
    }

    void cleansOne()
    {
        DebloatPage page;
        page.show();
        QVERIFY(shows(page, u"Scanning…"_s));
        showActive(page);
        QVERIFY(!button(page, u"Clean all"_s)->isEnabled());
        QTRY_VERIFY(shows(page, u"Reclaimable: "_s));
        const QString size = figure(page, u"Prefetch"_s);
        press(page, u"Clean, Prefetch"_s);
        QVERIFY(!button(page, u"Clean, Recycle Bin"_s)->isEnabled());
        QTRY_VERIFY(shows(page, u"Freed %1 · Reclaimable: "_s.arg(size)));
        QCOMPARE(figure(page, u"Prefetch"_s), u"0 B"_s);
        QVERIFY(figure(page, u"Temporary files"_s) != u"0 B"_s);
        // The keyboard is where it was.
        QCOMPARE(page.window()->focusWidget(), button(page, u"Clean, Prefetch"_s));
    }

    void cleansAllThatGoes()
    {
        DebloatPage page;
        showActive(page);
        QTRY_VERIFY(shows(page, u"Reclaimable: "_s));
        const QString stuck = figure(page, u"Recycle Bin"_s);
        SimulatedPc::fail(u"recycleBin.empty"_s, refusal);
        page.resize(700, 300);
        const QScrollBar* const bar = page.findChild<QScrollArea*>()->verticalScrollBar();
        QTRY_VERIFY(bar->maximum() > 0);
        press(page, u"Clean all"_s);
        QTRY_VERIFY(shows(page, u"items) · Reclaimable: "_s + stuck));
        QCOMPARE(bar->value(), 0); // The keyboard went nowhere while all rows were disabled.
        QCOMPARE(page.window()->focusWidget(), button(page, u"Clean all"_s));
        QVERIFY(shows(page, u"Nothing could be removed here: Recycle Bin."_s));
        const auto* const progress = page.findChild<QProgressBar*>();
        QCOMPARE(progress->value(), progress->maximum());
    }

    /// The session ends in the middle.
    void chainEndsEarly()
    {
        DebloatPage page;
        showActive(page);
        QTRY_VERIFY(shows(page, u"Reclaimable: "_s));
        press(page, u"Clean all"_s);
        page.finishWork();
        QTRY_VERIFY(!page.isBusy());
        QVERIFY(DebloatCleaner::scanSize(DebloatCleaner::categories().constLast()) > 0);
        QVERIFY(button(page, u"Clean all"_s)->isEnabled());
    }

    void network()
    {
        const MachineImage before = TestMachine::image();
        NetworkPage page;
        page.show();
        QVERIFY(shows(page, u"Detecting adapters…"_s));
        showActive(page);
        QTRY_VERIFY(shows(page, u"2 adapter(s) active"_s));
        QVERIFY(shows(page, u"Ethernet · Wi-Fi"_s));
        QVERIFY(!button(page, u"Restore"_s));
        answer(false, page, u"Optimize network"_s);
        QVERIFY(isUnchanged(before));
        QCOMPARE(answer(true, page, u"Optimize network"_s).first(), u"Optimize network"_s);
        QVERIFY(shows(page, u"adapters will reconnect shortly."_s));
        QVERIFY(!button(page, u"Optimize network"_s));
        QTRY_VERIFY(button(page, u"Restore"_s));
        QVERIFY(shows(page, u"Optimized"_s));
        QVERIFY(shows(page, u"Optimized 2 adapter(s)."_s));
        QVERIFY(!button(page, u"Optimize network"_s));
        QCOMPARE(page.window()->focusWidget(), button(page, u"Restore"_s));

        QVERIFY(SimulatedPc::setValue(adapters + u"/3/NetEnabled"_s, true));
        NetworkPage third;
        showActive(third);
        QTRY_VERIFY(shows(third, u"2 of 3 optimized"_s));
        QVERIFY(button(third, u"Optimize network"_s));
        // Adapters that have gone get their settings back all the same.
        const QJsonValue all = SimulatedPc::value(adapters);
        QVERIFY(SimulatedPc::setValue(adapters, QJsonArray()));
        NetworkPage none;
        showActive(none);
        QTRY_VERIFY(shows(none, u"No physical network adapters detected."_s));
        answer(true, none, u"Restore"_s);
        QTRY_VERIFY(shows(none, u"Restored 2 adapter(s)."_s));
        QTRY_VERIFY(shows(none, u"No physical network adapters detected."_s));
        QVERIFY(!button(none, u"Restore"_s));
        QVERIFY(SimulatedPc::setValue(adapters, all));
        QVERIFY(SimulatedPc::setValue(adapters + u"/3/NetEnabled"_s, false));
        QVERIFY(isUnchanged(before));
    }

    void networkFails()
    {
        for (const QString& adapter : {u"/1"_s, u"/2"_s})
            QVERIFY(SimulatedPc::setValue(adapters + adapter + u"/NetEnabled"_s, false));
        NetworkPage page;
        showActive(page);
        QTRY_VERIFY(shows(page, u"0 adapter(s) active"_s));
        answer(true, page, u"Optimize network"_s);
        QStringList failure;
        answerNextDialog(true, &failure);
        QTRY_COMPARE(failure, QStringList({u"Network"_s, u"No eligible network adapter to optimize."_s}));
        QTRY_VERIFY(!isWorking(page));
        QVERIFY(shows(page, u"No eligible network adapter to optimize."_s));
        QVERIFY(shows(page, u"Check in Windows' network settings"_s));
    }

    void restorePoints()
    {
        QVERIFY(SimulatedPc::setValue(points + u"/-"_s,
                                      QJsonObject{{u"SequenceNumber"_s, 20}, {u"CreationTime"_s, u"broken"_s}}));
        RestorePointsPage page;
        page.show();
        QVERIFY(shows(page, u"Loading restore points…"_s));
        showActive(page);
        QTRY_COMPARE(page.findChildren<ListRow*>().size(), 4);
        QTRY_VERIFY(shows(page, u"(unnamed restore point) | unknown date · sequence #20"_s));
        const QDateTime physx(QDate(2024, 1, 9), QTime(18, 30, 12), Qt::UTC);
        QVERIFY(shows(page,
                      u"NVIDIA PhysX | %1 · sequence #22"_s.arg(
                          QLocale::system().toString(physx.toLocalTime(), QLocale::ShortFormat))));

        const MachineImage before = TestMachine::image();
        const QStringList question = answer(false, page, u"Delete, (unnamed restore point)"_s);
        QCOMPARE(question.first(), u"Restore points"_s);
        QVERIFY(question.last().startsWith(u"Delete the restore point “sequence #20”?"_s));
        QVERIFY(
            answer(false, page, u"Restore, NVIDIA PhysX"_s).last().startsWith(u"Restore Windows to “NVIDIA PhysX”?"_s));
        QVERIFY(isUnchanged(before));
        QVERIFY(shows(page, u"Ready"_s));

        answer(true, page, u"Delete, NVIDIA PhysX"_s);
        press(page, u"Restore, Windows Update"_s); // which nobody asks about while the page works
        QTRY_VERIFY(shows(page, u"Restore point deleted."_s));
        QTRY_VERIFY(!shows(page, u"NVIDIA PhysX"_s));
        press(page, u"Create restore point"_s);
        QVERIFY(!button(page, u"Create restore point"_s)->isEnabled());
        QTRY_VERIFY(shows(page, u"Restore point created."_s));
        QTRY_VERIFY(shows(page, u"Torvelane - "_s));
        answer(true, page, u"Restore, Windows Update"_s);
        QTRY_VERIFY(shows(page, u"Restore initiated — your PC will restart shortly."_s));
    }

    void restorePointsFail_data()
    {
        QTest::addColumn<QString>("call");
        QTest::addColumn<QString>("name");
        QTest::addColumn<QString>("status");
        QTest::addColumn<QString>("dialog");
        QTest::newRow("create") << u"wmi.execMethod"_s << u"Create restore point"_s
                                << u"Could not create restore point."_s
                                << u"Could not create the restore point:\n\nRestore point not created: ExecMethod "
                                   "failed (0x8000ffff)"_s;
        QTest::newRow("delete") << u"wmi.deleteShadowCopy"_s << u"Delete, NVIDIA PhysX"_s
                                << u"Could not delete the restore point."_s
                                << u"Could not delete the restore point:\n\n"_s;
        QTest::newRow("restore") << u"wmi.execMethod"_s << u"Restore, NVIDIA PhysX"_s
                                 << u"Could not initiate the restore."_s
                                 << u"Could not start the restore:\n\nRestore not initiated: ExecMethod failed "
                                    "(0x8000ffff)"_s;
    }

    void restorePointsFail()
    {
        QFETCH(QString, call);
        QFETCH(QString, name);
        QFETCH(QString, status);
        QFETCH(QString, dialog);
        RestorePointsPage page;
        showActive(page);
        QTRY_VERIFY(button(page, u"Delete, NVIDIA PhysX"_s));
        SimulatedPc::fail(call, refusal);
        if (name.startsWith(u"Create"_s))
            press(page, name);
        else
            answer(true, page, name);
        QStringList failure;
        answerNextDialog(true, &failure);
        QTRY_COMPARE(failure.size(), 2);
        QCOMPARE(failure.first(), u"Restore points"_s);
        QVERIFY2(failure.last().startsWith(dialog), qPrintable(failure.last()));
        QVERIFY(shows(page, status));
        QTRY_VERIFY(!isWorking(page));
        QVERIFY(shows(page, u"NVIDIA PhysX"_s));
    }

    void restorePointsUnread()
    {
        SimulatedPc::fail(u"wmi.execQuery"_s, refusal);
        RestorePointsPage page;
        showActive(page);
        QTRY_VERIFY(shows(page, u"Could not read restore points: Could not read restore points: ExecQuery failed"_s));
        QVERIFY(shows(page, u"Press Refresh to try again."_s));
        SimulatedPc::clearFaults();
        QVERIFY(SimulatedPc::setValue(points, QJsonArray()));
        press(page, u"Refresh"_s);
        QTRY_VERIFY(shows(page, u"No restore points yet."_s));
        QVERIFY(!shows(page, u"Press Refresh to try again."_s));
    }

    void restoreNeedsRightsAndProtection()
    {
        QVERIFY(SimulatedPc::setValue(u"user/elevated"_s, false));
        RestorePointsPage page;
        showActive(page);
        QVERIFY(shows(page, u"Torvelane is not running as administrator."_s));
        QVERIFY(!button(page, u"Create restore point"_s)->isEnabled());
        QVERIFY(!button(page, u"Enable protection"_s));
        QVERIFY(SimulatedPc::setValue(u"user/elevated"_s, true));
        setProtection(false);
        page.hide();
        showActive(page);
        QVERIFY(!shows(page, u"Torvelane is not running as administrator."_s));
        press(page, u"Enable protection"_s);
        QTRY_VERIFY(shows(page, u"System Protection enabled."_s));
        QVERIFY(!button(page, u"Enable protection"_s));
    }

private:
    static void setProtection(bool on)
    {
        const QString key = u"SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore"_s;
        if (!writeDword(RegistryHive::LocalMachine, key, u"DisableSR"_s, on ? 0 : 1))
            qFatal("Protection could not be switched");
        QCOMPARE(RestorePoint::isProtectionEnabled(), on);
    }
};

QTEST_MAIN(tst_OptimizerPages)
#include "tst_OptimizerPages.moc"
