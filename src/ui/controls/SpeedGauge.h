#pragma once

#include <QWidget>

class QPropertyAnimation;

namespace torvelane {

/// A dial for the speed of a connection, with a scale on which small speeds have as much room as large ones. To assistive
/// technology it is the phase and the figure. GUI thread.
class SpeedGauge : public QWidget {
    Q_OBJECT
    Q_PROPERTY(double displayValue READ displayValue WRITE setDisplayValue)

public:
    enum class Phase : int { Idle = 0, Ping = 1, Download = 2, Upload = 3, Complete = 4 };

    explicit SpeedGauge(QWidget* parent = nullptr);

    /// Lets the needle move to a speed in Mbps; where nobody sees it, it jumps.
    void setSpeed(double mbps);

    void setPhase(Phase phase);

    /// Where the needle stands, in Mbps.
    [[nodiscard]] double displayValue() const { return m_displayValue; }
    void setDisplayValue(double mbps);

    /// Where a speed stands on the scale: 0 at its beginning, 1 at its end and beyond. Linear between two marks.
    [[nodiscard]] static double fractionOf(double mbps);

    [[nodiscard]] QSize sizeHint() const override;
    [[nodiscard]] QSize minimumSizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void tell();

    double m_displayValue = 0.0;
    double m_speed = 0.0; ///< What the needle moves to.
    Phase m_phase = Phase::Idle;
    QPropertyAnimation* m_animation;
};

} // namespace torvelane
