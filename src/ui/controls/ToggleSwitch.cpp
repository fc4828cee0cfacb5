#include "ui/controls/ToggleSwitch.h"

#include "ui/theme/Theme.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPainter>
#include <QPropertyAnimation>

namespace torvelane {

namespace {

constexpr double disabledOpacity = 0.45;

// Tells assistive technology what the base class can't know, since the state isn't QAbstractButton's own.
class AccessibleSwitch : public QAccessibleWidget {
public:
    explicit AccessibleSwitch(ToggleSwitch* toggle) : QAccessibleWidget(toggle, QAccessible::CheckBox), m_toggle(toggle)
    {
    }

    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.checkable = true;
        state.checked = m_toggle->isOn();
        return state;
    }

    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        if (m_toggle->isEnabled())
            names.prepend(toggleAction());
        return names;
    }

    void doAction(const QString& name) override
    {
        if (name == toggleAction())
            m_toggle->click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    ToggleSwitch* m_toggle;
};

QAccessibleInterface* makeAccessible(const QString&, QObject* object)
{
    auto* const toggle = qobject_cast<ToggleSwitch*>(object);
    return toggle ? new AccessibleSwitch(toggle) : nullptr;
}

void installAccessibility()
{
    static const bool installed = [] {
        QAccessible::installFactory(makeAccessible);
        return true;
    }();
    Q_UNUSED(installed)
}

} // namespace

ToggleSwitch::ToggleSwitch(QWidget* parent) : OutsideStyleSheet(parent)
{
    installAccessibility();
    setCursor(Qt::PointingHandCursor);
    setFocusPolicy(Qt::TabFocus);
    setFixedSize(sizeHint());
}

QSize ToggleSwitch::sizeHint() const
{
    return {44, 24};
}

void ToggleSwitch::setOn(bool on, bool animate)
{
    const bool changed = m_on != on;
    m_on = on;
    if (m_animation)
        m_animation->stop();
    const double target = on ? 1.0 : 0.0;
    if (animate && isVisible()) {
        if (!m_animation) {
            m_animation = new QPropertyAnimation(this, "knobPos", this);
            m_animation->setDuration(150);
            m_animation->setEasingCurve(QEasingCurve::OutCubic);
        }
        m_animation->setStartValue(m_knobPos);
        m_animation->setEndValue(target);
        m_animation->start();
    } else {
        setKnobPos(target);
    }
    if (changed && QAccessible::isActive()) {
        QAccessible::State what;
        what.checked = true;
        QAccessibleStateChangeEvent event(this, what);
        QAccessible::updateAccessibility(&event);
    }
}

void ToggleSwitch::setKnobPos(double position)
{
    m_knobPos = position;
    update();
}

void ToggleSwitch::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    const double opacity = isEnabled() ? 1.0 : disabledOpacity;
    const QRectF track(0.5, 0.5, width() - 1, height() - 1);
    const double radius = track.height() / 2;

    painter.setOpacity(opacity);
    painter.setBrush(QColor(255, 255, 255, 38));
    painter.drawRoundedRect(track, radius, radius);
    if (m_knobPos > 0) {
        QLinearGradient fill(track.left(), 0, track.right(), 0);
        fill.setColorAt(0, palette::accent);
        fill.setColorAt(1, palette::accentDeep);
        painter.setOpacity(opacity * m_knobPos);
        painter.setBrush(fill);
        painter.drawRoundedRect(track, radius, radius);
        painter.setOpacity(opacity);
    }

    const double diameter = track.height() - 6;
    const double left = track.left() + 3 + (track.width() - 6 - diameter) * m_knobPos;
    painter.setBrush(palette::ink);
    painter.drawEllipse(QRectF(left, track.top() + 3, diameter, diameter));
}

} // namespace torvelane
