#include "ui/controls/UsernameLabel.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"

#include <QPainter>

namespace torvelane {

namespace {

constexpr double glintWidth = 0.08;

/// The same colors at any time, moved: of each other gradient Qt keeps a table of its own, 12 KB large.
QLinearGradient glint(const QRectF& area, double sheen)
{
    const auto at = [&area](double part) { return QPointF(area.left() + part * area.width(), area.top()); };
    QLinearGradient gradient(at(sheen - glintWidth), at(sheen + glintWidth));
    gradient.setColorAt(0, palette::accent);
    gradient.setColorAt(0.5, palette::ink);
    gradient.setColorAt(1, palette::accent);
    return gradient;
}

} // namespace

UsernameLabel::UsernameLabel(QWidget* parent) : QLabel(parent), m_timer(new FrameTimer(this))
{
    connect(m_timer, &FrameTimer::timeout, this, &UsernameLabel::advanceSheen);
}

void UsernameLabel::setStyle(Style style)
{
    if (m_style == style)
        return;
    m_style = style;
    if (style == Style::Glint) {
        m_sheen = -0.1;
        m_timer->follow(this);
    } else {
        m_timer->unfollow();
    }
    update();
}

/// Only what the light has left and reached: most of the time it is where the name has no letter.
void UsernameLabel::advanceSheen()
{
    updateGlint();
    m_sheen += 0.03;
    if (m_sheen > 1.1)
        m_sheen = -0.1;
    updateGlint();
}

void UsernameLabel::updateGlint()
{
    const QRectF area = contentsRect();
    const QRectF light(area.left() + (m_sheen - glintWidth) * area.width(), area.top(), 2 * glintWidth * area.width(),
                       area.height());
    update(light.toAlignedRect().adjusted(-1, 0, 1, 0) & m_inked);
}

void UsernameLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::TextAntialiasing);
    painter.setFont(font());
    const QRect area = contentsRect();
    switch (m_style) {
    case Style::Plain:
        painter.setPen(palette::ink);
        break;
    case Style::Accent:
        painter.setPen(palette::accent);
        break;
    case Style::Glint:
        painter.setPen(QPen(QBrush(glint(area, m_sheen)), 0));
        break;
    }
    painter.drawText(area, static_cast<int>(alignment()),
                     fontMetrics().elidedText(text(), Qt::ElideRight, area.width()), &m_inked);
    m_inked.adjust(-2, -2, 2, 2); // a letter may lean out
}

} // namespace torvelane
