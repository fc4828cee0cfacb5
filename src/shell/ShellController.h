#pragma once

#include <QObject>

namespace torvelane {

class AppContext;
class ChromeWindow;
class LoginWindow;
class MainWindow;

/// Decides which top-level window exists, the sign-in window or the main window, and swaps them as the session comes and
/// goes: the new one is on the screen before the old one goes, so that there is never none. Lives on main's stack around
/// the event loop. GUI thread.
class ShellController : public QObject {
    Q_OBJECT

public:
    /// The context outlives the controller.
    explicit ShellController(AppContext& context, QObject* parent = nullptr);
    ~ShellController() override;

    /// Called once: takes up the stored session and shows the window that goes with it.
    void start();

    [[nodiscard]] MainWindow* mainWindow() const { return m_mainWindow; }
    [[nodiscard]] LoginWindow* loginWindow() const { return m_loginWindow; }

private:
    void showLogin();
    void showMain();
    void onLoginSucceeded();
    void onLogoutRequested();
    void onSessionEnded();

    AppContext* m_context;
    LoginWindow* m_loginWindow = nullptr;
    MainWindow* m_mainWindow = nullptr;
    ChromeWindow* m_loginFrame = nullptr;
    ChromeWindow* m_mainFrame = nullptr;
};

} // namespace torvelane
