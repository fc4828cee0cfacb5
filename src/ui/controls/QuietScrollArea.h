#pragma once

#include "ui/theme/OutsideStyleSheet.h"

#include <QScrollArea>

namespace torvelane {

/// A scroll area that goes up and down only, without a frame, and lets through what is behind it. It and its bars stay out
/// of the style sheet; the bar asks for its looks when it is painted, which in most of them it never is.
class QuietScrollArea : public OutsideStyleSheet<QScrollArea> {
    Q_OBJECT

public:
    explicit QuietScrollArea(QWidget* parent);

    void setWidget(QWidget* widget); ///< Owned from then on.

protected:
    bool event(QEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace torvelane
