#include "ui/controls/GlassCard.h"

#include "ui/controls/PaintedText.h"
#include "ui/theme/Theme.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPushButton>
#include <QVBoxLayout>

namespace torvelane {

GlassCard::GlassCard(int spacing, QWidget* parent, const QMargins& margins)
    : OutsideStyleSheet(parent)
    , m_column(new QVBoxLayout(this))
{
    setContentsMargins(1, 1, 1, 1); // its edge
    m_column->setContentsMargins(margins);
    m_column->setSpacing(spacing);
}

void GlassCard::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    paintGlass(painter, rect(), event->region());
}

TextLabel* makeTitle(const QString& text, int pixelSize, QWidget* parent)
{
    auto* const title = new TextLabel(QStringLiteral("H2"), text, parent);
    title->setFont(displayFont(pixelSize, QFont::Bold));
    return title;
}

TextLabel* makeText(const char16_t* objectName, const QString& text, QWidget* parent)
{
    auto* const label = new TextLabel(QString::fromUtf16(objectName), text, parent);
    label->setWordWrap(true);
    return label;
}

QPushButton* makeButton(const char16_t* variant, const QString& text, int minimumHeight, QWidget* parent)
{
    auto* const button = new QPushButton(text, parent);
    button->setProperty("variant", QString::fromUtf16(variant));
    button->setCursor(Qt::PointingHandCursor);
    button->setMinimumHeight(minimumHeight);
    return button;
}

} // namespace torvelane
