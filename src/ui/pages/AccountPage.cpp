#include "ui/pages/AccountPage.h"

#include "account/AuthService.h"
#include "core/Deployment.h"
#include "core/Translate.h"
#include "ui/controls/FocusRing.h"
#include "ui/controls/GlassCard.h"
#include "ui/theme/Icons.h"
#include "ui/theme/Theme.h"

#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

namespace {

constexpr int buttonIconSize = 18;

/// The one button that ends something: its red is its own.
const QString signOutStyle =
    QStringLiteral("QPushButton { border-radius: 22px; padding: 12px 26px; color: #FCA5A5; font-weight: 600;"
                   " background: rgba(225,66,88,0.12); border: 1px solid rgba(255,140,150,0.30); }"
                   "QPushButton:hover { background: rgba(225,66,88,0.20); border-color: rgba(255,140,150,0.50); }"
                   "QPushButton:focus { border-color: rgba(255,140,150,0.80); }");

QString identityLine(const UserProfile& profile)
{
    if (profile.userName.isEmpty())
        return profile.email;
    if (profile.email.isEmpty())
        return profile.userName;
    return QStringLiteral("%1 · %2").arg(profile.userName, profile.email);
}

} // namespace

AccountPage::AccountPage(const UserProfile& profile, QWidget* parent) : Page(parent), m_identity(identityLine(profile))
{
}

void AccountPage::build()
{
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    outer->setSpacing(16);

    auto* const card = new GlassCard(10, this, {28, 26, 28, 26});
    card->column()->addWidget(makeTitle(translate("MainWindow", "Account"), 18, card));
    card->column()->addWidget(makeText(u"Muted", m_identity, card));
    card->column()->addWidget(
        new TextLabel(QStringLiteral("Faint"), QStringLiteral("Torvelane %1").arg(deployment::version), card));
    outer->addWidget(card);

    auto* const signOut = new QPushButton(QStringLiteral("  ") + translate("MainWindow", "Sign out"), this);
    signOut->setAccessibleName(translate("MainWindow", "Sign out"));
    signOut->setCursor(Qt::PointingHandCursor);
    signOut->setMinimumHeight(44);
    signOut->setIcon(iconFor(IconId::LogOut, palette::danger, buttonIconSize));
    signOut->setIconSize(QSize(buttonIconSize, buttonIconSize));
    signOut->setStyleSheet(signOutStyle);
    signOut->setProperty(FocusRing::radiusProperty, 22);
    connect(signOut, &QPushButton::clicked, this, &AccountPage::signOutRequested);
    outer->addWidget(signOut, 0, Qt::AlignLeft);
    outer->addStretch();
}

} // namespace torvelane
