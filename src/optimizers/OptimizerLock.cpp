#include "optimizers/OptimizerLock.h"

#include "core/Log.h"
#include "core/Translate.h"

namespace torvelane {

int& OptimizerLock::longestWaitMs()
{
    static int timeoutMs = 10000; // as long as the engine waits
    return timeoutMs;
}

void OptimizerLock::setLongestWait(int timeoutMs)
{
    longestWaitMs() = timeoutMs;
}

OptimizerLock::OptimizerLock(const QString& category, int timeoutMs) : m_lock(timeoutMs)
{
    if (!m_lock.isHeld())
        logMessage(LogLevel::Warn, category, m_lock.error());
}

QString OptimizerLock::refusal()
{
    return translate("OptimizerLock",
                     "Another Torvelane process is changing this PC, so nothing was changed. Try again when it has "
                     "finished.");
}

} // namespace torvelane
