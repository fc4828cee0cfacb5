#include "platform/WindowFrame.h"

#include "platform/windows/Owners.h"

#include <windowsx.h>

#include <dwmapi.h>
#include <shlobj.h>

namespace torvelane::platform {

namespace {

// Windows 11's attribute and value, which older SDKs don't name: DWMWA_WINDOW_CORNER_PREFERENCE and DWMWCP_ROUND.
// https://learn.microsoft.com/windows/win32/api/dwmapi/ne-dwmapi-dwmwindowattribute
constexpr DWORD cornerPreference = 33;
constexpr DWORD roundCorners = 2;

static_assert(captionHit == HTCAPTION);

} // namespace

FrameMessage readFrameMessage(const QByteArray& eventType, const void* message)
{
    if (eventType != QByteArrayLiteral("windows_generic_MSG"))
        return {};
    const auto* const msg = static_cast<const MSG*>(message);
    switch (msg->message) {
    case WM_NCLBUTTONDBLCLK:
        return {.kind = FrameMessage::Kind::CaptionDoubleClick, .clientPosition = {}};
    case WM_NCHITTEST: {
        // Client coordinates, since screen coordinates can't simply be divided by a scale: screens of different scale
        // may lie side by side.
        POINT position{GET_X_LPARAM(msg->lParam), GET_Y_LPARAM(msg->lParam)};
        ScreenToClient(msg->hwnd, &position);
        return {.kind = FrameMessage::Kind::HitTest, .clientPosition = {position.x, position.y}};
    }
    default:
        return {};
    }
}

bool movesWindowsByHitTest()
{
    return true;
}

void dressFramelessWindow(quintptr window)
{
    auto* const handle = reinterpret_cast<HWND>(window);
    DwmSetWindowAttribute(handle, cornerPreference, &roundCorners, sizeof(roundCorners));
    const MARGINS onePixel{1, 1, 1, 1};
    DwmExtendFrameIntoClientArea(handle, &onePixel);
}

void setAppUserModelId(const QString& id)
{
    SetCurrentProcessExplicitAppUserModelID(wide(id));
}

} // namespace torvelane::platform
