#include "platform/TimerPeriod.h"

#include <windows.h>

#include <timeapi.h>

namespace torvelane::platform {

void beginTimerPeriod(unsigned periodMs)
{
    timeBeginPeriod(periodMs);
}

void endTimerPeriod(unsigned periodMs)
{
    timeEndPeriod(periodMs);
}

} // namespace torvelane::platform
