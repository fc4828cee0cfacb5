#include "ui/controls/TierPill.h"

#include "ui/theme/Theme.h"

#include <QDesktopServices>
#include <QPushButton>
#include <QUrl>

namespace torvelane {

QPushButton* makeTierPill(const QString& word, const QString& webBase, IconId icon, int height, int iconSize,
                          QWidget* parent)
{
    auto* const pill = new QPushButton(parent);
    pill->setObjectName(QStringLiteral("TierPill"));
    setTierPillText(pill, word);
    pill->setCursor(Qt::PointingHandCursor);
    pill->setMinimumHeight(height);
    pill->setIcon(iconFor(icon, palette::accent, iconSize));
    pill->setIconSize(QSize(iconSize, iconSize));
    pill->setStyleSheet(tierPillStyle(height / 2));
    // Without this a push button outside a dialog answers to Space alone.
    pill->setAutoDefault(true);
    QObject::connect(pill, &QPushButton::clicked, pill,
                     [address = QUrl(webBase + QStringLiteral("/pricing"))] { QDesktopServices::openUrl(address); });
    return pill;
}

void setTierPillText(QPushButton* pill, const QString& word)
{
    pill->setText(QStringLiteral("  ") + word);
    pill->setAccessibleName(word);
}

} // namespace torvelane
