#pragma once

#include <QEvent>
#include <QStyle>
#include <QWidget>

namespace torvelane {

/// A `Base` that paints all of itself and stays out of the application's style sheet. The style keeps some 7 KB of worked-out
/// rules for each widget that it has polished, and tiles and switches come by the hundred. Whoever asks the style about
/// such a widget all the same gets the right answer. GUI thread.
template <class Base>
class OutsideStyleSheet : public Base {
public:
    using Base::Base;

    /// Has the style forget what it may have been asked about this widget. By its own accord it does so only for those
    /// that it has polished, and would take the next widget at this address for this one.
    ~OutsideStyleSheet() override
    {
        this->setAttribute(Qt::WA_StyleSheet);
        this->style()->unpolish(this);
    }

protected:
    /// The base class would have the style polish it. Its other work there is for fonts and colors that are set for a
    /// class of widgets (QApplication::setFont with a class name), which nobody does.
    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::Polish)
            return Base::event(event);
        this->setAttribute(Qt::WA_WState_Polished);
        return true;
    }
};

} // namespace torvelane
