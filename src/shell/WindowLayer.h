#pragma once

namespace torvelane {

class AppContext;

/// What happens when the program was started without a command-line verb: the place where the windows come in. Returns
/// the exit code; the tear-down is the caller's. Main thread.
[[nodiscard]] int runWindowLayer(AppContext& context);

} // namespace torvelane
