#pragma once

#include "system/MachineLock.h"

#include <QString>

namespace torvelane {

/// MachineLock as the optimisers hold it, from before they read their snapshot until it is written for the last time:
/// another process neither captures values that are half changed nor writes its snapshot over this one.
///
/// A lock that can't be opened, as without administrator rights, stops nobody: it says nothing of another process, and
/// what the optimiser itself may not change fails by itself. The log has a Warn line then.
///
///     const OptimizerLock lock(category);
///     if (lock.isRefused())
///         return {false, OptimizerLock::refusal()};
class OptimizerLock {
public:
    /// Waits up to ten seconds for another process to finish. `category` is the component's word in the log.
    explicit OptimizerLock(const QString& category) : OptimizerLock(category, longestWaitMs()) { }
    OptimizerLock(const QString& category, int timeoutMs);

    /// Whether another process keeps the lock: nothing may be changed.
    [[nodiscard]] bool isRefused() const { return m_lock.isHeldElsewhere(); }

    /// What the user is told then, in their language.
    [[nodiscard]] static QString refusal();

    /// Another limit for the whole process, in milliseconds; for tests, while no other thread changes anything.
    static void setLongestWait(int timeoutMs);

private:
    [[nodiscard]] static int& longestWaitMs();

    MachineLock m_lock;
};

} // namespace torvelane
