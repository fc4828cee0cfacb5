#pragma once

#include "platform/LockFile.h"

#include <QString>

namespace torvelane {

/// What the slots of Paths::lockFile() are for. Whoever waits for Change holds Queue: without it a process that goes from
/// one entry to the next would leave a gap too short for anybody else to find.
enum class LockSlot : quint32 { Change = 0, Queue = 1, Windows = 2 };

/// Held while the system is changed and that is recorded, so that no other process takes the half-done change for one
/// that a crash left behind, or captures what isn't the original. The lock belongs to the process: its threads share it,
/// and one that holds it may take it once more. A process that ends, even by a crash, lets go of it.
///
/// Made and destroyed on one thread, inside one function:
///
///     const MachineLock lock(timeoutMs);
///     if (!lock.isHeld())
///         return failure(lock.error());
class MachineLock {
public:
    /// Waits up to `timeoutMs` for another process to finish. Two processes with much to do take turns.
    explicit MachineLock(int timeoutMs);
    ~MachineLock();
    MachineLock(const MachineLock&) = delete;
    MachineLock& operator=(const MachineLock&) = delete;

    [[nodiscard]] bool isHeld() const { return m_result == platform::Win32Error::Success; }

    /// Whether another process has kept it all the time. It isn't held either if its file can't be opened.
    [[nodiscard]] bool isHeldElsewhere() const { return m_result == platform::Win32Error::LockViolation; }

    /// Why it isn't held, as a sentence in English.
    [[nodiscard]] QString error() const;

private:
    platform::Win32Error m_result;
};

} // namespace torvelane
