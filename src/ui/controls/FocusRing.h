#pragma once

#include <QObject>
#include <QPointer>
#include <QWidget>

namespace torvelane {

/// Shows where the keyboard is: a ring on the focused control once the user moves by Tab, and none for the mouse. One
/// object, made once for the application.
class FocusRing : public QObject {
    Q_OBJECT

public:
    explicit FocusRing(QObject* parent = nullptr);

    bool eventFilter(QObject* watched, QEvent* event) override;

    /// The control that wears the ring now; null if none does.
    [[nodiscard]] QWidget* target() const;

private:
    void follow(QWidget* focused);

    QPointer<QWidget> m_ring; // a child of the control, and gone with it
};

} // namespace torvelane
