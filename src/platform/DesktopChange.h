#pragma once

namespace torvelane::platform {

/// Settings that the desktop reads again only after an announcement.
enum class DesktopChange {
    Colors, ///< Light or dark, transparency.
    Icons,  ///< Which of Windows' own icons stand on the desktop.
};

/// Tells open windows and the shell, so that a change shows at once. Nothing is reported: a window that doesn't listen
/// shows the change later. Any thread; windows that hang are passed over, and one that is busy is waited for 100 ms.
void announceDesktopChange(DesktopChange change);

} // namespace torvelane::platform
