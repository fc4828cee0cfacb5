#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QPixmap>

namespace torvelane {

class FrameTimer;

/// A small badge with a light that sweeps across it, for rows of the highest tier. Costs nothing while hidden.
class ProSparkle : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    explicit ProSparkle(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    void advance();

    QPixmap m_mask;
    FrameTimer* m_timer;
    double m_phase;
};

} // namespace torvelane
