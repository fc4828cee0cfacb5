#include "ui/windows/PausableClock.h"

namespace torvelane {

void PausableClock::pause(qint64 nowMs)
{
    if (!isPaused())
        m_pausedSinceMs = nowMs;
}

void PausableClock::resume(qint64 nowMs)
{
    if (!isPaused())
        return;
    m_pausedTotalMs += nowMs - m_pausedSinceMs;
    m_pausedSinceMs = -1;
}

double PausableClock::seconds(qint64 nowMs) const
{
    const qint64 untilMs = isPaused() ? m_pausedSinceMs : nowMs;
    return static_cast<double>(untilMs - m_pausedTotalMs) / 1000.0;
}

} // namespace torvelane
