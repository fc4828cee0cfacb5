#pragma once

#include <QString>

namespace torvelane {

class ITweak;

/// What a tweak does to the machine, in plain words and line by line: the values that it writes or the commands that it
/// runs, a few of them at most. In the user's language; for a tooltip.
[[nodiscard]] QString tweakSummary(const ITweak& tweak);

} // namespace torvelane
