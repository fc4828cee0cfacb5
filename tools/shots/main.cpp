/// Makes PNGs of every page, dialog and state of the windows, for a person to look through. Works on the machine and data
/// directory that the environment names; `./dev shots` gives it fresh ones.
///
///     torvelane-shots <folder> <prefix of the file names> [<word> ...]
///
/// With words, only the pictures with one of them in their names.

#include "Album.h"
#include "LiveStates.h"
#include "OptimizerStates.h"
#include "account/AuthService.h"
#include "app/AppContext.h"
#include "core/Translate.h"
#include "platform/Elevation.h"
#include "platform/Hardening.h"
#include "ui/controls/AppDialog.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/ToggleSwitch.h"
#include "ui/main/MainWindow.h"
#include "ui/main/Navigation.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/TweakCard.h"
#include "ui/theme/Theme.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/LoginWindow.h"
#include "update/UpdateSplash.h"

#include <QApplication>
#include <QDir>
#include <QEnterEvent>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPushButton>
#include <QTextStream>

#include <cstdio>

using namespace torvelane;

namespace {

void addPages(Album& album, QWidget* frame, MainWindow& window, const QString& state)
{
    const QList<NavGroup> groups = navigationGroups();
    for (const NavGroup& group : groups) {
        for (const NavSection& section : group.sections) {
            const QString name = state + fileName(section.key);
            if (!album.wants(name))
                continue;
            window.navigateTo(section.key);
            settle();
            album.add(name, frame->grab());
        }
    }
    window.showSettingsPage();
    settle();
    album.add(state + QStringLiteral("settings"), frame->grab());
}

TweakCard* firstVisibleCard(const MainWindow& window)
{
    const auto cards = window.findChildren<TweakCard*>();
    for (TweakCard* const card : cards) {
        if (card->isVisible())
            return card;
    }
    return nullptr;
}

void addStates(Album& album, QWidget* frame, MainWindow& window)
{
    if (!album.wants(QStringLiteral("card dialog")))
        return;
    window.navigateTo(QStringLiteral("Explorer"));
    settle();
    if (TweakCard* const card = firstVisibleCard(window)) {
        const QPointF centre = QRectF(card->rect()).center();
        QEnterEvent enter(centre, centre, QPointF(card->mapToGlobal(centre.toPoint())));
        QCoreApplication::sendEvent(card, &enter);
        if (auto* const toggle = card->findChild<ToggleSwitch*>()) {
            const FocusRing ring;
            QKeyEvent tab(QEvent::KeyPress, Qt::Key_Tab, Qt::NoModifier);
            QCoreApplication::sendEvent(&window, &tab);
            toggle->setFocus(Qt::TabFocusReason);
            toggle->click();
            settle();
            album.add(QStringLiteral("card-hovered-on-and-focused"), frame->grab());
        }
    }
    window.navigateTo(QStringLiteral("Windows Updates"));
    settle();
    addDialog(album, QStringLiteral("dialog-warning"), frame, [&] {
        const auto toggles = window.findChildren<ToggleSwitch*>();
        for (ToggleSwitch* const toggle : toggles) {
            if (toggle->isVisible() && !toggle->accessibleDescription().isEmpty()) {
                toggle->click();
                return;
            }
        }
    });
    addDialog(album, QStringLiteral("dialog-failed"), frame, [&] {
        AppDialog::info(&window, translate("SectionTweaksPage", "Tweak failed"),
                        QStringLiteral("Apply error: Failed to write HKLM\\SOFTWARE\\Policies\\Microsoft\\Windows\\"
                                       "WindowsUpdate\\AU [NoAutoUpdate]"));
    });
    addDialog(album, QStringLiteral("dialog-destructive"), frame, [&] {
        std::ignore =
            AppDialog::confirm(&window, translate("MainWindow", "Sign out"),
                               translate("MainWindow", "Your account and app settings."), QString(), QString(), true);
    });
}

void addLogin(Album& album, AppContext& context)
{
    if (!album.wants(QStringLiteral("sign-in-error")))
        return;
    auto* const login = new LoginWindow(context.auth.get(), platform::currentUserName());
    ChromeWindow frame(login, QStringLiteral("Torvelane"));
    frame.show();
    frame.activateWindow();
    settle();
    album.add(QStringLiteral("sign-in"), frame.grab());
    login->findChild<QLineEdit*>()->clear();
    login->findChild<QPushButton*>()->click();
    settle();
    album.add(QStringLiteral("sign-in-error"), frame.grab());
}

void addSplash(Album& album)
{
    UpdateSplash splash(QStringLiteral("1.0.5"));
    splash.setAttribute(Qt::WA_DeleteOnClose, false);
    splash.show();
    settle();
    album.add(QStringLiteral("update"), splash.grab());
}

} // namespace

int main(int argc, char** argv)
{
    platform::prepareProcess();
    QGuiApplication::setHighDpiScaleFactorRoundingPolicy(Qt::HighDpiScaleFactorRoundingPolicy::PassThrough);
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() < 3 || !QDir().mkpath(arguments.at(1))) {
        QTextStream(stderr) << "Usage: torvelane-shots <folder> <prefix of the file names> [<word> ...]\n";
        return 2;
    }
    AppContext context;
    if (!context.init() || !context.auth->restoreSession())
        return 1;
    installTranslator();
    applyTheme(application);

    Album album(arguments.at(1), arguments.at(2), arguments.mid(3));
    addSplash(album);
    {
        auto* const window = new MainWindow(context);
        ChromeWindow frame(window, QStringLiteral("Torvelane"));
        frame.show();
        frame.activateWindow();
        settle();
        addPages(album, &frame, *window, QString());
        addStates(album, &frame, *window);
        addLiveStates(album, &frame, *window);
    }
    addOptimizerStates(album, context);
    if (!context.auth->login(platform::currentUserName(), Tier::Free, nullptr))
        return 1;
    {
        auto* const window = new MainWindow(context);
        ChromeWindow frame(window, QStringLiteral("Torvelane"));
        frame.show();
        frame.activateWindow();
        settle();
        addPages(album, &frame, *window, QStringLiteral("locked-"));
    }
    addLogin(album, context);
    QTextStream(stdout) << album.count() << " pictures in " << arguments.at(1) << '\n';
    return album.failed() ? 1 : 0;
}
