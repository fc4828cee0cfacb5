#pragma once

#include <QString>

namespace torvelane::platform {

/// Folders that the environment names.
enum class SpecialFolder {
    Temporary,       ///< %TEMP%
    LocalAppData,    ///< %LOCALAPPDATA%
    SystemRoot,      ///< %SystemRoot%
    ProgramFiles,    ///< %ProgramFiles%
    ProgramFilesX86, ///< %ProgramFiles(x86)%
    ProgramData,     ///< %ProgramData%
};

/// The path with backslashes, without one at its end; empty if the variable isn't set. %TEMP% and %LOCALAPPDATA% are the
/// user's to set, the others the system's (prepareProcess). Any thread.
[[nodiscard]] QString specialFolder(SpecialFolder folder);

} // namespace torvelane::platform
