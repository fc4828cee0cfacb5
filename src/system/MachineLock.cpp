#include "system/MachineLock.h"

#include "core/Paths.h"

#include <QDeadlineTimer>
#include <QMutex>
#include <QMutexLocker>
#include <QThread>

#include <algorithm>
#include <optional>

namespace torvelane {

using platform::LockFile;
using platform::Win32Error;

namespace {

constexpr int pollIntervalMs = 5;

constexpr auto changeSlot = static_cast<quint32>(LockSlot::Change);
constexpr auto queueSlot = static_cast<quint32>(LockSlot::Queue);

/// What this process has of the lock.
struct Share {
    QMutex mutex;
    int holders = 0;
    std::optional<LockFile> file; ///< Open while there are holders.
};

Share& share()
{
    static Share instance;
    return instance;
}

Win32Error lockUntil(LockFile& file, quint32 slot, const QDeadlineTimer& deadline)
{
    for (;;) {
        const Win32Error result = file.tryLock(slot);
        if (result != Win32Error::LockViolation || deadline.hasExpired())
            return result;
        QThread::msleep(static_cast<unsigned long>(std::clamp<qint64>(deadline.remainingTime(), 0, pollIntervalMs)));
    }
}

Win32Error take(LockFile& file, const QDeadlineTimer& deadline)
{
    Win32Error result = file.open(Paths::lockFile());
    if (result == Win32Error::Success)
        result = lockUntil(file, queueSlot, deadline);
    if (result != Win32Error::Success)
        return result;
    result = lockUntil(file, changeSlot, deadline);
    file.unlock(queueSlot);
    return result;
}

} // namespace

MachineLock::MachineLock(int timeoutMs) : m_result(Win32Error::Success)
{
    Share& mine = share();
    const QMutexLocker locker(&mine.mutex);
    if (mine.holders == 0) {
        mine.file.emplace();
        m_result = take(*mine.file, QDeadlineTimer(timeoutMs));
    }
    if (isHeld())
        ++mine.holders;
    else
        mine.file.reset();
}

MachineLock::~MachineLock()
{
    Share& mine = share();
    const QMutexLocker locker(&mine.mutex);
    if (isHeld() && --mine.holders == 0)
        mine.file.reset();
}

QString MachineLock::error() const
{
    if (isHeld())
        return {};
    if (isHeldElsewhere())
        return QStringLiteral("Another Torvelane process is changing the system; try again when it has finished");
    return QStringLiteral("The lock between processes could not be opened (%1)").arg(platform::toNumber(m_result));
}

} // namespace torvelane
