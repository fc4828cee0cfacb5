#pragma once

#include "core/LogFile.h"

namespace torvelane::platform {

/// Opens a log that several processes write; null if the machine refuses. It has the machine's line ends.
///
/// A line goes to the end of the file in one call, wherever that end is at that moment. A process notices that another
/// one has rotated by the size of its own file, which never shrinks: at the limit it looks at what is at the path by
/// then, and only if that has reached the limit too does it rotate. One process at a time does; the others go on in the
/// old file meanwhile. While a file can't be renamed, since somebody reads it perhaps, it grows on. So no line is lost
/// but those of the generation that goes.
[[nodiscard]] std::unique_ptr<LogFile> openSharedLogFile(const QString& path, qint64 limitBytes);

} // namespace torvelane::platform
