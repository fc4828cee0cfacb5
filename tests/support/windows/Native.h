#pragma once

#include <QString>

#include <windows.h>

namespace torvelane::test {

/// The text as the system's calls take it.
inline const wchar_t* native(const QString& text)
{
    return reinterpret_cast<const wchar_t*>(text.utf16());
}

/// Wine lacks some of what Windows does (docs/testing.md).
inline bool isWine()
{
    return GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "wine_get_version") != nullptr;
}

} // namespace torvelane::test
