#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QElapsedTimer>

namespace torvelane {

class FrameTimer;

/// A turning arc that says that something is under way. Hidden until it is started; stands still in an inactive window.
class Spinner : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    explicit Spinner(int diameter, QWidget* parent = nullptr);

    void start();
    void stop();

    [[nodiscard]] QSize sizeHint() const override;

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    int m_diameter;
    QElapsedTimer m_clock;
    FrameTimer* m_timer;
};

} // namespace torvelane
