#pragma once

#include <QString>

namespace torvelane {

/// The steps of the start that need a line to the outside, on the main thread before any window exists. Each takes what
/// this build was deployed with.

/// Whether the program may go on: true if `apiBaseUrl` can be reached, if the variable TORVELANE_NO_CONNECTION_CHECK is
/// set, whatever its value, or if there is no backend, which costs nothing. Otherwise a dialog has said why.
[[nodiscard]] bool passConnectivityGate(const QString& apiBaseUrl, bool hasBackend);

/// Whether an update has taken over, so that the process has to end.
[[nodiscard]] bool handOverToUpdate(bool hasBackend);

} // namespace torvelane
