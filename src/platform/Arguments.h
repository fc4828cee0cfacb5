#pragma once

#include <QStringList>

namespace torvelane::platform {

/// What the process was started with, as the system keeps it, the program's name first. On Windows the whole of it
/// comes from the system, in Unicode; elsewhere from main's own arguments, in the user's encoding.
///
/// Qt's list isn't used: Qt takes its own options out of it, and one of those loads a library by path.
[[nodiscard]] QStringList programArguments(int argc, char** argv);

} // namespace torvelane::platform
