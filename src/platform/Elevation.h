#pragma once

#include <QString>

namespace torvelane::platform {

/// Whether the process token is elevated (TokenElevation). False if the system doesn't say. Any thread.
[[nodiscard]] bool isElevated();

/// Name of the user that the process runs as, without a domain. Empty if unknown. Any thread.
[[nodiscard]] QString currentUserName();

/// What identifies that user for good, fit for a file name: the SID as text, such as S-1-5-21-... Empty if unknown. Any
/// thread.
[[nodiscard]] QString currentUserId();

} // namespace torvelane::platform
