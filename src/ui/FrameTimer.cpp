#include "ui/FrameTimer.h"

#include <QCoreApplication>
#include <QPointer>
#include <QTimer>

namespace torvelane {

namespace {

int active = 0;

/// Goes with the application.
QTimer* beat()
{
    static QPointer<QTimer> timer;
    if (!timer) {
        timer = new QTimer(QCoreApplication::instance());
        timer->setInterval(FrameTimer::intervalMs);
        timer->setTimerType(Qt::PreciseTimer);
    }
    return timer;
}

} // namespace

void FrameTimer::start()
{
    if (isActive())
        return;
    QTimer* const timer = beat();
    m_beat = connect(timer, &QTimer::timeout, this, &FrameTimer::timeout);
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
        beat()->stop();
}

} // namespace torvelane
