#include "ui/controls/StatTile.h"

#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/controls/GlassCard.h"
#include "ui/controls/PaintedText.h"
#include "ui/theme/Theme.h"

#include <QHelpEvent>
#include <QLocale>
#include <QPaintEvent>
#include <QPainter>
#include <QToolTip>

#include <algorithm>

namespace torvelane {

namespace {

constexpr int minimumTileWidth = 90;
constexpr int spacing = 4;
constexpr int valuePixelSize = 24;

const QString unknown = QStringLiteral("—");

const TextLook& captionLook()
{
    static const TextLook known = lookOf(QStringLiteral("Muted"));
    return known;
}

} // namespace

StatTile::StatTile(const QString& caption, const QColor& captionColor, QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_caption(caption)
    , m_captionColor(captionColor)
    , m_value(unknown)
    , m_valueFont(displayFont(valuePixelSize, QFont::Bold))
{
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Fixed);
    setAccessibleRole(this, QAccessible::Indicator);
    setAccessibleName(caption);
    setAccessibleValue(this, m_value);
}

void StatTile::setValuePixelSize(int pixelSize)
{
    m_valueFont = displayFont(pixelSize, QFont::Bold);
    updateGeometry();
    update();
}

void StatTile::setValue(const QString& value)
{
    if (m_value == value)
        return;
    m_value = value;
    setAccessibleValue(this, value);
    update(valueArea());
}

QString StatTile::percent(int figure)
{
    return figure < 0 ? unknown : translate("StatTile", "%1%").arg(QLocale().toString(figure));
}

/// Of the largest figure, so that tiles beside each other are equally high.
QSize StatTile::sizeHint() const
{
    const int texts = QFontMetrics(captionLook().font).height() + spacing
        + std::max(QFontMetrics(m_valueFont).height(), QFontMetrics(displayFont(valuePixelSize, QFont::Bold)).height());
    return {minimumTileWidth, texts + GlassCard::narrow.top() + GlassCard::narrow.bottom()};
}

QRect StatTile::inside() const
{
    return rect().marginsRemoved(GlassCard::narrow);
}

QRect StatTile::valueArea() const
{
    QRect area = inside();
    area.setTop(area.top() + QFontMetrics(captionLook().font).height() + spacing);
    return area;
}

bool StatTile::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return OutsideStyleSheet::event(event);
    if (QFontMetrics(m_valueFont).horizontalAdvance(m_value) > inside().width())
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), richTooltip(m_value), this, valueArea());
    else
        QToolTip::hideText();
    return true;
}

void StatTile::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    paintGlass(painter, rect(), event->region());
    QRect area = inside();
    area.setHeight(QFontMetrics(captionLook().font).height());
    if (event->region().intersects(area))
        drawText(painter, {captionLook().font, m_captionColor}, area, 0, m_caption);
    if (event->region().intersects(valueArea()))
        drawText(painter, {m_valueFont, palette::ink}, valueArea(), 0,
                 QFontMetrics(m_valueFont).elidedText(m_value, Qt::ElideRight, inside().width()));
}

} // namespace torvelane
