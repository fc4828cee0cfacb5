#pragma once

#include "platform/Registry.h"

namespace torvelane::platform::simulated {

/// RegDeleteTreeW: a key with everything below it. Only the simulated tools delete keys; Torvelane never does.
[[nodiscard]] Win32Error deleteKeyTree(RootKey root, const QString& path);

} // namespace torvelane::platform::simulated
