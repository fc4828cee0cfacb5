#include "ui/controls/GradientButton.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"

#include <QGraphicsDropShadowEffect>
#include <QPainter>
#include <QPainterPath>
#include <QPropertyAnimation>

#include <cmath>

namespace torvelane {

namespace {

constexpr int minimumHeightPx = 44;
constexpr int iconGapPx = 10;
constexpr double sweepMs = 3000.0;

QColor white(int alpha)
{
    return {255, 255, 255, alpha};
}

} // namespace

GradientButton::GradientButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent)
    , m_timer(new FrameTimer(this))
    , m_shadow(new QGraphicsDropShadowEffect(this))
{
    setCursor(Qt::PointingHandCursor);
    setAttribute(Qt::WA_TranslucentBackground);
    setMinimumHeight(minimumHeightPx);
    QFont bold = font();
    bold.setWeight(QFont::Bold);
    setFont(bold);

    m_shadow->setColor(QColor(95, 106, 233, 0));
    m_shadow->setBlurRadius(28);
    m_shadow->setOffset(0, 4);
    m_shadow->setEnabled(false);
    setGraphicsEffect(m_shadow);

    connect(m_timer, &FrameTimer::timeout, this, &GradientButton::advanceSheen);
    m_timer->follow(this);
    // Signals rather than mouse events: the space bar presses too, and a press that leaves the button releases it.
    connect(this, &QAbstractButton::pressed, this, [this] { animateTo(m_scaleAnimation, "scaleFactor", 0.97, 120); });
    connect(this, &QAbstractButton::released, this, [this] { animateTo(m_scaleAnimation, "scaleFactor", 1.0, 140); });
    m_clock.start();
}

void GradientButton::setStyle(Style style)
{
    if (m_style == style)
        return;
    m_style = style;
    if (style == Style::Outline) {
        m_sheenRunning = false;
        m_timer->unfollow();
    }
    update();
}

void GradientButton::setRoll(double roll)
{
    m_roll = roll;
    update();
}

void GradientButton::setScaleFactor(double scaleFactor)
{
    m_scaleFactor = scaleFactor;
    update();
}

void GradientButton::setGlow(double glow)
{
    m_glow = glow;
    m_shadow->setEnabled(glow > 0.001);
    m_shadow->setColor(QColor(95, 106, 233, static_cast<int>(115 * glow)));
    m_shadow->setBlurRadius(16 + 16 * glow);
    update();
}

QSize GradientButton::sizeHint() const
{
    const QSize hint = QPushButton::sizeHint();
    return {hint.width(), std::max(hint.height(), minimumHeight())};
}

void GradientButton::advanceSheen()
{
    const double phase = std::fmod(static_cast<double>(m_clock.elapsed()) / sweepMs, 1.0);
    if (std::abs(phase - m_sheen) < 0.001)
        return;
    m_sheen = phase;
    update();
}

void GradientButton::animateTo(QPropertyAnimation*& animation, const QByteArray& property, double target,
                               int durationMs)
{
    if (!animation) {
        animation = new QPropertyAnimation(this, property, this);
        animation->setEasingCurve(QEasingCurve::OutCubic);
    }
    // No start value: each start begins at what the property has just then.
    animation->stop();
    animation->setDuration(durationMs);
    animation->setEndValue(target);
    animation->start();
}

void GradientButton::enterEvent(QEnterEvent* event)
{
    animateTo(m_rollAnimation, "roll", 1.0, 500);
    animateTo(m_glowAnimation, "glow", 1.0, 200);
    QPushButton::enterEvent(event);
}

void GradientButton::leaveEvent(QEvent* event)
{
    animateTo(m_rollAnimation, "roll", 0.0, 500);
    animateTo(m_glowAnimation, "glow", 0.0, 200);
    QPushButton::leaveEvent(event);
}

void GradientButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRectF plate = QRectF(rect()).adjusted(1, 1, -1, -1);
    painter.translate(plate.center());
    painter.scale(m_scaleFactor, m_scaleFactor);
    painter.translate(-plate.center());
    paintPlate(painter, plate);
    paintLabel(painter);
}

void GradientButton::paintPlate(QPainter& painter, const QRectF& plate) const
{
    const double radius = m_style == Style::Outline ? 10.0 : plate.height() / 2;
    QPainterPath outline;
    outline.addRoundedRect(plate, radius, radius);
    painter.setClipPath(outline);

    if (m_style == Style::Outline) {
        painter.fillPath(outline, white(static_cast<int>(m_glow * 13)));
        painter.setPen(QPen(white(static_cast<int>(m_glow * 64 + 38)), 1));
        painter.drawPath(outline);
        return;
    }

    QLinearGradient band(0, 0, width(), 0);
    if (m_sheenRunning) {
        band = QLinearGradient(width() * m_sheen - width(), 0, width() * m_sheen, 0);
        band.setSpread(QGradient::RepeatSpread);
        band.setStops({{0.0, palette::accent}, {0.5, palette::accentDeep}, {1.0, palette::accent}});
    } else {
        band.setStops({{0.0, palette::accent}, {1.0, palette::accentDeep}});
    }
    painter.fillPath(outline, band);

    QLinearGradient light(0, plate.top(), 0, plate.top() + plate.height() * 0.55);
    light.setColorAt(0, white(80));
    light.setColorAt(1, white(0));
    painter.fillRect(plate, light);
}

void GradientButton::paintLabel(QPainter& painter) const
{
    QFont labelFont = font();
    labelFont.setWeight(m_style == Style::Outline ? QFont::Bold : QFont::Black);
    painter.setFont(labelFont);
    QColor color = palette::ink;
    if (!isEnabled())
        color.setAlphaF(0.4F);
    painter.setPen(color);

    const QString label = text().trimmed();
    const QFontMetrics metrics(labelFont);
    const int labelWidth = metrics.horizontalAdvance(label);
    const QSize iconArea = icon().isNull() ? QSize() : iconSize();
    const int iconSpace = icon().isNull() ? 0 : iconArea.width() + iconGapPx;
    const int left = (width() - labelWidth - iconSpace) / 2;
    if (!icon().isNull()) {
        const QRect place(QPoint(left, (height() - iconArea.height()) / 2), iconArea);
        icon().paint(&painter, place, Qt::AlignCenter, isEnabled() ? QIcon::Normal : QIcon::Disabled);
    }

    const int lineHeight = metrics.height();
    const QRect line(left + iconSpace, (height() - lineHeight) / 2, labelWidth + 1, lineHeight);
    painter.setClipRect(line, Qt::IntersectClip);
    const auto drawAt = [&](double offset) {
        painter.drawText(QRectF(line).translated(0, offset), Qt::AlignLeft | Qt::AlignVCenter | Qt::TextSingleLine,
                         label);
    };
    drawAt(-lineHeight * m_roll);
    drawAt(lineHeight * (1.0 - m_roll));
}

} // namespace torvelane
