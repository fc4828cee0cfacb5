#include "OptimizerStates.h"

#include "Album.h"
#include "core/Paths.h"
#include "platform/HResult.h"
#include "platform/Win32Error.h"
#include "platform/simulated/SimulatedPc.h"
#include "system/RegistryAccess.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/AppOptimizePage.h"
#include "ui/pages/DebloatPage.h"
#include "ui/pages/NetworkPage.h"
#include "ui/pages/PowerPlanPage.h"
#include "ui/pages/RestorePointsPage.h"
#include "ui/pages/ServicesPage.h"
#include "ui/windows/ChromeWindow.h"

#include <QFile>
#include <QFutureWatcher>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPushButton>

#include <array>

namespace torvelane {

namespace {

using platform::SimulatedPc;

constexpr int hangMs = 1500;
constexpr platform::HResult refusal{static_cast<qint32>(0x8000ffff)};
const QString adapters = QStringLiteral("wmi/namespaces/ROOT\\CIMV2/Win32_NetworkAdapter");
const QString points = QStringLiteral("wmi/namespaces/ROOT\\DEFAULT/SystemRestore");
const QString homeKey = QStringLiteral("Home");

/// One page in the window, and how its states are taken.
struct Scene {
    Album& album;
    QWidget& frame;
    MainWindow& window;
    QString key;
    Page* page = nullptr;

    void open() const
    {
        window.navigateTo(key);
        settle();
    }

    /// Of those that are shown, in the order in which they were made.
    void click(int index) const
    {
        for (QPushButton* const button : page->findChildren<QPushButton*>()) {
            if (button->isVisible() && index-- == 0) {
                button->click();
                return;
            }
        }
    }

    void accept(int index) const
    {
        acceptNextDialog();
        click(index);
    }

    void take(const QString& state) const { album.add(name(state), frame.grab()); }

    /// Once nobody works for the page any more.
    void takeEnd(const QString& state) const
    {
        settleUntil([this] { return !page->findChild<QFutureWatcherBase*>(); });
        SimulatedPc::clearFaults();
        take(state);
    }

    void takeDialog(const QString& state, const std::function<void()>& act) const
    {
        addDialog(album, name(state), &frame, act);
        SimulatedPc::clearFaults();
    }

    [[nodiscard]] QString name(const QString& state) const { return fileName(key) + QLatin1Char('-') + state; }
};

void addServices(const Scene& scene)
{
    scene.takeDialog(QStringLiteral("question"), [&] { scene.click(1); });
    SimulatedPc::hang(QStringLiteral("registry.setValue"), hangMs, {.once = true});
    scene.accept(0);
    settle();
    scene.take(QStringLiteral("busy"));
    scene.takeEnd(QStringLiteral("done"));
    SimulatedPc::fail(QStringLiteral("registry.setValue"), platform::Win32Error::AccessDenied);
    scene.accept(2);
    scene.takeEnd(QStringLiteral("unchanged"));
}

void addPowerPlan(const Scene& scene)
{
    SimulatedPc::hang(QStringLiteral("tools.powercfg"), hangMs, {.once = true});
    scene.click(1);
    settle();
    scene.take(QStringLiteral("busy"));
    scene.takeEnd(QStringLiteral("done"));
    SimulatedPc::fail(QStringLiteral("tools.powercfg"), 1);
    scene.click(2);
    scene.takeEnd(QStringLiteral("failed"));
}

void addApps(const Scene& scene)
{
    scene.take(QStringLiteral("many"));
    scene.click(1);
    settle();
    scene.take(QStringLiteral("failed"));
}

/// A hundred of them, whose values are of a kind that only a later version can put back.
void putApps()
{
    QJsonObject apps;
    for (int i = 1; i <= 100; ++i) {
        const QString name = QStringLiteral("game-%1.exe").arg(i, 3, 10, QLatin1Char('0'));
        const QString folder = i == 2
            ? QStringLiteral("a name that is as long as the name of a folder may well be\\").repeated(4)
            : QString();
        const QString path = QStringLiteral("D:\\Games\\") + folder + name;
        const QJsonObject original{{QStringLiteral("exists"), true},
                                   {QStringLiteral("valueType"), QStringLiteral("later")}};
        apps.insert(name, QJsonObject{{QStringLiteral("path"), path}, {QStringLiteral("original"), original}});
    }
    QFile file(QDir(Paths::dataDir()).filePath(QStringLiteral("app_optimize.json")));
    if (file.open(QIODevice::WriteOnly))
        file.write(QJsonDocument(apps).toJson());
}

void addDebloat(const Scene& scene)
{
    SimulatedPc::fail(QStringLiteral("recycleBin.empty"), refusal);
    scene.click(0);
    scene.takeEnd(QStringLiteral("refused"));
    SimulatedPc::hang(QStringLiteral("recycleBin.empty"), hangMs, {.once = true});
    scene.click(0);
    settle();
    scene.take(QStringLiteral("busy"));
    scene.takeEnd(QStringLiteral("done"));
    SimulatedPc::hang(QStringLiteral("recycleBin.size"), hangMs, {.once = true});
    scene.click(1);
    settle();
    scene.take(QStringLiteral("scanning"));
    scene.takeEnd(QStringLiteral("done-one"));
}

void addNetwork(const Scene& scene)
{
    scene.takeDialog(QStringLiteral("question"), [&] { scene.click(0); });
    SimulatedPc::hang(QStringLiteral("netDevices.restart"), hangMs, {.once = true});
    scene.accept(0);
    settle();
    scene.take(QStringLiteral("busy"));
    SimulatedPc::setValue(adapters + QStringLiteral("/3/NetEnabled"), true);
    SimulatedPc::setValue(adapters + QStringLiteral("/3/NetConnectionID"),
                          QStringLiteral("The adapter of the dock on the desk in the room at the end of the corridor"));
    scene.takeEnd(QStringLiteral("some"));
    scene.accept(1);
    scene.takeEnd(QStringLiteral("done"));
    for (int adapter = 1; adapter <= 3; ++adapter)
        SimulatedPc::setValue(adapters + QStringLiteral("/%1/NetEnabled").arg(adapter), false);
    scene.accept(0);
    scene.takeEnd(QStringLiteral("restored"));
    scene.takeDialog(QStringLiteral("failed"), [&] { scene.accept(0); });
    scene.takeEnd(QStringLiteral("after-failure"));
}

/// Two hundred, of which one has a long name and one has none.
void putPoints()
{
    QJsonArray rows;
    for (int i = 1; i <= 200; ++i) {
        QString description = QStringLiteral("Torvelane - %1").arg(i);
        if (i == 199)
            description = QStringLiteral("Installed an update whose name goes on and on ").repeated(4);
        rows.append(QJsonObject{
            {QStringLiteral("SequenceNumber"), i},
            {QStringLiteral("Description"), i == 198 ? QString() : description},
            {QStringLiteral("CreationTime"), i == 198 ? QString() : QStringLiteral("20240105081202.902114-000")}});
    }
    SimulatedPc::setValue(points, rows);
}

void addRestorePoints(const Scene& scene)
{
    const QString protection = QStringLiteral("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\SystemRestore");
    settleUntil([&] { return !scene.page->findChild<QFutureWatcherBase*>(); });
    scene.take(QStringLiteral("many"));
    scene.takeDialog(QStringLiteral("question-roll-back"), [&] { scene.click(2); });
    scene.takeDialog(QStringLiteral("question-delete"), [&] { scene.click(3); });
    SimulatedPc::hang(QStringLiteral("wmi.execMethod"), hangMs, {.once = true});
    scene.click(0);
    settle();
    scene.take(QStringLiteral("busy"));
    scene.takeEnd(QStringLiteral("done"));
    SimulatedPc::fail(QStringLiteral("wmi.execMethod"), refusal);
    scene.takeDialog(QStringLiteral("failed"), [&] { scene.click(0); });
    SimulatedPc::fail(QStringLiteral("wmi.execQuery"), refusal);
    scene.click(1);
    scene.takeEnd(QStringLiteral("unread"));
    SimulatedPc::setValue(points, QJsonArray());
    scene.click(1);
    scene.takeEnd(QStringLiteral("empty"));
    std::ignore = writeDword(RegistryHive::LocalMachine, protection, QStringLiteral("DisableSR"), 1);
    scene.window.navigateTo(homeKey);
    scene.open();
    scene.take(QStringLiteral("protection-off"));
    SimulatedPc::setValue(QStringLiteral("user/elevated"), false);
    scene.window.navigateTo(homeKey);
    scene.open();
    scene.take(QStringLiteral("not-elevated"));
    SimulatedPc::setValue(QStringLiteral("user/elevated"), true);
}

template <typename PageType, typename Add>
void addScene(const Scene& place, const QString& key, Add add)
{
    Scene scene{place.album, place.frame, place.window, key};
    if (!scene.album.wants(fileName(key)))
        return;
    scene.page = scene.window.template findChild<PageType*>();
    scene.open();
    settleUntil([&] { return !scene.page->template findChild<QFutureWatcherBase*>(); });
    add(scene);
    scene.window.navigateTo(homeKey);
    SimulatedPc::clearFaults();
}

} // namespace

void addOptimizerStates(Album& album, AppContext& context)
{
    constexpr std::array keys{"services", "power-plan", "app-optimize", "debloat", "network", "restore-points"};
    if (std::ranges::none_of(keys, [&](const char* key) { return album.wants(QLatin1String(key)); }))
        return;
    putApps();
    putPoints();
    auto* const window = new MainWindow(context);
    ChromeWindow frame(window, QStringLiteral("Torvelane"));
    frame.show();
    frame.activateWindow();
    settle(5000); // until every page has joined the window
    const Scene place{album, frame, *window, {}};
    addScene<ServicesPage>(place, QStringLiteral("Services"), addServices);
    addScene<PowerPlanPage>(place, QStringLiteral("Power Plan"), addPowerPlan);
    addScene<AppOptimizePage>(place, QStringLiteral("App Optimize"), addApps);
    addScene<DebloatPage>(place, QStringLiteral("Debloat"), addDebloat);
    addScene<NetworkPage>(place, QStringLiteral("Network"), addNetwork);
    addScene<RestorePointsPage>(place, QStringLiteral("Restore Points"), addRestorePoints);
}

} // namespace torvelane
