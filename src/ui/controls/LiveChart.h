#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QColor>
#include <QElapsedTimer>
#include <QList>
#include <QPixmap>

namespace torvelane {

class FrameTimer;

/// The last minute of some percentages, one curve each. A new sample enters at the right edge and glides left until the
/// next one, a second later; the picture of the curves is drawn once a sample and then only moved, and stands still where
/// nobody looks. GUI thread.
class LiveChart : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    static constexpr int seconds = 60;

    explicit LiveChart(QWidget* parent = nullptr);

    void addSeries(const QColor& color);

    /// One value for each series, in their order: at most 100, and negative where there is none, over which the curve
    /// goes on. Series without a value stay as they are.
    void pushSample(const QList<int>& values);

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
    void drawCurves();
    void drawSeries(QPainter& painter, const Series& series, const QRectF& area) const;

    QList<Series> m_series;
    QPixmap m_curves; ///< One step wider than the plot; null if it is to be drawn anew.
    int m_shift = 0;  ///< How far the curves stand to the right of their place, in pixels of the screen.
    QElapsedTimer m_sinceSample;
    FrameTimer* m_frames;
};

} // namespace torvelane
