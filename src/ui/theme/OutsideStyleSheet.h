#pragma once

#include <QEvent>
#include <QWidget>

namespace torvelane {

/// Has the application's style sheet forget what it has worked out for this widget. GUI thread.
void forgetInStyleSheet(QWidget* widget);

/// A `Base` that paints all of itself and stays out of the application's style sheet. The style keeps some 7 KB of worked-out
/// rules for each widget that it has polished, and a window has a thousand. Whoever asks the style about such a widget all
/// the same gets the right answer. GUI thread.
template <class Base>
class OutsideStyleSheet : public Base {
public:
    using Base::Base;

    /// By its own accord the style forgets only the widgets that it has polished, and would take the next one at this
    /// address for this one.
    ~OutsideStyleSheet() override { forgetInStyleSheet(this); }

protected:
    /// The base class would have the style polish it. Its other work there is for fonts and colors that are set for a
    /// class of widgets (QApplication::setFont with a class name), which nobody does.
    bool event(QEvent* event) override
    {
        if (event->type() != QEvent::Polish)
            return Base::event(event);
        this->setAttribute(Qt::WA_WState_Polished);
        if (this->testAttribute(Qt::WA_StyleSheet)) // Labels and scroll bars ask when they are made.
            forgetInStyleSheet(this);
        return true;
    }
};

} // namespace torvelane
