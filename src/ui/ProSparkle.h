#pragma once

#include <QPixmap>
#include <QWidget>

class QTimer;

namespace torvelane {

/// A small badge with a light that sweeps across it, for rows of the highest tier. Costs nothing while hidden.
class ProSparkle : public QWidget {
    Q_OBJECT

public:
    explicit ProSparkle(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    void advance();

    QPixmap m_mask;
    QTimer* m_timer;
    double m_phase;
};

} // namespace torvelane
