#pragma once

#include "platform/simulated/tools/ToolOutput.h"

#include <QStringList>

namespace torvelane::platform::simulated {

/// reg.exe: `query`, `add` and `delete` on the simulated registry, with reg.exe's messages and exit codes. `arguments`
/// are those behind the program's name. A question (no /f) is answered by a line of standard input; its end means no.
/// https://learn.microsoft.com/windows-server/administration/windows-commands/reg
[[nodiscard]] int runReg(const QStringList& arguments, const ToolOutput& output);

} // namespace torvelane::platform::simulated
