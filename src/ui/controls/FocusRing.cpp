#include "ui/controls/FocusRing.h"

#include "ui/controls/GradientButton.h"
#include "ui/controls/ToggleSwitch.h"

#include <QAbstractButton>
#include <QAbstractScrollArea>
#include <QApplication>
#include <QHash>
#include <QKeyEvent>
#include <QLineEdit>
#include <QPainter>

#include <algorithm>

namespace torvelane {

namespace {

constexpr double ringWidth = 2.0;
constexpr double pill = 1000; ///< A radius of half the height, whatever that is.

/// What the control looks like, as its style says.
struct Shape {
    double radius = 8;
    int trimmedRight = 0; ///< Belongs to the control but shows nothing.
};

Shape shapeOf(const QWidget* control)
{
    if (const QVariant radius = control->property(FocusRing::radiusProperty); radius.isValid())
        return {radius.toDouble()};
    if (qobject_cast<const ToggleSwitch*>(control) || qobject_cast<const GradientButton*>(control))
        return {pill};
    static const QHash<QString, Shape> byName{{QStringLiteral("NavItem"), {12}},
                                              {QStringLiteral("SubTab"), {4, 20}},
                                              {QStringLiteral("TierPill"), {pill}},
                                              {QStringLiteral("WinBtn"), {6}}};
    static const QHash<QString, Shape> byVariant{
        {QStringLiteral("primary"), {22}}, {QStringLiteral("ghost"), {10}}, {QStringLiteral("link"), {4}}};
    if (const auto named = byName.constFind(control->objectName()); named != byName.cend())
        return *named;
    return byVariant.value(control->property("variant").toString());
}

// Lies over a control, within its bounds: many reach to the very edge of what their parent shows.
class Ring : public QWidget {
public:
    explicit Ring(QWidget* control) : QWidget(control), m_shape(shapeOf(control))
    {
        setAttribute(Qt::WA_TransparentForMouseEvents);
        resize(control->size());
        show();
    }

protected:
    void paintEvent(QPaintEvent*) override
    {
        constexpr double inset = ringWidth / 2;
        const QRectF ring = QRectF(rect()).adjusted(inset, inset, -inset - m_shape.trimmedRight, -inset);
        const double radius = std::min(ring.height() / 2, std::max(m_shape.radius - inset, 0.0));
        QPainter painter(this);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(QPen(QColor(255, 255, 255, 217), ringWidth));
        painter.drawRoundedRect(ring, radius, radius);
    }

private:
    Shape m_shape;
};

bool movesFocus(int key)
{
    return key == Qt::Key_Tab || key == Qt::Key_Backtab || key == Qt::Key_Up || key == Qt::Key_Down
        || key == Qt::Key_Left || key == Qt::Key_Right;
}

bool pressesButton(int key)
{
    return (key == Qt::Key_Space || key == Qt::Key_Return || key == Qt::Key_Enter)
        && qobject_cast<QAbstractButton*>(QApplication::focusWidget());
}

// Text fields show the focus by their border and cursor, and a ring around a whole page would say nothing.
bool wearsRing(const QWidget* widget)
{
    return !widget->isWindow() && !qobject_cast<const QLineEdit*>(widget)
        && !qobject_cast<const QAbstractScrollArea*>(widget);
}

} // namespace

FocusRing::FocusRing(QObject* parent) : QObject(parent)
{
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) { follow(now); });
    qApp->installEventFilter(this);
}

QWidget* FocusRing::target() const
{
    return m_ring ? m_ring->parentWidget() : nullptr;
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::KeyPress:
        if (const int key = static_cast<const QKeyEvent*>(event)->key(); movesFocus(key) || pressesButton(key))
            m_byKeyboard = true;
        break;
    case QEvent::MouseButtonPress:
    case QEvent::TouchBegin:
        m_byKeyboard = false;
        delete m_ring;
        break;
    case QEvent::Resize:
        if (watched == target())
            m_ring->resize(target()->size());
        break;
    default:
        break;
    }
    return QObject::eventFilter(watched, event);
}

void FocusRing::follow(QWidget* focused)
{
    delete m_ring;
    if (focused && m_byKeyboard && wearsRing(focused))
        m_ring = new Ring(focused);
}

} // namespace torvelane
