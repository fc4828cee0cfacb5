#include "ui/FocusRing.h"

#include "ui/ToggleSwitch.h"

#include <QAbstractButton>
#include <QApplication>
#include <QFocusFrame>
#include <QPainter>

#include <algorithm>

namespace torvelane {

namespace {

constexpr double ringWidth = 2.0;
constexpr double maximumRadius = 10.0;

// Follows the widget by itself. Drawn within the widget's bounds: many lie at the very edge of what their parent shows.
class RingFrame : public QFocusFrame {
public:
    using QFocusFrame::QFocusFrame;

protected:
    void paintEvent(QPaintEvent*) override
    {
        if (!widget())
            return;
        const QPoint corner = widget()->mapToGlobal(QPoint()) - mapToGlobal(QPoint());
        constexpr double inset = ringWidth / 2;
        const QRectF ring = QRectF(QPointF(corner), QSizeF(widget()->size())).adjusted(inset, inset, -inset, -inset);
        const double radius =
            qobject_cast<ToggleSwitch*>(widget()) ? ring.height() / 2 : std::min(ring.height() / 2, maximumRadius);
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(255, 255, 255, 217), ringWidth));
        painter.drawRoundedRect(ring, radius, radius);
    }
};

} // namespace

FocusRing::FocusRing(QObject* parent) : QObject(parent)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
}

QWidget* FocusRing::target() const
{
    return m_frame ? m_frame->widget() : nullptr;
}

void FocusRing::follow(QWidget* focused)
{
    // Qt notes on the window that the keyboard moved the focus. Text fields show theirs by their border and cursor.
    const bool wanted =
        qobject_cast<QAbstractButton*>(focused) && focused->window()->testAttribute(Qt::WA_KeyboardFocusChange);
    if (!wanted) {
        if (m_frame)
            m_frame->setWidget(nullptr);
        return;
    }
    // The frame becomes a child of the widget's parent, and goes with it.
    if (!m_frame)
        m_frame = new RingFrame;
    m_frame->setWidget(focused);
}

} // namespace torvelane
