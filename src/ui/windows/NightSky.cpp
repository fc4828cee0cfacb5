#include "ui/windows/NightSky.h"

#include "ui/theme/Theme.h"

#include <QPainter>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace torvelane::nightSky {

namespace {

constexpr int dotSpacing = 26;

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

/// The first place of a dot that can reach `logical`.
int firstDot(int logical)
{
    return std::max(logical / dotSpacing, 0) * dotSpacing;
}

} // namespace

const std::array<Star, 14>& stars()
{
    return starTable;
}

const std::array<Glow, 4>& glows()
{
    return glowTable;
}

int physical(double logical, qreal ratio)
{
    return static_cast<int>(std::ceil(logical * ratio));
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

void drawDots(QPainter& painter, const QPixmap& dot, const QSize& size, const QRegion& region, qreal ratio)
{
    const QRect area = region.boundingRect();
    const double width = size.width();
    const double height = size.height();
    const QPointF corner(dot.width() / 2.0, dot.height() / 2.0);
    constexpr int reach = 3; // of a dot around its place, with a pixel to spare
    for (int y = firstDot(area.top() - reach); y <= area.bottom() + reach; y += dotSpacing) {
        for (int x = firstDot(area.left() - reach); x <= area.right() + reach; x += dotSpacing) {
            if (!region.intersects(QRect(x - reach, y - reach, 2 * reach + 1, 2 * reach + 1)))
                continue;
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

} // namespace torvelane::nightSky
