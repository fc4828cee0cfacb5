#pragma once

#include <QString>

namespace torvelane::platform::simulated {

/// The folder in which the simulated tools stand under their names: "simulated-tools" beside the running program,
/// unless the build names another one in TORVELANE_SIMULATED_TOOLS_DIR. Needs no application object.
[[nodiscard]] QString toolsDirectory();

} // namespace torvelane::platform::simulated
