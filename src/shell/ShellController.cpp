#include "shell/ShellController.h"

#include "account/AuthService.h"
#include "account/LicenseService.h"
#include "account/TierWatcher.h"
#include "app/AppContext.h"
#include "core/Log.h"
#include "platform/Elevation.h"
#include "ui/controls/AppDialog.h"
#include "ui/main/MainWindow.h"
#include "ui/windows/ChromeWindow.h"
#include "ui/windows/LoginWindow.h"

#include <QLocale>
#include <QThreadPool>

#include <utility>

namespace torvelane {

namespace {

const QString category = QStringLiteral("shell");
const QString windowTitle = QStringLiteral("Torvelane");

void bringUp(ChromeWindow* frame)
{
    frame->show();
    frame->raise();
    frame->activateWindow();
}

/// Not deleted at once: the swap runs inside a signal of the window that goes.
void retire(ChromeWindow*& frame)
{
    if (ChromeWindow* const old = std::exchange(frame, nullptr)) {
        old->hide();
        old->deleteLater();
    }
}

} // namespace

ShellController::ShellController(AppContext& context, QObject* parent) : QObject(parent), m_context(&context)
{
    connect(context.tierWatcher.get(), &TierWatcher::loggedOut, this, &ShellController::onSessionEnded);
}

ShellController::~ShellController()
{
    delete m_mainFrame;
    delete m_loginFrame;
    // A page's worker may outlive its page, but not the context.
    QThreadPool::globalInstance()->waitForDone();
}

void ShellController::start()
{
    if (!m_context->auth->restoreSession()) {
        showLogin();
        return;
    }
    logMessage(LogLevel::Info, category, QStringLiteral("Session restored; showing main window"));
    showMain();
    m_context->license->start();
}

void ShellController::showLogin()
{
    if (!m_loginFrame) {
        m_loginWindow = new LoginWindow(m_context->auth.get(), platform::currentUserName());
        connect(m_loginWindow, &LoginWindow::loginSucceeded, this, &ShellController::onLoginSucceeded);
        m_loginFrame = new ChromeWindow(m_loginWindow, windowTitle);
    }
    if (!m_loginFrame->isVisible())
        m_loginFrame->takePlaceOf(m_mainFrame);
    bringUp(m_loginFrame);
    retire(m_mainFrame);
    m_mainWindow = nullptr;
}

void ShellController::showMain()
{
    if (!m_mainFrame) {
        m_mainFrame = new ChromeWindow(windowTitle);
        m_mainWindow = new MainWindow(*m_context, m_mainFrame);
        connect(m_mainWindow, &MainWindow::requestLogout, this, &ShellController::onLogoutRequested);
        m_mainFrame->setContent(m_mainWindow);
    }
    if (!m_mainFrame->isVisible())
        m_mainFrame->takePlaceOf(m_loginFrame);
    bringUp(m_mainFrame);
    retire(m_loginFrame);
    m_loginWindow = nullptr;
}

void ShellController::onLoginSucceeded()
{
    m_context->lastEmail = m_context->auth->userName();
    std::ignore = m_context->save();
    showMain();
    m_context->license->start();
}

void ShellController::onLogoutRequested()
{
    logMessage(LogLevel::Info, category, QStringLiteral("User signed out; reverting optimizations"));
    m_context->license->stop();
    m_context->tierWatcher->revertAll();
    m_context->auth->logout();
    showLogin();
}

void ShellController::onSessionEnded()
{
    logMessage(LogLevel::Warn, category, QStringLiteral("Session ended by server; returning to login"));
    m_context->license->stop();
    showLogin();
    // By the system's language alone, so that no translator is needed for it.
    const bool french = QLocale::system().language() == QLocale::French;
    AppDialog::info(m_loginFrame, french ? QStringLiteral("Session remplacée") : QStringLiteral("Session replaced"),
                    french ? QStringLiteral("Votre compte est maintenant actif sur un autre appareil. Les "
                                            "optimisations de ce PC ont été restaurées.")
                           : QStringLiteral("Your account is now active on another device. Optimizations on this PC "
                                            "have been reverted."));
}

} // namespace torvelane
