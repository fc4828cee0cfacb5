#include "ui/pages/PlaceholderPage.h"

#include "core/Translate.h"
#include "ui/theme/Theme.h"

#include <QFrame>
#include <QLabel>
#include <QVBoxLayout>

namespace torvelane {

PlaceholderPage::PlaceholderPage(const QString& label, QWidget* parent) : Page(parent)
{
    auto* const outer = new QVBoxLayout(this);
    outer->setContentsMargins(0, 0, 0, 0);
    auto* const card = new QFrame;
    card->setObjectName(QStringLiteral("GlassCard"));
    auto* const column = new QVBoxLayout(card);
    column->setContentsMargins(28, 26, 28, 26);
    column->setSpacing(10);
    auto* const title = new QLabel(label);
    title->setObjectName(QStringLiteral("H2"));
    title->setFont(displayFont(18, QFont::Bold));
    auto* const text = new QLabel(
        translate("PlaceholderPage", "This page is not part of this version yet. Nothing here changes your PC."));
    text->setObjectName(QStringLiteral("Muted"));
    text->setWordWrap(true);
    column->addWidget(title);
    column->addWidget(text);
    outer->addWidget(card);
    outer->addStretch();
}

} // namespace torvelane
