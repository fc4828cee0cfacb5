#pragma once

#include <QColor>
#include <QPixmap>
#include <QPointF>
#include <QRegion>

#include <array>

class QPainter;

/// The parts that HeroWindow composes its background of. Ratios are physical pixels to a logical one. GUI thread.
namespace torvelane::nightSky {

inline constexpr QColor night{5, 5, 5};

struct Star {
    double x; ///< Of the window's width.
    double y; ///< Of the window's height.
    double size;
    double phase;
    double period;
    QColor color;
};

struct Glow {
    QColor color;
    double diameter; ///< Of the window's larger side.
    int alpha;
};

[[nodiscard]] const std::array<Star, 14>& stars();
[[nodiscard]] const std::array<Glow, 4>& glows();

/// A length in physical pixels, rounded up.
[[nodiscard]] int physical(double logical, qreal ratio);

[[nodiscard]] QPixmap makeDot(qreal ratio);
[[nodiscard]] QPixmap makeStar(const Star& star, qreal ratio);

/// The dots that `region` shows a part of, in logical pixels, on a painter of physical ones.
void drawDots(QPainter& painter, const QPixmap& dot, const QSize& size, const QRegion& region, qreal ratio);

void drawGlow(QPainter& painter, const Glow& glow, const QPointF& centre, int largerSide);

/// On a painter of logical pixels.
void drawBottomFade(QPainter& painter, const QSize& size);

[[nodiscard]] double starOpacity(const Star& star, double seconds);

} // namespace torvelane::nightSky
