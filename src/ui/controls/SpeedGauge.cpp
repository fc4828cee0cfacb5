#include "ui/controls/SpeedGauge.h"

#include "core/Translate.h"
#include "ui/controls/AccessibleRole.h"
#include "ui/theme/Theme.h"

#include <QLocale>
#include <QPainter>
#include <QPropertyAnimation>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>

namespace torvelane {

namespace {

/// The marks of the scale in Mbps, at equal distances.
constexpr std::array marks{0.0, 1.0, 5.0, 10.0, 25.0, 50.0, 100.0, 250.0, 500.0, 1000.0};

// Angles in degrees, counter-clockwise from three o'clock; the scale runs clockwise.
constexpr double scaleStart = 210.0;
constexpr double scaleSpan = 240.0;

constexpr int needleMs = 280;
constexpr QSizeF markSize(44, 18);
constexpr double smallestArc = 0.001;

QColor colorOf(SpeedGauge::Phase phase)
{
    switch (phase) {
    case SpeedGauge::Phase::Ping:
        return palette::muted;
    case SpeedGauge::Phase::Download:
        return palette::accent;
    case SpeedGauge::Phase::Upload:
    case SpeedGauge::Phase::Complete:
        return palette::success;
    case SpeedGauge::Phase::Idle:
        break;
    }
    return palette::faint;
}

QString wordFor(SpeedGauge::Phase phase)
{
    switch (phase) {
    case SpeedGauge::Phase::Ping:
        return translate("SpeedGauge", "Ping");
    case SpeedGauge::Phase::Download:
        return translate("SpeedGauge", "Download");
    case SpeedGauge::Phase::Upload:
        return translate("SpeedGauge", "Upload");
    case SpeedGauge::Phase::Complete:
        return translate("SpeedGauge", "Complete");
    case SpeedGauge::Phase::Idle:
        break;
    }
    return translate("SpeedGauge", "Ready");
}

QString figure(double mbps)
{
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    return locale.toString(mbps, 'f', mbps < 100.0 ? 1 : 0);
}

QFont withPointSize(QFont font, double size, int least)
{
    font.setPointSize(std::max(least, static_cast<int>(size)));
    return font;
}

/// The centre, and what the sizes are measured by.
struct Dial {
    explicit Dial(QSizeF size)
        : side(std::min(size.width(), size.height()))
        , centre(size.width() / 2, size.height() / 2 + 0.06 * side)
        , radius(0.42 * side)
        , ring(std::max(6.0, 0.045 * side))
    {
    }

    [[nodiscard]] QPointF at(double fraction, double distance) const
    {
        const double angle = (scaleStart - scaleSpan * fraction) * std::numbers::pi / 180.0;
        return centre + QPointF(std::cos(angle), -std::sin(angle)) * distance;
    }

    void arc(QPainter& painter, const QColor& color, double fraction) const
    {
        painter.setPen(QPen(color, ring, Qt::SolidLine, Qt::RoundCap));
        // Sixteenths of a degree; a negative span is clockwise.
        painter.drawArc(QRectF(centre - QPointF(radius, radius), QSizeF(radius, radius) * 2),
                        static_cast<int>(scaleStart * 16), static_cast<int>(-scaleSpan * fraction * 16));
    }

    void text(QPainter& painter, const QColor& color, const QFont& font, double top, double height,
              const QString& words) const
    {
        painter.setPen(color);
        painter.setFont(font);
        painter.drawText(QRectF(centre.x() - radius, centre.y() + top * radius, 2 * radius, height * radius),
                         Qt::AlignCenter, words);
    }

    double side;
    QPointF centre;
    double radius;
    double ring;
};

void paintMarks(QPainter& painter, const Dial& dial)
{
    painter.setPen(palette::faint);
    painter.setFont(withPointSize(bodyFont(14, QFont::Normal), 0.035 * dial.side, 7));
    for (std::size_t i = 0; i < marks.size(); ++i) {
        const double fraction = static_cast<double>(i) / static_cast<double>(marks.size() - 1);
        QRectF area({}, markSize);
        area.moveCenter(dial.at(fraction, dial.radius - dial.ring));
        painter.drawText(area, Qt::AlignCenter, QString::number(marks.at(i), 'g', 4));
    }
}

} // namespace

SpeedGauge::SpeedGauge(QWidget* parent)
    : QWidget(parent)
    , m_animation(new QPropertyAnimation(this, "displayValue", this))
{
    m_animation->setDuration(needleMs);
    m_animation->setEasingCurve(QEasingCurve::OutCubic);
    setAccessibleRole(this, QAccessible::Indicator);
    tell();
}

void SpeedGauge::setSpeed(double mbps)
{
    m_speed = mbps;
    tell();
    m_animation->stop();
    if (!isVisible()) {
        setDisplayValue(mbps);
        return;
    }
    m_animation->setStartValue(m_displayValue);
    m_animation->setEndValue(mbps);
    m_animation->start();
}

void SpeedGauge::setPhase(Phase phase)
{
    m_phase = phase;
    tell();
    update();
}

void SpeedGauge::setDisplayValue(double mbps)
{
    m_displayValue = mbps;
    update();
}

void SpeedGauge::tell()
{
    setAccessibleName(wordFor(m_phase));
    setAccessibleValue(this, QStringLiteral("%1 Mbps").arg(figure(m_speed)));
}

double SpeedGauge::fractionOf(double mbps)
{
    if (mbps <= marks.front())
        return 0.0;
    if (mbps >= marks.back())
        return 1.0;
    const auto* const upper = std::ranges::lower_bound(marks, mbps);
    const auto* const lower = upper - 1;
    return (static_cast<double>(lower - marks.begin()) + (mbps - *lower) / (*upper - *lower))
        / static_cast<double>(marks.size() - 1);
}

QSize SpeedGauge::sizeHint() const
{
    return {280, 240};
}

QSize SpeedGauge::minimumSizeHint() const
{
    return {220, 190};
}

void SpeedGauge::paintEvent(QPaintEvent*)
{
    const Dial dial(size());
    const QColor color = colorOf(m_phase);
    const double fraction = fractionOf(m_displayValue);
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);

    dial.arc(painter, QColor(23, 23, 23).lighter(140), 1.0);
    paintMarks(painter, dial);
    if (fraction > smallestArc)
        dial.arc(painter, color, fraction);

    painter.setPen(QPen(color, std::max(2.0, 0.012 * dial.side), Qt::SolidLine, Qt::RoundCap));
    painter.drawLine(dial.centre, dial.at(fraction, dial.radius - dial.ring / 2));
    painter.setPen(Qt::NoPen);
    painter.setBrush(color);
    painter.drawEllipse(dial.centre, 0.028 * dial.side, 0.028 * dial.side);

    dial.text(painter, palette::ink, withPointSize(displayFont(14, QFont::Bold), 0.16 * dial.side, 20), -0.3, 0.6,
              figure(m_displayValue));
    dial.text(painter, palette::muted, withPointSize(bodyFont(14, QFont::Normal), 0.05 * dial.side, 8), 0.22, 0.3,
              QStringLiteral("Mbps"));
    dial.text(painter, color, withPointSize(bodyFont(14, QFont::DemiBold), 0.055 * dial.side, 9), 0.46, 0.3,
              wordFor(m_phase));
}

} // namespace torvelane
