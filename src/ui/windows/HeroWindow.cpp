#include "ui/windows/HeroWindow.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"
#include "ui/windows/NightSky.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

// No glow changes any colour by more than one step before it is composed anew: more often would show nobody anything. One
// of them breathes, and is looked at; the others drift, the fastest by a step in 1.8 seconds.
constexpr double breathStep = 0.85; // of alpha; a beat later it may be one
constexpr double driftSeconds = 1.6;
// A star is drawn anew when its light has changed by this much, of 1. Its brightest pixel then changes by six of 255.
constexpr double twinkleStep = 0.024;
constexpr double driftStep = 0.2; // The same for its place, in physical pixels.
constexpr int resizeSettleMs = 110;
constexpr int scrollPauseMs = 150;
constexpr int movePauseMs = 150;
constexpr int glowShrink = 4;

/// The logical pixels that the physical ones touch.
QRect toLogical(const QRectF& place, qreal ratio)
{
    return QRectF(place.x() / ratio, place.y() / ratio, place.width() / ratio, place.height() / ratio).toAlignedRect();
}

/// A picture that keeps its size is drawn on whole pixels, whatever its place: a hair larger, it is drawn where it is.
void drawBetweenPixels(QPainter& painter, const QRectF& place, const QPixmap& picture)
{
    painter.drawPixmap(place.adjusted(0, 0, 0.02, 0.02), picture, QRectF(picture.rect()));
}

/// How strong the last glow is.
double breath(double seconds)
{
    return (0.5 * std::sin(seconds / 3.5) + 0.5) * 0.4 + 0.6;
}

QTimer* singleShot(QObject* parent, int intervalMs)
{
    auto* const timer = new QTimer(parent);
    timer->setSingleShot(true);
    timer->setInterval(intervalMs);
    return timer;
}

} // namespace

HeroWindow::HeroWindow(QWidget* parent)
    : QWidget(parent)
    , m_repaintTimer(new FrameTimer(this, 2)) // stars move by a pixel a second
    , m_rebuildTimer(singleShot(this, resizeSettleMs))
    , m_scrollTimer(singleShot(this, scrollPauseMs))
    , m_moveTimer(singleShot(this, movePauseMs))
{
    setObjectName(QStringLiteral("Window"));
    setWindowTitle(QStringLiteral("Torvelane"));
    setMinimumSize(700, 540);
    resize(940, 660);
    // The background covers all of it, so that nothing needs to be cleared below.
    setAttribute(Qt::WA_OpaquePaintEvent);

    connect(m_repaintTimer, &FrameTimer::timeout, this, &HeroWindow::advance);
    connect(m_rebuildTimer, &QTimer::timeout, this, [this] {
        m_resizing = false;
        rebuildStatic();
        update();
        syncTimer();
    });
    connect(m_scrollTimer, &QTimer::timeout, this, [this] {
        m_scrolling = false;
        syncTimer();
    });
    connect(m_moveTimer, &QTimer::timeout, this, [this] {
        m_moving = false;
        syncTimer();
    });
    m_clock.start();
    m_animation.pause(m_clock.elapsed());
}

bool HeroWindow::isAnimating() const
{
    return m_repaintTimer->isActive();
}

void HeroWindow::pauseForScroll()
{
    m_scrolling = true;
    syncTimer();
    m_scrollTimer->start();
}

void HeroWindow::syncTimer()
{
    const bool wanted =
        isVisible() && !window()->isMinimized() && isActiveWindow() && !m_scrolling && !m_moving && !m_resizing;
    if (wanted == isAnimating())
        return;
    if (wanted) {
        m_animation.resume(m_clock.elapsed());
        m_repaintTimer->start();
    } else {
        m_repaintTimer->stop();
        m_animation.pause(m_clock.elapsed());
    }
}

double HeroWindow::animationSeconds() const
{
    return m_animation.seconds(m_clock.elapsed());
}

void HeroWindow::rebuildStatic()
{
    if (width() < 2 || height() < 2)
        return;
    m_ratio = devicePixelRatioF();
    m_builtSize = size();
    m_dot = nightSky::makeDot(m_ratio);
    m_glow =
        QPixmap(nightSky::physical(width(), m_ratio / glowShrink), nightSky::physical(height(), m_ratio / glowShrink));
    m_stars.clear();
    for (const nightSky::Star& star : nightSky::stars())
        m_stars.append(nightSky::makeStar(star, m_ratio));
    placeStars(0);
    m_bakedAt = -1;
    Q_EMIT backgroundRebuilt();
}

void HeroWindow::bakeGlow(double seconds)
{
    const double t = seconds;
    const double w = width();
    const double h = height();
    const double a = 0.05 * std::max(w, h);
    const std::array<QPointF, 4> centres = {{
        {0.06 * w + a * std::sin(t / 9), 0.02 * h + a * std::cos(t / 11)},
        {0.96 * w + a * std::sin(t / 13 + 2), 0.10 * h + a * std::cos(t / 8)},
        {0.22 * w + a * std::cos(t / 16), 1.05 * h + a * std::sin(t / 12)},
        {0.5 * w, 0.36 * h},
    }};

    m_glow.fill(Qt::transparent);
    QPainter painter(&m_glow);
    painter.scale(m_ratio / glowShrink, m_ratio / glowShrink);
    for (std::size_t i = 0; i < nightSky::glows().size(); ++i) {
        painter.setOpacity(i + 1 == nightSky::glows().size() ? breath(t) : 1.0);
        nightSky::drawGlow(painter, nightSky::glows()[i], centres[i], static_cast<int>(std::max(w, h)));
    }
}

/// Composes what the region shows, in logical pixels, on a painter of physical ones. No picture of the whole is kept: it
/// would be the largest of the program, and most paints need a few pixels of it, around a star or below a button.
void HeroWindow::paintBackground(QPainter& painter, const QRegion& region) const
{
    const QRect area = region.boundingRect();
    const QRect pixels =
        QRectF(area.x() * m_ratio, area.y() * m_ratio, area.width() * m_ratio, area.height() * m_ratio).toAlignedRect();
    painter.save();
    painter.fillRect(pixels, nightSky::night);
    nightSky::drawDots(painter, m_dot, size(), region, m_ratio);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    // While the window is being resized the glows stretch with it.
    const QSizeF stretched = m_builtSize == size() ? QSizeF(m_glow.size() * glowShrink) : QSizeF(size()) * m_ratio;
    painter.drawPixmap(QRectF(QPointF(0, 0), stretched), m_glow, QRectF(m_glow.rect()));
    painter.scale(m_ratio, m_ratio);
    nightSky::drawBottomFade(painter, size());
    painter.restore();
}

HeroWindow::StarLook HeroWindow::starLook(std::size_t index, double seconds) const
{
    const nightSky::Star& star = nightSky::stars()[index];
    const QSize sprite = m_stars[static_cast<qsizetype>(index)].size();
    const double u = seconds + star.phase;
    const QPointF centre(width() * star.x + 6 * std::sin(u / (1.5 * star.period)),
                         height() * star.y + 6 * std::cos(u / (1.8 * star.period)));
    const QPointF corner = centre * m_ratio - QPointF(sprite.width() / 2.0, sprite.height() / 2.0);
    return {QRectF(corner, sprite), nightSky::starOpacity(star, seconds)};
}

void HeroWindow::advance()
{
    QRegion changed = placeStars(twinkleStep);
    const double seconds = animationSeconds();
    const double breathed = std::abs(breath(seconds) - breath(m_bakedAt)) * nightSky::glows().back().alpha;
    if (breathed >= breathStep || seconds - m_bakedAt >= driftSeconds) {
        m_bakedAt = -1;
        changed = rect();
    }
    changed -= covered();
    if (changed.isEmpty())
        return;
    update(changed);
    Q_EMIT backgroundMoved(changed);
}

/// Gives the stars that have changed by as much their current look. All painting goes by these looks, so that a star
/// painted in parts is still one star.
QRegion HeroWindow::placeStars(double opacityStep)
{
    QRegion changed;
    const double seconds = animationSeconds();
    for (std::size_t i = 0; i < nightSky::stars().size() && !m_stars.isEmpty(); ++i) {
        const StarLook look = starLook(i, seconds);
        StarLook& shown = m_shownStars[i];
        const QPointF way = look.place.topLeft() - shown.place.topLeft();
        if (way.manhattanLength() < driftStep && std::abs(look.opacity - shown.opacity) < opacityStep)
            continue;
        changed += toLogical(shown.place, m_ratio);
        changed += toLogical(look.place, m_ratio);
        shown = look;
    }
    return changed;
}

void HeroWindow::addCover(QWidget* widget)
{
    if (!m_covers.contains(widget))
        m_covers.append(widget);
}

QRegion HeroWindow::covered() const
{
    QRegion region;
    for (const QPointer<QWidget>& cover : m_covers) {
        if (cover && cover->isVisible())
            region += QRect(cover->mapTo(this, QPoint(0, 0)), cover->size());
    }
    return region;
}

void HeroWindow::ensureGlow(double seconds)
{
    if (m_glow.isNull() || (!m_resizing && !qFuzzyCompare(m_ratio, devicePixelRatioF())))
        rebuildStatic();
    if (!m_glow.isNull() && m_bakedAt < 0 && !m_resizing) {
        bakeGlow(seconds);
        m_bakedAt = seconds;
    }
}

void HeroWindow::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    paintSky(painter, event->region());
}

void HeroWindow::paintSky(QPainter& painter, const QRegion& region)
{
    ensureGlow(animationSeconds());
    if (m_glow.isNull()) {
        painter.fillRect(region.boundingRect(), palette::base);
        return;
    }
    painter.save();
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.scale(1 / m_ratio, 1 / m_ratio);
    paintBackground(painter, region);
    for (std::size_t i = 0; i < nightSky::stars().size(); ++i) {
        const StarLook& look = m_shownStars[i];
        if (!region.intersects(toLogical(look.place, m_ratio)))
            continue;
        painter.setOpacity(look.opacity);
        drawBetweenPixels(painter, look.place, m_stars[static_cast<qsizetype>(i)]);
    }
    painter.restore();
}

HeroWindow* HeroWindow::around(const QWidget& widget)
{
    for (QWidget* parent = widget.parentWidget(); parent; parent = parent->parentWidget()) {
        if (auto* const hero = qobject_cast<HeroWindow*>(parent))
            return hero;
    }
    return nullptr;
}

QPixmap HeroWindow::backgroundSlice(const QRect& rect)
{
    ensureGlow(animationSeconds());
    const QRect visible = rect & this->rect();
    if (m_glow.isNull() || visible.isEmpty())
        return {};
    const auto scaled = [this](int logical) { return static_cast<int>(std::round(logical * m_ratio)); };
    const QRect area(scaled(visible.x()), scaled(visible.y()), scaled(visible.width()), scaled(visible.height()));
    QPixmap slice(area.size());
    {
        QPainter painter(&slice);
        painter.translate(-area.topLeft());
        paintBackground(painter, visible.adjusted(-1, -1, 1, 1));
    }
    slice.setDevicePixelRatio(m_ratio);
    return slice;
}

void HeroWindow::keyPressEvent(QKeyEvent* event)
{
    auto* const button = qobject_cast<QAbstractButton*>(focusWidget());
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (button && isReturn && !event->isAutoRepeat())
        button->click();
    else
        QWidget::keyPressEvent(event);
}

void HeroWindow::resizeEvent(QResizeEvent* event)
{
    QWidget::resizeEvent(event);
    if (m_glow.isNull()) {
        rebuildStatic();
        return;
    }
    // The first show of a window whose background was asked for before.
    if (!m_resizing && m_builtSize == size())
        return;
    m_resizing = true;
    syncTimer();
    m_rebuildTimer->start();
}

void HeroWindow::showEvent(QShowEvent* event)
{
    QWidget::showEvent(event);
    if (!m_filterInstalled && window() != this) {
        window()->installEventFilter(this);
        m_filterInstalled = true;
    }
    syncTimer();
}

void HeroWindow::hideEvent(QHideEvent* event)
{
    QWidget::hideEvent(event);
    syncTimer();
}

void HeroWindow::changeEvent(QEvent* event)
{
    QWidget::changeEvent(event);
    if (event->type() == QEvent::ActivationChange || event->type() == QEvent::WindowStateChange)
        syncTimer();
}

bool HeroWindow::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == window()) {
        switch (event->type()) {
        case QEvent::Move:
            m_moving = true;
            syncTimer();
            m_moveTimer->start();
            break;
        case QEvent::ActivationChange:
        case QEvent::WindowStateChange:
            syncTimer();
            break;
        default:
            break;
        }
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace torvelane
