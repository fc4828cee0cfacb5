#include "ui/controls/Spinner.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"

#include <QPainter>

#include <algorithm>

namespace torvelane {

namespace {

constexpr qint64 turnMs = 900;

} // namespace

Spinner::Spinner(int diameter, QWidget* parent)
    : OutsideStyleSheet(parent)
    , m_diameter(diameter)
    , m_timer(new FrameTimer(this))
{
    setFixedSize(diameter, diameter);
    setAttribute(Qt::WA_TranslucentBackground);
    connect(m_timer, &FrameTimer::timeout, this, qOverload<>(&QWidget::update));
    m_timer->follow(this);
    hide();
}

QSize Spinner::sizeHint() const
{
    return {m_diameter, m_diameter};
}

void Spinner::start()
{
    m_clock.start();
    setShown(this, true);
}

void Spinner::stop()
{
    hide();
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
    const double angle = m_clock.isValid() ? static_cast<double>(m_clock.elapsed() % turnMs) * 360.0 / turnMs : 0.0;
    painter.drawArc(ring, static_cast<int>(-angle * 16), -90 * 16);
}

} // namespace torvelane
