#include "platform/DesktopChange.h"

#include <windows.h>

#include <shlobj.h>

namespace torvelane::platform {

namespace {

constexpr UINT answerTimeoutMs = 100;

} // namespace

void announceDesktopChange(DesktopChange change)
{
    switch (change) {
    case DesktopChange::Colors:
        // The area that Settings names when it switches between light and dark.
        SendMessageTimeoutW(HWND_BROADCAST, WM_SETTINGCHANGE, 0, reinterpret_cast<LPARAM>(L"ImmersiveColorSet"),
                            SMTO_ABORTIFHUNG, answerTimeoutMs, nullptr);
        break;
    case DesktopChange::Icons:
        // The one event on which the shell reads everything anew; it has none for the icons alone.
        SHChangeNotify(SHCNE_ASSOCCHANGED, SHCNF_IDLIST, nullptr, nullptr);
        break;
    }
}

} // namespace torvelane::platform
