#include "ui/windows/SmoothScroller.h"

#include "ui/windows/HeroWindow.h"

#include <QAbstractScrollArea>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QComboBox>
#include <QScrollBar>
#include <QWheelEvent>

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

constexpr int glideMs = 150;
constexpr int minimumStepPx = 40;
constexpr double notch = 120.0; // one notch of a wheel, in eighths of a degree

// The scroll area that a wheel turn over the widget is for; null if there is none, or if the widget is one that the
// wheel sets rather than scrolls.
QAbstractScrollArea* scrollAreaOf(QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        if (qobject_cast<QComboBox*>(widget) || qobject_cast<QAbstractSpinBox*>(widget)
            || qobject_cast<QAbstractSlider*>(widget))
            return nullptr;
        if (auto* const area = qobject_cast<QAbstractScrollArea*>(widget))
            return area;
    }
    return nullptr;
}

HeroWindow* heroWindowOf(QWidget* widget)
{
    for (; widget; widget = widget->parentWidget()) {
        if (auto* const hero = qobject_cast<HeroWindow*>(widget))
            return hero;
    }
    return nullptr;
}

} // namespace

SmoothScroller::SmoothScroller(QObject* parent) : QObject(parent) { }

bool SmoothScroller::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Wheel && watched->isWidgetType())
        return scroll(static_cast<QWidget*>(watched), *static_cast<const QWheelEvent*>(event));
    return false;
}

bool SmoothScroller::scroll(QWidget* widget, const QWheelEvent& event)
{
    const QAbstractScrollArea* const area = scrollAreaOf(widget);
    QScrollBar* const bar = area ? area->verticalScrollBar() : nullptr;
    const int delta = event.angleDelta().y();
    if (!bar || bar->minimum() == bar->maximum() || delta == 0)
        return false;

    // Quick notches add up: the next one goes on from where the last one is heading. A glide that has ended says
    // nothing any more, since the bar may have been dragged away from its target.
    const Glide glide = m_glides.value(bar);
    const bool gliding = glide.animation && glide.animation->state() == QAbstractAnimation::Running;
    const int base = gliding ? glide.target : bar->value();
    const int step = std::max(bar->singleStep() * 3, minimumStepPx);
    glideTo(bar,
            std::clamp(static_cast<int>(std::trunc(base - step * (delta / notch))), bar->minimum(), bar->maximum()));
    if (HeroWindow* const hero = heroWindowOf(widget))
        hero->pauseForScroll();
    return true;
}

void SmoothScroller::glideTo(QScrollBar* bar, int target)
{
    if (!m_glides.contains(bar))
        connect(bar, &QObject::destroyed, this, [this, bar] { m_glides.remove(bar); });
    Glide& glide = m_glides[bar];
    // On its way there already. Begun anew over its last pixel again and again, it would never arrive.
    if (glide.animation && glide.animation->state() == QAbstractAnimation::Running && glide.target == target)
        return;
    glide.target = target;
    if (!glide.animation) {
        glide.animation = new QPropertyAnimation(bar, "value", bar);
        glide.animation->setEasingCurve(QEasingCurve::OutCubic);
        glide.animation->setDuration(glideMs);
        // A hand on the bar outranks the wheel.
        connect(bar, &QAbstractSlider::sliderPressed, glide.animation, &QAbstractAnimation::stop);
    }
    glide.animation->stop();
    glide.animation->setStartValue(bar->value());
    glide.animation->setEndValue(target);
    glide.animation->start();
}

} // namespace torvelane
