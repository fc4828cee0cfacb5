#pragma once

#include <QString>

namespace torvelane {

/// A step of the start that needs a line to the outside, on the main thread before any window exists, with what this
/// build was deployed with. Whether the program may go on: true if `apiBaseUrl` can be reached, if the variable
/// TORVELANE_NO_CONNECTION_CHECK is set, whatever its value, or if there is no backend, which costs nothing. Otherwise a
/// dialog has said why.
[[nodiscard]] bool passConnectivityGate(const QString& apiBaseUrl, bool hasBackend);

} // namespace torvelane
