#pragma once

#include "ui/windows/HeroWindow.h"

class QFrame;
class QLabel;
class QLineEdit;

namespace torvelane {

class AuthService;
class GradientButton;

/// The sign-in window of the local account: a name and one button. Ends by loginSucceeded. GUI thread.
class LoginWindow : public HeroWindow {
    Q_OBJECT

public:
    /// `auth` outlives the window. `suggestedName` stands in the field at first.
    LoginWindow(AuthService* auth, const QString& suggestedName, QWidget* parent = nullptr);

Q_SIGNALS:
    void loginSucceeded();

private:
    void signIn();
    void showError(const QString& text);

    AuthService* m_auth;
    QLineEdit* m_name;
    GradientButton* m_button;
    QFrame* m_errorBanner;
    QLabel* m_errorText;
};

} // namespace torvelane
