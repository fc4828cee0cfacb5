#include "ui/pages/TweakCard.h"

#include "ui/theme/Theme.h"

#include <QCursor>
#include <QHelpEvent>
#include <QLabel>
#include <QPainter>
#include <QPainterPath>
#include <QToolTip>

namespace torvelane {

namespace {

constexpr double cornerRadius = 8.0;

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

} // namespace

TweakCard::TweakCard(QWidget* parent) : QFrame(parent)
{
    setMinimumWidth(200);
    setSizePolicy(QSizePolicy::Expanding, QSizePolicy::Preferred);
}

bool TweakCard::event(QEvent* event)
{
    if (event->type() == QEvent::Enter)
        setHovered(true);
    else if (event->type() == QEvent::Leave)
        setHovered(isUnderCursor());
    else if (event->type() == QEvent::ToolTip && showLabelTooltip(*static_cast<QHelpEvent*>(event)))
        return true;
    return QFrame::event(event);
}

/// The labels let the mouse through, and their tooltips with it: the card shows them in their place.
bool TweakCard::showLabelTooltip(const QHelpEvent& event)
{
    const auto labels = findChildren<QLabel*>();
    for (const QLabel* const label : labels) {
        const QRect area(label->mapTo(this, QPoint(0, 0)), label->size());
        if (label->toolTip().isEmpty() || !area.contains(event.pos()))
            continue;
        QToolTip::showText(event.globalPos(), label->toolTip(), this, area);
        return true;
    }
    return false;
}

void TweakCard::enterEvent(QEnterEvent* event)
{
    setHovered(true);
    QFrame::enterEvent(event);
}

void TweakCard::leaveEvent(QEvent* event)
{
    // Crossing a child also leaves the card; where the cursor really is decides.
    setHovered(isUnderCursor());
    QFrame::leaveEvent(event);
}

bool TweakCard::isUnderCursor() const
{
    return rect().contains(mapFromGlobal(QCursor::pos()));
}

void TweakCard::setHovered(bool hovered)
{
    if (m_hovered == hovered)
        return;
    m_hovered = hovered;
    update();
}

void TweakCard::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF area = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    QPainterPath path;
    path.addRoundedRect(area, cornerRadius, cornerRadius);
    QLinearGradient glass(area.topLeft(), area.bottomLeft());
    glass.setColorAt(0, withAlpha(palette::ink, 22));
    glass.setColorAt(1, withAlpha(palette::ink, 11));
    painter.fillPath(path, glass);
    painter.setPen(QPen(m_hovered ? withAlpha(palette::accent, 140) : withAlpha(palette::ink, 26), 1));
    painter.drawPath(path);
}

} // namespace torvelane
