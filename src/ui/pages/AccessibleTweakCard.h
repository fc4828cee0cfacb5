#pragma once

namespace torvelane {

/// Has each TweakCard say to assistive technology what it paints: a group with the tweak's name, and in it one label a
/// text ahead of the switch or the pill. The effect on the machine is the group's description. Called again
/// and again without harm. GUI thread.
void installTweakCardAccessibility();

} // namespace torvelane
