#include "LiveStates.h"

#include "Album.h"
#include "core/Paths.h"
#include "core/Translate.h"
#include "platform/HResult.h"
#include "platform/Win32Error.h"
#include "platform/simulated/SimulatedPc.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/main/MainWindow.h"
#include "ui/pages/BufferbloatPage.h"
#include "ui/pages/GamingModePage.h"
#include "ui/pages/HomePage.h"
#include "ui/pages/ScanPage.h"

#include <QJsonObject>
#include <QPushButton>

namespace torvelane {

namespace {

using platform::SimulatedPc;

constexpr int liveMs = 5000; ///< Until the figures have come, and the game with them.

/// One page in the window, and how its states are taken.
struct Stage {
    Album& album;
    QWidget* frame;
    MainWindow& window;

    template <typename PageType>
    PageType& open(const QString& key) const
    {
        window.navigateTo(key);
        settle();
        return *window.findChild<PageType*>();
    }

    void take(const QString& name) const { album.add(name, frame->grab()); }
};

QPushButton* primaryOf(const QWidget& page)
{
    const auto buttons = page.findChildren<QPushButton*>();
    const auto found = std::ranges::find_if(
        buttons, [](const QPushButton* button) { return button->property("variant") == QStringLiteral("primary"); });
    return found == buttons.end() ? nullptr : *found;
}

QPushButton* ghostOf(const QWidget& page)
{
    const auto buttons = page.findChildren<QPushButton*>();
    const auto found = std::ranges::find_if(
        buttons, [](const QPushButton* button) { return button->property("variant") == QStringLiteral("ghost"); });
    return found == buttons.end() ? nullptr : *found;
}

void addHomeStates(const Stage& stage)
{
    stage.open<HomePage>(QStringLiteral("Home"));
    const QJsonValue counters = SimulatedPc::value(QStringLiteral("load/counters"));
    const QJsonValue running = SimulatedPc::value(QStringLiteral("processes/running"));
    SimulatedPc::setValue(QStringLiteral("processes/running/-"),
                          QJsonObject{{QStringLiteral("id"), 9000},
                                      {QStringLiteral("executable"), QStringLiteral("game.exe")},
                                      {QStringLiteral("path"),
                                       QStringLiteral("D:\\SteamLibrary\\steamapps\\common\\the long way home to the "
                                                      "last of all harbours\\game.exe")}});
    settle(liveMs);
    stage.take(QStringLiteral("home-game"));
    SimulatedPc::setValue(QStringLiteral("load/counters"), QJsonObject());
    stage.open<GamingModePage>(QStringLiteral("Gaming Mode"));
    settle(liveMs);
    stage.take(QStringLiteral("gaming-mode-game-no-gpu"));
    SimulatedPc::setValue(QStringLiteral("load/counters"), counters);
    SimulatedPc::setValue(QStringLiteral("processes/running"), running);
}

void addGamingStates(const Stage& stage)
{
    auto& page = stage.open<GamingModePage>(QStringLiteral("Gaming Mode"));
    auto* const toggle = page.findChild<ToggleSwitch*>();
    const auto ended = [&page] { return !page.isBusy(); };
    SimulatedPc::hang(QStringLiteral("tools.powercfg"), 1500, {.once = true});
    toggle->click();
    settle();
    stage.take(QStringLiteral("gaming-mode-busy"));
    settleUntil(ended);
    SimulatedPc::clearFaults();
    stage.take(QStringLiteral("gaming-mode-on"));
    toggle->click();
    settleUntil(ended);
    stage.take(QStringLiteral("gaming-mode-off-again"));

    SimulatedPc::setValue(QStringLiteral("user/elevated"), false);
    toggle->click();
    settleUntil(ended);
    stage.take(QStringLiteral("gaming-mode-not-elevated"));
    SimulatedPc::setValue(QStringLiteral("user/elevated"), true);
    toggle->click();
    settleUntil(ended);

    // A folder of the snapshot's name can't be written over.
    const QString snapshot = QDir(Paths::dataDir()).filePath(QStringLiteral("gaming_mode.json"));
    QFile::remove(snapshot);
    QDir().mkpath(snapshot);
    addDialog(stage.album, QStringLiteral("gaming-mode-failed"), stage.frame, [&] { toggle->click(); });
    QDir(snapshot).removeRecursively();
}

void addBufferStates(const Stage& stage)
{
    auto& page = stage.open<BufferbloatPage>(QStringLiteral("Bufferbloat"));
    QPushButton* const ultraLow = primaryOf(page);
    const auto ended = [&page] { return !page.isBusy(); };
    addDialog(stage.album, QStringLiteral("bufferbloat-question"), stage.frame, [&] { ultraLow->click(); });
    SimulatedPc::hang(QStringLiteral("wmi.connectServer"), 2000, {.once = true});
    acceptNextDialog();
    ultraLow->click();
    settle();
    stage.take(QStringLiteral("bufferbloat-busy"));
    settleUntil(ended);
    SimulatedPc::clearFaults();
    stage.take(QStringLiteral("bufferbloat-done"));
    acceptNextDialog();
    ghostOf(page)->click();
    settleUntil(ended);
    stage.take(QStringLiteral("bufferbloat-restored"));

    SimulatedPc::fail(QStringLiteral("wmi.connectServer"), platform::HResult::Unspecified);
    addDialog(stage.album, QStringLiteral("bufferbloat-failed"), stage.frame, [&] {
        acceptNextDialog();
        ultraLow->click();
    });
    SimulatedPc::clearFaults();
}

void addScanStates(const Stage& stage)
{
    auto& page = stage.open<ScanPage>(QStringLiteral("Scan"));
    const auto ended = [&page] { return !page.isBusy(); };
    settleUntil(ended);
    SimulatedPc::hang(QStringLiteral("wmi.connectServer"), 1500);
    ghostOf(page)->click();
    settle();
    stage.take(QStringLiteral("scan-busy"));
    settleUntil(ended);
    SimulatedPc::clearFaults();
    SimulatedPc::fail(QStringLiteral("wmi.connectServer"), platform::HResult::Unspecified);
    ghostOf(page)->click();
    settleUntil(ended);
    stage.take(QStringLiteral("scan-no-answer"));
    SimulatedPc::clearFaults();
    ghostOf(page)->click();
    settleUntil(ended);
}

} // namespace

void addLiveStates(Album& album, QWidget* frame, MainWindow& window)
{
    const Stage stage{album, frame, window};
    if (album.wants(QStringLiteral("home gaming-mode-game")))
        addHomeStates(stage);
    if (album.wants(QStringLiteral("gaming-mode")))
        addGamingStates(stage);
    if (album.wants(QStringLiteral("bufferbloat")))
        addBufferStates(stage);
    if (album.wants(QStringLiteral("scan")))
        addScanStates(stage);
}

} // namespace torvelane
