#pragma once

namespace torvelane::platform {

/// timeBeginPeriod and timeEndPeriod, which have to be paired. `periodMs` in milliseconds.
void beginTimerPeriod(unsigned periodMs);
void endTimerPeriod(unsigned periodMs);

} // namespace torvelane::platform
