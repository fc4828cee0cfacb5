#include "tweaks/DesktopWatch.h"

#include <windows.h>

#include <cwchar>

namespace torvelane::test {

namespace {

LRESULT CALLBACK countColors(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const auto* const area = reinterpret_cast<const wchar_t*>(lParam);
    if (message == WM_SETTINGCHANGE && area && std::wcscmp(area, L"ImmersiveColorSet") == 0)
        ++*reinterpret_cast<int*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    return DefWindowProcW(window, message, wParam, lParam);
}

} // namespace

/// A top-level window that nobody sees, since a window for messages only gets no broadcasts.
DesktopWatch::DesktopWatch()
{
    const HWND window =
        CreateWindowExW(0, L"STATIC", L"", WS_POPUP, 0, 0, 1, 1, nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    SetWindowLongPtrW(window, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&m_colors));
    SetWindowLongPtrW(window, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(countColors));
    m_window = window;
}

DesktopWatch::~DesktopWatch()
{
    DestroyWindow(static_cast<HWND>(m_window));
}

int DesktopWatch::colors() const
{
    return m_colors;
}

std::optional<int> DesktopWatch::icons() const
{
    return std::nullopt;
}

} // namespace torvelane::test
