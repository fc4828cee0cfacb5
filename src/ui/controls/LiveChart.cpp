#include "ui/controls/LiveChart.h"

#include "ui/controls/AccessibleRole.h"
#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"

#include <QPaintEvent>
#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

constexpr int maximumPoints = LiveChart::seconds + 1;
constexpr double glideMs = 1000.0;
constexpr int topMargin = 4;
constexpr int bottomMargin = 18;
constexpr int labelHeight = 14;
constexpr int labelGap = 2;
constexpr QColor gridColor(255, 255, 255, 22);
constexpr int fillAlpha = 70;
constexpr double curveWidth = 2.0;
/// How many points a new sample has drawn: itself, the one that it is joined to, and the one before, beyond the pen's edge.
constexpr qsizetype changingPoints = 3;

} // namespace

LiveChart::LiveChart(QWidget* parent) : OutsideStyleSheet(parent), m_frames(new FrameTimer(this))
{
    setAttribute(Qt::WA_TranslucentBackground);
    setAccessibleRole(this, QAccessible::Chart);
    connect(m_frames, &FrameTimer::timeout, this, &LiveChart::glide);
    m_frames->follow(this);
}

QSize LiveChart::minimumSizeHint() const
{
    return {200, 120};
}

void LiveChart::addSeries(const QColor& color)
{
    m_series.append({color, {}});
}

void LiveChart::pushSample(const QList<int>& values)
{
    for (qsizetype i = 0; i < std::min(values.size(), m_series.size()); ++i) {
        QList<int>& points = m_series[i].points;
        points.append(std::min(values.at(i), 100));
        if (points.size() > maximumPoints)
            points.removeFirst();
    }
    if (!extendCurves())
        m_curves = {};
    chooseGround();
    m_sinceSample.start();
    m_shift = m_frames->isActive() ? static_cast<int>(std::lround(step() * devicePixelRatioF())) : 0;
    update(plot().toAlignedRect());
}

/// A movement of less than a pixel needs no frame.
void LiveChart::glide()
{
    if (m_shift == 0)
        return;
    const double left = std::max(0.0, 1.0 - static_cast<double>(m_sinceSample.elapsed()) / glideMs);
    const int shift = static_cast<int>(std::lround(left * step() * devicePixelRatioF()));
    if (std::exchange(m_shift, shift) != shift)
        update(plot().adjusted(0, m_curvesTop / devicePixelRatioF(), 0, 0).toAlignedRect());
}

QRectF LiveChart::plot() const
{
    return QRectF(rect()).adjusted(0, topMargin, 0, -bottomMargin);
}

double LiveChart::step() const
{
    return plot().width() / (seconds - 1);
}

void LiveChart::resizeEvent(QResizeEvent* event)
{
    OutsideStyleSheet::resizeEvent(event);
    m_curves = {};
}

void LiveChart::hideEvent(QHideEvent* event)
{
    OutsideStyleSheet::hideEvent(event);
    m_curves = {};
    m_shift = 0;
    setAttribute(Qt::WA_OpaquePaintEvent, false);
    m_ground = {};
}

void LiveChart::setGround(std::function<void(QPainter& painter, const QRegion& region)> paint)
{
    m_paintGround = std::move(paint);
}

/// A widget that paints what lies behind it isn't painted together with that.
void LiveChart::groundChanged(const QRegion& region)
{
    if (m_ground.isNull())
        return;
    m_staleGround += region;
    update(region);
}

/// Below an effect, as of a page that fades in, what lies behind has to be painted as well.
void LiveChart::chooseGround()
{
    bool keeps = m_paintGround && isVisible();
    for (const QWidget* widget = this; widget && keeps; widget = widget->parentWidget())
        keeps = !widget->graphicsEffect();
    setAttribute(Qt::WA_OpaquePaintEvent, keeps);
    if (!keeps)
        m_ground = {};
}

/// Where the pixels of the chart begin depends on its place where the screen's scale is no whole number.
void LiveChart::refreshGround()
{
    const double ratio = devicePixelRatioF();
    const QRect logical(mapTo(window(), QPoint(0, 0)), size());
    const auto pixels = [ratio](int length) { return static_cast<int>(std::lround(length * ratio)); };
    const QRect place(QPoint(pixels(logical.left()), pixels(logical.top())),
                      QPoint(pixels(logical.left() + width()) - 1, pixels(logical.top() + height()) - 1));
    if (m_ground.isNull() || place != m_groundPlace) {
        m_groundPlace = place;
        if (m_ground.size() != place.size())
            m_ground = QPixmap(place.size());
        m_staleGround = rect();
    }
    if (m_staleGround.isEmpty())
        return;
    QPainter painter(&m_ground);
    painter.translate(-place.topLeft());
    painter.scale(ratio, ratio);
    painter.translate(logical.topLeft());
    painter.setClipRegion(m_staleGround);
    m_paintGround(painter, m_staleGround);
    drawFrame(painter, m_staleGround);
    m_staleGround = {};
}

/// The first row that a curve needs.
int LiveChart::curvesTop() const
{
    int highest = 0;
    for (const Series& series : std::as_const(m_series))
        highest = std::max(highest, series.points.isEmpty() ? 0 : std::ranges::max(series.points));
    const double above = plot().height() * (100 - highest) / 100.0 - curveWidth;
    return std::max(0, static_cast<int>(std::floor(above * devicePixelRatioF())));
}

/// A pixel more than what is seen, since the newest point lies anywhere within the last one.
double LiveChart::curvesWidth() const
{
    return (plot().width() + step()) * devicePixelRatioF() + 1;
}

/// False after the size or the screen's scale has changed as well.
bool LiveChart::hasCurves() const
{
    return !m_curves.isNull() && m_curves.width() == static_cast<int>(std::ceil(curvesWidth()));
}

void LiveChart::drawCurves()
{
    const double ratio = devicePixelRatioF();
    m_curvesTop = curvesTop();
    m_curvesEnd = curvesWidth();
    const QSize size(static_cast<int>(std::ceil(m_curvesEnd)), static_cast<int>(plot().height() * ratio) - m_curvesTop);
    m_curves = QPixmap(size.expandedTo({1, 1}));
    m_curves.fill(Qt::transparent);
    drawPoints(maximumPoints, m_curves.rect());
}

/// Moves the picture to the left by whole pixels and draws what a new sample changes: from the pen's edge at the point
/// before it. False where that isn't all, or the picture has rows that no curve has needed for a while.
bool LiveChart::extendCurves()
{
    if (!hasCurves())
        return false;
    for (const Series& series : std::as_const(m_series)) {
        const auto known = std::ranges::count_if(series.points.last(std::min(changingPoints, series.points.size())),
                                                 [](int value) { return value >= 0; });
        if (known != 0 && known != changingPoints)
            return false;
    }
    const int top = curvesTop();
    if (top < m_curvesTop || top > m_curvesTop + m_curves.height() / 4)
        return false;
    const double ratio = devicePixelRatioF();
    const double end = m_curvesEnd + step() * ratio;
    const int away = std::max(0, static_cast<int>(std::ceil(end - m_curves.width())));
    m_curves.scroll(-away, 0, m_curves.rect());
    const int changed = static_cast<int>(std::floor(m_curvesEnd - away - curveWidth * ratio));
    m_curvesEnd = end - away;
    const QRect part = m_curves.rect().adjusted(std::max(0, changed), 0, 0, 0);
    QPainter eraser(&m_curves);
    eraser.setCompositionMode(QPainter::CompositionMode_Source);
    eraser.fillRect(part, Qt::transparent);
    eraser.end();
    drawPoints(changingPoints, part);
    return true;
}

/// Draws what the picture shows in a part of it that is empty, where no more than the last `count` points are seen.
void LiveChart::drawPoints(qsizetype count, const QRect& where)
{
    const double ratio = devicePixelRatioF();
    QPainter painter(&m_curves);
    painter.setClipRect(where);
    painter.translate(0, -m_curvesTop);
    painter.scale(ratio, ratio);
    painter.setRenderHint(QPainter::Antialiasing);
    for (const Series& series : std::as_const(m_series))
        drawSeries(painter, series, count);
}

void LiveChart::drawSeries(QPainter& painter, const Series& series, qsizetype count) const
{
    if (series.points.size() < 2)
        return;
    const QRectF area(0, 0, m_curvesEnd / devicePixelRatioF(), plot().height());
    const QList<int> points = series.points.last(std::min(count, series.points.size()));
    QPainterPath curve;
    double firstX = 0.0;
    double x = area.right() - static_cast<double>(points.size() - 1) * step();
    for (const int value : points) {
        const QPointF point(x, area.bottom() - area.height() * value / 100.0);
        x += step();
        if (value < 0)
            continue;
        if (curve.elementCount() == 0) {
            curve.moveTo(point);
            firstX = point.x();
        } else {
            curve.lineTo(point);
        }
    }
    if (curve.isEmpty())
        return;
    QPainterPath below = curve;
    below.lineTo(curve.currentPosition().x(), area.bottom());
    below.lineTo(firstX, area.bottom());
    below.closeSubpath();
    QColor color = series.color;
    QLinearGradient fill(area.topLeft(), area.bottomLeft());
    color.setAlpha(fillAlpha);
    fill.setColorAt(0, color);
    color.setAlpha(0);
    fill.setColorAt(1, color);
    painter.fillPath(below, fill);
    painter.strokePath(curve, QPen(series.color, curveWidth, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
}

/// What doesn't move of the chart.
void LiveChart::drawFrame(QPainter& painter, const QRegion& region) const
{
    const QRectF area = plot();
    painter.setRenderHint(QPainter::Antialiasing);
    for (const int level : {0, 25, 50, 75, 100}) {
        const double y = area.bottom() - area.height() * level / 100.0;
        painter.fillRect(QRectF(area.left(), y - 0.5, area.width(), 1), gridColor); // less work than a line
    }
    const QRectF labels(area.left(), area.bottom() + labelGap, area.width(), labelHeight);
    if (region.intersects(labels.toAlignedRect())) {
        painter.setFont(bodyFont(10, QFont::Normal));
        painter.setPen(palette::faint);
        painter.drawText(labels, Qt::AlignLeft | Qt::AlignVCenter, QStringLiteral("%1 s").arg(seconds));
        painter.drawText(labels, Qt::AlignRight | Qt::AlignVCenter, QStringLiteral("0 s"));
    }
}

void LiveChart::paintEvent(QPaintEvent* event)
{
    const QRectF area = plot();
    const double ratio = devicePixelRatioF();
    QPainter painter(this);
    if (testAttribute(Qt::WA_OpaquePaintEvent)) {
        refreshGround();
        painter.save();
        painter.scale(1 / ratio, 1 / ratio);
        painter.drawPixmap(0, 0, m_ground);
        painter.restore();
    } else {
        drawFrame(painter, event->region());
    }
    if (!hasCurves())
        drawCurves();
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setClipRect(area);
    painter.scale(1 / ratio, 1 / ratio);
    painter.drawPixmap(QPointF(area.right() * ratio + m_shift - m_curvesEnd, area.top() * ratio + m_curvesTop),
                       m_curves);
}

} // namespace torvelane
