#pragma once

namespace torvelane {

class AppContext;

/// What happens when the program was started without a command-line verb: one instance for the user, language, theme,
/// gates, links, windows, event loop. Returns the exit code; the tear-down is the caller's. Main thread; the steps before
/// the windows block it.
[[nodiscard]] int runWindowLayer(AppContext& context);

} // namespace torvelane
