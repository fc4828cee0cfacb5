#pragma once

#include "ui/windows/PausableClock.h"

#include <QElapsedTimer>
#include <QList>
#include <QPixmap>
#include <QPointer>
#include <QRect>
#include <QWidget>

#include <array>

class QTimer;

namespace torvelane {

class FrameTimer;

/// The content of every top-level window: paints the animated background (dots, drifting glows, twinkling stars) and is
/// the base of the windows themselves. Lies in a ChromeWindow, which is the native window around it. Object name
/// "Window". A subclass sets its own size by resize() in its constructor; the frame keeps to it.
///
/// The animation runs only while somebody looks: visible, active, not minimised, and neither being moved, resized nor
/// scrolled. It goes on where it stopped. Main thread.
class HeroWindow : public QWidget {
    Q_OBJECT

public:
    explicit HeroWindow(QWidget* parent = nullptr);

    /// Holds the animation for a moment, so that it doesn't compete with a scroll. Called on every wheel step.
    void pauseForScroll();

    /// The background under a rectangle in this window's coordinates, as it was last composed, without the stars. Null
    /// if the rectangle lies outside or the window is too small to have a background. It is opaque.
    [[nodiscard]] QPixmap backgroundSlice(const QRect& rect);

    /// Paints the background as it is shown at the moment, with the stars, on a painter in this window's coordinates. The
    /// painter may touch no more than the region: it clips.
    void paintSky(QPainter& painter, const QRegion& region);

    /// The hero window that a widget lies in; null if it lies in none.
    [[nodiscard]] static HeroWindow* around(const QWidget& widget);

    /// Says that an opaque widget in this window shows a part of the background by itself: while it is visible, the
    /// background below it doesn't move.
    void addCover(QWidget* widget);

    /// Starts or stops the animation as the window's state asks for. Called wherever that state changes.
    void syncTimer();

    [[nodiscard]] bool isAnimating() const;

Q_SIGNALS:
    /// The static layers are new, after a resize or a change of the screen's scale: slices taken before are stale.
    void backgroundRebuilt();
    /// A part of the background is painted anew, since its glows or stars have moved.
    void backgroundMoved(const QRegion& region);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    /// Has Return press the focused button, as it does in dialogs.
    void keyPressEvent(QKeyEvent* event) override;
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void rebuildStatic();
    void bakeGlow(double seconds);
    void ensureGlow(double seconds);
    void paintBackground(QPainter& painter, const QRegion& region) const;
    void advance();
    [[nodiscard]] double animationSeconds() const;

    struct StarLook {
        QRectF place; ///< In physical pixels, and between them: a star that kept to whole ones would hop.
        double opacity = 0;
    };

    [[nodiscard]] StarLook starLook(std::size_t index, double seconds) const;
    QRegion placeStars(double opacityStep);
    [[nodiscard]] QRegion covered() const;

    FrameTimer* m_repaintTimer;
    QTimer* m_rebuildTimer;
    QTimer* m_scrollTimer;
    QTimer* m_moveTimer;
    bool m_resizing = false;
    bool m_scrolling = false;
    bool m_moving = false;
    bool m_filterInstalled = false;

    QElapsedTimer m_clock;
    PausableClock m_animation;
    double m_bakedAt =
        -1; ///< On the animation's clock; negative if the glows are to be composed anew when painted next.

    // All in physical pixels, with a ratio of 1: blits between them then need no resampling at any screen scale.
    qreal m_ratio = 1.0;
    QSize m_builtSize;
    QPixmap m_dot;
    QPixmap m_glow; ///< Of all glows; smaller by glowShrink, since nothing in there is sharp.
    QList<QPixmap> m_stars;
    std::array<StarLook, 14> m_shownStars;
    QList<QPointer<QWidget>> m_covers;
};

} // namespace torvelane
