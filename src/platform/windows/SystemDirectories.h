#pragma once

#include <QString>

/// Where Windows lies, from calls that no environment variable can mislead. Absolute, with backslashes, no trailing one.
namespace torvelane::platform {

[[nodiscard]] QString windowsDirectory(); ///< Such as C:\Windows
[[nodiscard]] QString systemDirectory();  ///< Such as C:\Windows\System32

} // namespace torvelane::platform
