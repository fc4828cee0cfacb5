#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace torvelane {

/// Shows where the keyboard is: a ring on the focused control while the user goes by the keyboard, also into the dialogs
/// that it opens, and none from the next press of the mouse on. One object, made once for the application.
class FocusRing : public QObject {
    Q_OBJECT

public:
    /// The dynamic property for the radius of a control whose looks are its own, in pixels. For all others the ring knows
    /// it from the style sheet's vocabulary.
    static constexpr const char* radiusProperty = "focusRadius";

    explicit FocusRing(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;

    /// The control that wears the ring now; null if none does.
    [[nodiscard]] QWidget* target() const;

private:
    void follow(QWidget* focused);

    bool m_byKeyboard = false;
    QPointer<QWidget> m_ring; // a child of the control, and gone with it
};

} // namespace torvelane
