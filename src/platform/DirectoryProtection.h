#pragma once

#include <QString>

namespace torvelane::platform {

/// Restricts a directory of ours to administrators and the system, with read access for the current user, so that a
/// program without elevation can't exchange the files that this one will trust. False if the machine refused. Blocks on
/// the disk.
[[nodiscard]] bool protectDirectory(const QString& path);

} // namespace torvelane::platform
