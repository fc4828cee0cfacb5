#pragma once

#include <QStringList>

namespace torvelane {

class AppContext;

/// The program without a command-line verb: one instance for the user, language, theme,
/// gates, links, windows, event loop. `arguments` is the full list; a link in it goes to an instance that runs already.
/// Returns the exit code; the tear-down is the caller's. Main thread; the steps before the windows block it.
[[nodiscard]] int runWindowLayer(AppContext& context, const QStringList& arguments);

} // namespace torvelane
