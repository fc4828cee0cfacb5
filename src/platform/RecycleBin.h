#pragma once

#include "platform/HResult.h"

#include <QtGlobal>

#include <optional>

namespace torvelane::platform {

/// SHQueryRecycleBinW over all drives: the bytes that lie in the user's recycle bins; nothing if the system refused.
/// Blocks on the disks.
[[nodiscard]] std::optional<qint64> recycleBinSizeBytes();

/// SHEmptyRecycleBinW over all drives, without question, progress or sound. Fails on an empty bin. Blocks.
[[nodiscard]] HResult emptyRecycleBin();

} // namespace torvelane::platform
