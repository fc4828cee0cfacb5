#include "ui/windows/HeroWindow.h"

#include "ui/controls/FrameTimer.h"
#include "ui/theme/Theme.h"

#include <QAbstractButton>
#include <QKeyEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace torvelane {

namespace {

// In this time no glow changes any colour by more than one step, so that composing the background, and repainting all
// that lies on it, more often would show nobody anything.
constexpr qint64 bakeIntervalMs = 396;
// A star is drawn anew when its light has changed by this much, of 1. Its brightest pixel then changes by six of 255.
constexpr double twinkleStep = 0.024;
constexpr double driftStep = 0.2; // The same for its place, in physical pixels.
constexpr int resizeSettleMs = 110;
constexpr int scrollPauseMs = 150;
constexpr int movePauseMs = 150;
constexpr int dotSpacing = 26;
constexpr int glowShrink = 4;

constexpr QColor night{5, 5, 5};

struct Star {
    double x; // of the window's width
    double y; // of the window's height
    double size;
    double phase;
    double period;
    QColor color;
};

constexpr QColor whiteStar{0xFF, 0xFF, 0xFF};
constexpr QColor blueStar{0xDB, 0xE7, 0xFF};
constexpr QColor yellowStar{0xFF, 0xF3, 0xD6};

constexpr std::array<Star, 14> starTable = {{
    {0.08, 0.18, 2.0, 0.0, 3.6, whiteStar},
    {0.16, 0.62, 3.0, 1.2, 4.4, blueStar},
    {0.23, 0.34, 1.5, 0.6, 3.9, yellowStar},
    {0.31, 0.12, 2.0, 2.1, 4.8, whiteStar},
    {0.38, 0.74, 1.5, 0.9, 3.7, blueStar},
    {0.46, 0.26, 3.0, 1.7, 4.1, whiteStar},
    {0.54, 0.58, 1.5, 0.3, 4.6, yellowStar},
    {0.61, 0.15, 2.0, 2.4, 3.8, blueStar},
    {0.68, 0.44, 2.5, 1.0, 4.3, whiteStar},
    {0.75, 0.70, 1.5, 0.5, 3.5, yellowStar},
    {0.82, 0.24, 2.0, 1.9, 4.7, blueStar},
    {0.89, 0.52, 3.0, 0.8, 4.0, whiteStar},
    {0.93, 0.10, 1.5, 1.4, 3.6, blueStar},
    {0.12, 0.82, 2.0, 2.7, 4.2, whiteStar},
}};

struct Glow {
    QColor color;
    double diameter; // of the window's larger side
    int alpha;
};

constexpr std::array<Glow, 4> glowTable = {{
    {{0x5F, 0x6A, 0xE9}, 1.2, 40},
    {{0x65, 0x71, 0xFF}, 1.04, 30},
    {{0xE8, 0x91, 0x5F}, 1.0, 14},
    {{0x5F, 0x6A, 0xE9}, 0.84, 42},
}};

QColor withAlpha(QColor color, int alpha)
{
    color.setAlpha(alpha);
    return color;
}

int physical(double logical, qreal ratio)
{
    return static_cast<int>(std::ceil(logical * ratio));
}

QPixmap transparentPixmap(int width, int height)
{
    QPixmap pixmap(width, height);
    pixmap.fill(Qt::transparent);
    return pixmap;
}

int dotAlpha(double distance)
{
    if (distance >= 0.8)
        return 0;
    return distance <= 0.3 ? 36 : static_cast<int>((1 - 2 * (distance - 0.3)) * 36);
}

QPixmap makeDot(qreal ratio)
{
    constexpr double radius = 0.9;
    const int side = 2 * physical(radius + 1, ratio);
    QPixmap pixmap = transparentPixmap(side, side);
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Qt::white);
    painter.drawEllipse(QPointF(side / 2.0, side / 2.0), radius * ratio, radius * ratio);
    return pixmap;
}

void drawDots(QPainter& painter, const QPixmap& dot, const QSize& size, qreal ratio)
{
    const double width = size.width();
    const double height = size.height();
    const QPointF corner(dot.width() / 2.0, dot.height() / 2.0);
    for (int y = 0; y < size.height(); y += dotSpacing) {
        for (int x = 0; x < size.width(); x += dotSpacing) {
            const int alpha =
                dotAlpha(std::hypot((x - 0.5 * width) / (0.8 * width), (y - 0.35 * height) / (0.7 * height)));
            if (alpha < 4)
                continue;
            painter.setOpacity(alpha / 255.0);
            painter.drawPixmap((QPointF(x, y) * ratio - corner).toPoint(), dot);
        }
    }
    painter.setOpacity(1.0);
}

void drawGlow(QPainter& painter, const Glow& glow, const QPointF& centre, int largerSide)
{
    const double radius = static_cast<int>(glow.diameter * largerSide) / 2.0;
    QRadialGradient gradient(centre, radius);
    gradient.setColorAt(0, withAlpha(glow.color, glow.alpha));
    gradient.setColorAt(1, withAlpha(glow.color, 0));
    painter.fillRect(QRectF(centre - QPointF(radius, radius), QSizeF(2 * radius, 2 * radius)), gradient);
}

QPixmap makeStar(const Star& star, qreal ratio)
{
    const double arm = 5 * star.size;
    const double halo = 6.5 * star.size;
    const double side = std::ceil((std::max(halo, arm) + 2) * 2);
    const QPointF centre(side / 2, side / 2);
    QPixmap pixmap = transparentPixmap(physical(side, ratio), physical(side, ratio));
    QPainter painter(&pixmap);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.scale(ratio, ratio);

    QRadialGradient haloLight(centre, halo);
    haloLight.setColorAt(0, withAlpha(star.color, 56));
    haloLight.setColorAt(1, withAlpha(star.color, 0));
    painter.setPen(Qt::NoPen);
    painter.setBrush(haloLight);
    painter.drawEllipse(centre, halo, halo);

    for (const QPointF& reach : {QPointF(arm, 0), QPointF(0, arm)}) {
        QLinearGradient light(centre - reach, centre + reach);
        light.setColorAt(0, withAlpha(star.color, 0));
        light.setColorAt(0.5, withAlpha(star.color, 179));
        light.setColorAt(1, withAlpha(star.color, 0));
        painter.setPen(QPen(light, 1, Qt::SolidLine, Qt::FlatCap));
        painter.drawLine(centre - reach, centre + reach);
    }

    painter.setPen(Qt::NoPen);
    painter.setBrush(star.color);
    painter.drawEllipse(centre, 0.5 * (star.size + 1), 0.5 * (star.size + 1));
    return pixmap;
}

void drawBottomFade(QPainter& painter, const QSize& size)
{
    const double top = 0.55 * size.height();
    const int height = static_cast<int>(0.45 * size.height());
    QLinearGradient gradient(0, top, 0, top + height);
    gradient.setColorAt(0, withAlpha(palette::base, 0));
    gradient.setColorAt(0.55, withAlpha(palette::base, 160));
    gradient.setColorAt(1, palette::base);
    painter.fillRect(QRectF(0, top, size.width(), size.height() - top), gradient);
}

double starOpacity(const Star& star, double seconds)
{
    const double u = seconds + star.phase;
    return (0.5 * std::sin(2 * std::numbers::pi * u / star.period) + 0.5) * 0.32 + 0.1;
}

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
    m_dot = makeDot(m_ratio);
    m_glow = QPixmap(physical(width(), m_ratio / glowShrink), physical(height(), m_ratio / glowShrink));
    m_stars.clear();
    for (const Star& star : starTable)
        m_stars.append(makeStar(star, m_ratio));
    placeStars(0);
    m_frame = QPixmap(physical(width(), m_ratio), physical(height(), m_ratio));
    m_lastBakeMs = -1;
    Q_EMIT backgroundRebuilt();
}

void HeroWindow::bakeFrame(double seconds)
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
    const double breath = (0.5 * std::sin(t / 3.5) + 0.5) * 0.4 + 0.6;

    m_glow.fill(Qt::transparent);
    {
        QPainter painter(&m_glow);
        painter.scale(m_ratio / glowShrink, m_ratio / glowShrink);
        for (std::size_t i = 0; i < glowTable.size(); ++i) {
            painter.setOpacity(i + 1 == glowTable.size() ? breath : 1.0);
            drawGlow(painter, glowTable[i], centres[i], static_cast<int>(std::max(w, h)));
        }
    }
    m_frame.fill(night);
    QPainter painter(&m_frame);
    drawDots(painter, m_dot, size(), m_ratio);
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    painter.drawPixmap(QRect(QPoint(0, 0), m_glow.size() * glowShrink), m_glow);
    painter.scale(m_ratio, m_ratio);
    drawBottomFade(painter, size());
}

HeroWindow::StarLook HeroWindow::starLook(std::size_t index, double seconds) const
{
    const Star& star = starTable[index];
    const QSize sprite = m_stars[static_cast<qsizetype>(index)].size();
    const double u = seconds + star.phase;
    const QPointF centre(width() * star.x + 6 * std::sin(u / (1.5 * star.period)),
                         height() * star.y + 6 * std::cos(u / (1.8 * star.period)));
    const QPointF corner = centre * m_ratio - QPointF(sprite.width() / 2.0, sprite.height() / 2.0);
    return {QRectF(corner, sprite), starOpacity(star, seconds)};
}

void HeroWindow::advance()
{
    QRegion changed = placeStars(twinkleStep);
    if (m_clock.elapsed() - m_lastBakeMs >= bakeIntervalMs) {
        m_lastBakeMs = -1;
        changed = rect();
    }
    update(changed - covered());
}

/// Gives the stars that have changed by as much their current look. All painting goes by these looks, so that a star
/// painted in parts is still one star.
QRegion HeroWindow::placeStars(double opacityStep)
{
    QRegion changed;
    const double seconds = animationSeconds();
    for (std::size_t i = 0; i < starTable.size() && !m_stars.isEmpty(); ++i) {
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

void HeroWindow::ensureFrame(double seconds)
{
    if (m_frame.isNull() || (!m_resizing && !qFuzzyCompare(m_ratio, devicePixelRatioF())))
        rebuildStatic();
    if (!m_frame.isNull() && m_lastBakeMs < 0 && !m_resizing) {
        bakeFrame(seconds);
        m_lastBakeMs = m_clock.elapsed();
    }
}

void HeroWindow::paintEvent(QPaintEvent* event)
{
    ensureFrame(animationSeconds());
    QPainter painter(this);
    if (m_frame.isNull()) {
        painter.fillRect(event->rect(), palette::base);
        return;
    }
    painter.setRenderHint(QPainter::SmoothPixmapTransform);
    if (m_resizing)
        painter.drawPixmap(rect(), m_frame);
    painter.scale(1 / m_ratio, 1 / m_ratio);
    if (!m_resizing)
        painter.drawPixmap(0, 0, m_frame);
    for (std::size_t i = 0; i < starTable.size(); ++i) {
        const StarLook& look = m_shownStars[i];
        if (!event->region().intersects(toLogical(look.place, m_ratio)))
            continue;
        painter.setOpacity(look.opacity);
        drawBetweenPixels(painter, look.place, m_stars[static_cast<qsizetype>(i)]);
    }
}

QPixmap HeroWindow::backgroundSlice(const QRect& rect)
{
    ensureFrame(animationSeconds());
    if (m_frame.isNull())
        return {};
    const auto scaled = [this](int logical) { return static_cast<int>(std::round(logical * m_ratio)); };
    const QRect area =
        QRect(scaled(rect.x()), scaled(rect.y()), scaled(rect.width()), scaled(rect.height())) & m_frame.rect();
    if (area.isEmpty())
        return {};
    QPixmap slice = m_frame.copy(area);
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
    if (m_frame.isNull()) {
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
