#pragma once

#include "platform/Win32Error.h"

#include <QString>

namespace torvelane::platform {

/// Returns when the file at `path` and its name are on the disk: a file that was just renamed over another one is there
/// after a power cut, and not the other one. On Windows that flushes the file with its metadata, of which the name is
/// (https://learn.microsoft.com/windows-hardware/drivers/ddi/ntifs/nf-ntifs-ntflushbuffersfileex); on the simulated PC
/// its directory, which takes it that the content has been flushed. Needs write permission. Blocks, on any thread.
[[nodiscard]] Win32Error flushToDisk(const QString& path);

} // namespace torvelane::platform
