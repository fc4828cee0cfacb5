#pragma once

#include <QString>

namespace torvelane {

/// Whether this machine has a working line: an HTTPS GET of `url` was answered, whatever the status. A certificate that
/// isn't trusted counts as offline. Blocks its thread, five seconds at most for each stage of the request; the reason
/// of a failure is in the log. Any thread.
[[nodiscard]] bool checkInternet(const QString& url);

} // namespace torvelane
