#pragma once

#include <QtGlobal>

namespace torvelane {

/// Time that stands still while it is paused, so that an animation continues where it stood. Reads no clock of its
/// own: each call is given the time of one steady clock in milliseconds. Starts running at zero.
class PausableClock {
public:
    void pause(qint64 nowMs);
    void resume(qint64 nowMs);
    [[nodiscard]] bool isPaused() const { return m_pausedSinceMs >= 0; }
    [[nodiscard]] double seconds(qint64 nowMs) const;

private:
    qint64 m_pausedTotalMs = 0;
    qint64 m_pausedSinceMs = -1;
};

} // namespace torvelane
