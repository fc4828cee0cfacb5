#include "ui/windows/LoginWindow.h"

#include "account/AuthService.h"
#include "core/Translate.h"
#include "ui/controls/BrandZone.h"
#include "ui/controls/GradientButton.h"
#include "ui/theme/Theme.h"

#include <QFrame>
#include <QLabel>
#include <QLineEdit>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int cardWidth = 380;

} // namespace

LoginWindow::LoginWindow(AuthService* auth, const QString& suggestedName, QWidget* parent)
    : HeroWindow(parent)
    , m_auth(auth)
    , m_name(new QLineEdit(suggestedName))
    , m_button(new GradientButton(translate("LoginWindow", "Sign in")))
    , m_errorBanner(new QFrame)
    , m_errorText(new QLabel)
{
    resize(760, 560);
    auto* const outer = new QVBoxLayout(this);
    auto* const card = new QFrame;
    card->setObjectName(QStringLiteral("GlassCard"));
    card->setFixedWidth(cardWidth);
    outer->addStretch();
    outer->addWidget(card, 0, Qt::AlignHCenter);
    outer->addStretch();

    auto* const column = new QVBoxLayout(card);
    column->setContentsMargins(32, 10, 32, 32);
    column->setSpacing(10);
    column->addWidget(new BrandZone);
    auto* const title = new QLabel(translate("LoginWindow", "Welcome to Torvelane"));
    title->setObjectName(QStringLiteral("H1"));
    title->setFont(displayFont(23, QFont::Bold));
    title->setAlignment(Qt::AlignHCenter);
    auto* const subtitle = new QLabel(translate("LoginWindow",
                                                "Your account stays on this PC. Choose the name that "
                                                "Torvelane calls you by."));
    subtitle->setObjectName(QStringLiteral("Subtitle"));
    subtitle->setAlignment(Qt::AlignHCenter);
    subtitle->setWordWrap(true);
    column->addWidget(title);
    column->addWidget(subtitle);
    column->addSpacing(10);

    auto* const nameLabel = new QLabel(translate("LoginWindow", "&Name"));
    nameLabel->setObjectName(QStringLiteral("FieldLabel"));
    nameLabel->setBuddy(m_name);
    m_name->setAccessibleName(translate("LoginWindow", "Name"));
    column->addWidget(nameLabel);
    column->addWidget(m_name);

    m_errorBanner->setObjectName(QStringLiteral("ErrorBanner"));
    auto* const banner = new QVBoxLayout(m_errorBanner);
    m_errorText->setWordWrap(true);
    banner->addWidget(m_errorText);
    m_errorBanner->hide();
    column->addWidget(m_errorBanner);
    column->addSpacing(6);
    column->addWidget(m_button);

    connect(m_button, &QPushButton::clicked, this, &LoginWindow::signIn);
    connect(m_name, &QLineEdit::returnPressed, this, &LoginWindow::signIn);
    m_name->setFocus();
    m_name->selectAll();
}

void LoginWindow::signIn()
{
    if (m_auth->login(m_name->text(), Tier::Pro, nullptr)) {
        Q_EMIT loginSucceeded();
        return;
    }
    showError(translate("LoginWindow", "Enter a name of 1 to 256 characters."));
}

void LoginWindow::showError(const QString& text)
{
    m_errorText->setText(text);
    m_errorBanner->show();
    m_name->setFocus();
}

} // namespace torvelane
