#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QColor>
#include <QElapsedTimer>
#include <QList>
#include <QPixmap>
#include <QRegion>

#include <functional>

namespace torvelane {

class FrameTimer;

/// The last minute of some percentages, one curve each. A new sample enters at the right edge and glides left until the
/// next one, a second later; the picture of the curves grows by a piece with each sample and is otherwise only moved, over
/// a picture of the ground that they lie on, and stands still where nobody looks. GUI thread.
class LiveChart : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    static constexpr int seconds = 60;

    explicit LiveChart(QWidget* parent = nullptr);

    void addSeries(const QColor& color);

    /// One value for each series, in their order: at most 100, and negative where there is none, over which the curve
    /// goes on. Series without a value stay as they are.
    void pushSample(const QList<int>& values);

    /// Has the chart paint what lies behind it by itself, from a picture that it keeps: while the curves move, nothing
    /// else is painted. `paint` does so on a painter in the chart's coordinates that is clipped to the region.
    void setGround(std::function<void(QPainter& painter, const QRegion& region)> paint);

    /// What lies behind the chart looks differently there, in the chart's coordinates.
    void groundChanged(const QRegion& region);

    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    struct Series {
        QColor color;
        QList<int> points;
    };

    [[nodiscard]] QRectF plot() const;
    [[nodiscard]] double step() const;
    void glide();
    void chooseGround();
    void refreshGround();
    void drawFrame(QPainter& painter, const QRegion& region) const;
    [[nodiscard]] int curvesTop() const;
    [[nodiscard]] double curvesWidth() const;
    [[nodiscard]] bool hasCurves() const;
    void drawCurves();
    bool extendCurves();
    void drawPoints(qsizetype count, const QRect& where);
    void drawSeries(QPainter& painter, const Series& series, qsizetype count) const;

    QList<Series> m_series;
    /// One step and a pixel wider than the plot, in pixels of the screen; null if it is to be drawn anew.
    QPixmap m_curves;
    double m_curvesEnd = 0; ///< Where the newest point is in it.
    int m_curvesTop = 0;    ///< The rows of the plot above all curves, in pixels of the screen: not in the picture.
    std::function<void(QPainter& painter, const QRegion& region)> m_paintGround;
    QPixmap m_ground; ///< What lies behind, with the frame, in pixels of the screen; null if it isn't kept.
    QRegion m_staleGround;
    QRect m_groundPlace; ///< In the window, in pixels of the screen.
    int m_shift = 0;     ///< How far the curves stand to the right of their place, in pixels of the screen.
    QElapsedTimer m_sinceSample;
    FrameTimer* m_frames;
};

} // namespace torvelane
