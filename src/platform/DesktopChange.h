#pragma once

namespace torvelane::platform {

/// What the desktop keeps to itself until it is told that the registry has changed.
enum class DesktopChange {
    Colors, ///< Light or dark, transparency.
    Icons,  ///< Which of Windows' own icons stand on the desktop.
};

/// Tells open windows and the shell, so that a change shows at once. Nothing is reported: a window that doesn't listen
/// shows the change later. Any thread; windows that hang are passed over, and one that is busy is waited for 100 ms.
void announceDesktopChange(DesktopChange change);

} // namespace torvelane::platform
