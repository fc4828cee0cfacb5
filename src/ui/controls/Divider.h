#pragma once

#include "ui/theme/OutsideStyleSheet.h"
#include "ui/theme/Theme.h"

#include <QPainter>

namespace torvelane {

/// A hairline all across.
class Divider : public OutsideStyleSheet<QWidget> {
    Q_OBJECT

public:
    explicit Divider(QWidget* parent) : OutsideStyleSheet(parent) { setFixedHeight(1); }

protected:
    void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(rect(), palette::hairline); }
};

} // namespace torvelane
