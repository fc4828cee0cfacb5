#pragma once

#include "platform/DesktopChange.h"

namespace torvelane::platform::simulated {

/// How often this process has announced the change. Any thread.
[[nodiscard]] int desktopAnnouncements(DesktopChange change);

} // namespace torvelane::platform::simulated
