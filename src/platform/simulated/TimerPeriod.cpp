#include "platform/TimerPeriod.h"

namespace torvelane::platform {

void beginTimerPeriod(unsigned) { }

void endTimerPeriod(unsigned) { }

} // namespace torvelane::platform
