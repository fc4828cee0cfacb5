#include "ui/controls/FrameTimer.h"

#include <QCoreApplication>
#include <QEvent>
#include <QPointer>
#include <QTimer>
#include <QWidget>

namespace torvelane {

namespace {

int active = 0;
int beats = 0;

/// Goes with the application.
QTimer* commonTimer()
{
    static QPointer<QTimer> timer;
    if (!timer) {
        timer = new QTimer(QCoreApplication::instance());
        timer->setInterval(FrameTimer::intervalMs);
        timer->setTimerType(Qt::PreciseTimer);
        QObject::connect(timer, &QTimer::timeout, [] { ++beats; });
    }
    return timer;
}

} // namespace

void FrameTimer::start()
{
    if (isActive())
        return;
    QTimer* const timer = commonTimer();
    m_beat = connect(timer, &QTimer::timeout, this, &FrameTimer::beat);
    if (++active == 1)
        timer->start();
}

void FrameTimer::stop()
{
    if (!isActive())
        return;
    disconnect(m_beat);
    m_beat = {};
    if (--active == 0)
        commonTimer()->stop();
}

void FrameTimer::follow(QWidget* widget)
{
    unfollow();
    m_followed = widget;
    widget->installEventFilter(this);
    adapt();
}

void FrameTimer::unfollow()
{
    if (m_followed)
        m_followed->removeEventFilter(this);
    m_followed = nullptr;
    stop();
}

bool FrameTimer::eventFilter(QObject*, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Show:
    case QEvent::WindowActivate:
    case QEvent::WindowDeactivate:
    case QEvent::Paint: // of a window that was minimised
        adapt();
        break;
    case QEvent::Hide:
        stop();
        break;
    default:
        break;
    }
    return false;
}

void FrameTimer::beat()
{
    if (beats % m_everyNth != 0)
        return;
    // Not every system deactivates what it minimises.
    if (m_followed && m_followed->window()->isMinimized())
        stop();
    else
        Q_EMIT timeout();
}

void FrameTimer::adapt()
{
    if (m_followed->isVisible() && m_followed->isActiveWindow())
        start();
    else
        stop();
}

} // namespace torvelane
