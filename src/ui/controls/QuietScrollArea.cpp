#include "ui/controls/QuietScrollArea.h"

#include <QEvent>
#include <QScrollBar>

namespace torvelane {

namespace {

/// In the place of the horizontal bar, which is never shown, but whose looks would be worked out all the same.
class NoScrollBar : public OutsideStyleSheet<QScrollBar> {
public:
    using OutsideStyleSheet::OutsideStyleSheet;
    [[nodiscard]] QSize sizeHint() const override { return {0, 0}; }
};

class QuietScrollBar : public OutsideStyleSheet<QScrollBar> {
public:
    explicit QuietScrollBar(QWidget* parent) : OutsideStyleSheet(Qt::Vertical, parent)
    {
        // As the style would have it.
        setAttribute(Qt::WA_Hover);
        setAttribute(Qt::WA_OpaquePaintEvent, false);
    }

    [[nodiscard]] QSize sizeHint() const override
    {
        static const QSize styled = [] {
            QScrollBar bar(Qt::Vertical);
            bar.ensurePolished();
            return bar.sizeHint();
        }();
        return styled;
    }
};

} // namespace

QuietScrollArea::QuietScrollArea(QWidget* parent) : OutsideStyleSheet(parent)
{
    setFrameShape(QFrame::NoFrame);
    setWidgetResizable(true);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setHorizontalScrollBar(new NoScrollBar(Qt::Horizontal, this));
    setVerticalScrollBar(new QuietScrollBar(this));
    // No stop for the Tab key where nothing shows it. The keys that scroll come here from what is focused inside.
    setFocusPolicy(Qt::NoFocus);
    viewport()->setAutoFillBackground(false);
    for (const QScrollBar* const bar : {horizontalScrollBar(), verticalScrollBar()})
        bar->parentWidget()->installEventFilter(this);
}

/// The base class would have it painted over what lies behind.
void QuietScrollArea::setWidget(QWidget* widget)
{
    OutsideStyleSheet::setWidget(widget);
    widget->setAutoFillBackground(false);
}

/// Nothing of it is painted: it has no frame.
bool QuietScrollArea::event(QEvent* event)
{
    if (event->type() == QEvent::Paint)
        return true;
    const bool handled = OutsideStyleSheet::event(event);
    // To lay itself out, now and when a bar comes or goes, the base class asks what the style sheet says of all three.
    if (event->type() == QEvent::Resize || event->type() == QEvent::MetaCall
        || event->type() == QEvent::LayoutRequest) {
        for (QWidget* const asked : {static_cast<QWidget*>(this), static_cast<QWidget*>(horizontalScrollBar()),
                                     static_cast<QWidget*>(verticalScrollBar())}) {
            forgetInStyleSheet(asked);
        }
    }
    return handled;
}

/// Keeps what the bars lie in out of the style sheet, too.
bool QuietScrollArea::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() != QEvent::Polish || watched == widget())
        return OutsideStyleSheet::eventFilter(watched, event);
    static_cast<QWidget*>(watched)->setAttribute(Qt::WA_WState_Polished);
    return true;
}

} // namespace torvelane
