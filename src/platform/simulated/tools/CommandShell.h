#pragma once

#include <QStringList>

namespace torvelane::platform::simulated {

/// cmd.exe, as far as Torvelane uses it: `/c` and one command line. What changes the registry or takes time is carried
/// out (reg, timeout, ping, nested cmd, start), and so are echo, rem and exit. Every other program is recorded in the
/// journal and said to have succeeded; nothing is run on the host. Each program has a row of its own in the journal,
/// under the name that it has on disk, beside the row of cmd.exe itself.
[[nodiscard]] int runCommandShell(const QStringList& arguments);

} // namespace torvelane::platform::simulated
