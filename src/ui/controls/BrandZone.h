#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QPixmap>

namespace torvelane {

/// The logo at the head of a window's side; the letters of the name without its picture.
class BrandZone : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    explicit BrandZone(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    QPixmap m_logo;
};

} // namespace torvelane
