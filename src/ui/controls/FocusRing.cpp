#include "ui/controls/FocusRing.h"

#include "ui/controls/ToggleSwitch.h"

#include <QAbstractScrollArea>
#include <QApplication>
#include <QEvent>
#include <QLineEdit>
#include <QPainter>

#include <algorithm>

namespace torvelane {

namespace {

constexpr double ringWidth = 2.0;
constexpr double maximumRadius = 10.0;

// Lies over a control, within its bounds: many reach to the very edge of what their parent shows.
class Ring : public QWidget {
public:
    explicit Ring(QWidget* control) : QWidget(control)
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        resize(control->size());
        show();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr double inset = ringWidth / 2;
        const QRectF ring = QRectF(rect()).adjusted(inset, inset, -inset, -inset);
        const bool isPill = qobject_cast<ToggleSwitch*>(parentWidget());
        const double radius = isPill ? ring.height() / 2 : std::min(ring.height() / 2, maximumRadius);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(255, 255, 255, 217), ringWidth));
        painter.drawRoundedRect(ring, radius, radius);
    }
};

// Text fields show the focus by their border and cursor, and a ring around a whole page would tell nothing.
bool wearsRing(const QWidget* widget)
{
    return !widget->isWindow() && !qobject_cast<const QLineEdit*>(widget)
        && !qobject_cast<const QAbstractScrollArea*>(widget);
}

} // namespace

FocusRing::FocusRing(QObject* parent) : QObject(parent)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

QWidget* FocusRing::target() const
{
    return m_ring ? m_ring->parentWidget() : nullptr;
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize && watched == target())
        m_ring->resize(target()->size());
    return QObject::eventFilter(watched, event);
}

void FocusRing::follow(QWidget* focused)
{
    if (QWidget* const former = target())
        former->removeEventFilter(this);
    delete m_ring;
    // Qt notes on the window that the keyboard moved the focus.
    if (!focused || !focused->window()->testAttribute(Qt::WA_KeyboardFocusChange) || !wearsRing(focused))
        return;
    m_ring = new Ring(focused);
    focused->installEventFilter(this);
}

} // namespace torvelane
