#pragma once

#include <QString>

namespace torvelane {

class ITweak;
struct TweakDefinition;

/// The effect of a tweak on the machine, in plain words and line by line: the values that it writes or the commands
/// that it runs, a few of them at most. In the user's language; for a tooltip.
[[nodiscard]] QString tweakSummary(const ITweak& tweak);

/// A tweak's warning with a line that says when the change shows, unless that is at once. Empty without a warning. In
/// the user's language.
[[nodiscard]] QString warningTooltip(const TweakDefinition& tweak);

} // namespace torvelane
