#pragma once

#include <QObject>
#include <QPointer>

class QFocusFrame;
class QWidget;

namespace torvelane {

/// Shows where the keyboard is: a ring on the focused control once the user moves by Tab, and none for the mouse. One
/// object, made once for the application.
class FocusRing : public QObject {
    Q_OBJECT

public:
    explicit FocusRing(QObject* parent = nullptr);

    /// The control that wears the ring now; null if none does.
    [[nodiscard]] QWidget* target() const;

private:
    void follow(QWidget* focused);

    QPointer<QFocusFrame> m_frame;
};

} // namespace torvelane
