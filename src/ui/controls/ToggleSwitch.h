#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QAbstractButton>

class QPropertyAnimation;

namespace torvelane {

/// A switch between off and on. A click or the space bar only says that the user wants the other state: clicked()
/// carries none, and the owner calls setOn() with what holds. Takes the focus by Tab, not by a click. Whoever uses it
/// gives it an accessible name.
class ToggleSwitch : public OutsideStyleSheet<QAbstractButton> {
    Q_OBJECT
    Q_PROPERTY(double knobPos READ knobPos WRITE setKnobPos)

public:
    explicit ToggleSwitch(QWidget* parent = nullptr);

    [[nodiscard]] bool isOn() const { return m_on; }

    /// Sends no signal. Animates only if asked to and visible; otherwise the knob jumps.
    void setOn(bool on, bool animate);

    [[nodiscard]] double knobPos() const { return m_knobPos; }
    void setKnobPos(double position);

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    bool m_on = false;
    double m_knobPos = 0.0;
    QPropertyAnimation* m_animation = nullptr; ///< Null until it first moves.
};

} // namespace torvelane
