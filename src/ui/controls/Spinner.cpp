#include "ui/controls/Spinner.h"

#include "ui/theme/Theme.h"

#include <QPainter>

#include <algorithm>

namespace torvelane {

Spinner::Spinner(int diameter, QWidget* parent) : QWidget(parent), m_diameter(diameter)
{
    setFixedSize(diameter, diameter);
    setAttribute(Qt::WA_TranslucentBackground);
    m_animation.setStartValue(0.0);
    m_animation.setEndValue(360.0);
    m_animation.setDuration(900);
    m_animation.setLoopCount(-1);
    connect(&m_animation, &QVariantAnimation::valueChanged, this, qOverload<>(&QWidget::update));
    hide();
}

QSize Spinner::sizeHint() const
{
    return {m_diameter, m_diameter};
}

void Spinner::start()
{
    show();
    turn();
}

void Spinner::stop()
{
    m_animation.stop();
    hide();
}

void Spinner::turn()
{
    if (m_animation.state() != QAbstractAnimation::Running)
        m_animation.start();
}

void Spinner::showEvent(QShowEvent* event)
{
    turn();
    QWidget::showEvent(event);
}

void Spinner::hideEvent(QHideEvent* event)
{
    // Also when the page around it is hidden: showing it again starts the turn anew.
    m_animation.stop();
    QWidget::hideEvent(event);
}

void Spinner::paintEvent(QPaintEvent*)
{
    const double penWidth = std::max(m_diameter / 9.0, 2.0);
    const double inset = penWidth / 2 + 0.5;
    const QRectF ring = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QPen pen(QColor(255, 255, 255, 26), penWidth, Qt::SolidLine, Qt::RoundCap);
    painter.setPen(pen);
    painter.drawEllipse(ring);
    pen.setColor(palette::accent);
    painter.setPen(pen);
    // Sixteenths of a degree, counter-clockwise; the arc turns clockwise.
    const double angle = m_animation.currentValue().toDouble();
    painter.drawArc(ring, static_cast<int>(-angle * 16), -90 * 16);
}

} // namespace torvelane
