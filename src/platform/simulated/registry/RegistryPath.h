#pragma once

#include "platform/Registry.h"

#include <QString>
#include <QStringView>

#include <optional>

namespace torvelane::platform::simulated {

// Limits of Windows: https://learn.microsoft.com/windows/win32/sysinfo/registry-element-size-limits
inline constexpr qsizetype maxKeyNameLength = 255;
inline constexpr qsizetype maxValueNameLength = 16383;

/// The form in which names are compared: upper case, character by character, so that the length never changes.
[[nodiscard]] QString folded(QStringView name);

/// Whether a folded path is `ancestor` (folded too) or lies below it.
[[nodiscard]] bool isSameOrBelow(QStringView path, QStringView ancestor);

/// Path without its last component; empty for a root.
[[nodiscard]] QStringView parentPath(QStringView path);
[[nodiscard]] QStringView leafName(QStringView path);

/// A key as a root and the path below it.
struct KeyName {
    RootKey root = RootKey::CurrentUser;
    QString path;
};

/// Parses "HKLM\SOFTWARE\..." with the short or the long root name. Absent if it begins with no root.
[[nodiscard]] std::optional<KeyName> parseKeyName(const QString& text);

/// "HKEY_LOCAL_MACHINE\SOFTWARE\..." for a key name in any spelling: the form in which Windows' own tools print it.
[[nodiscard]] QString longKeyName(const KeyName& key);

/// The one name under which a key is stored: roots HKLM, HKCU and HKU, HKU\<the user's SID> as HKCU, HKCR as the
/// machine's classes. The letter case is left alone. HKCC isn't simulated; nothing is stored below it.
[[nodiscard]] QString storedPath(RootKey root, const QString& path, const QString& userSid);

/// Win32Error::Success, or why Windows refuses the path as such.
[[nodiscard]] Win32Error checkKeyPath(RootKey root, const QString& path);
[[nodiscard]] Win32Error checkValueName(const QString& name);

} // namespace torvelane::platform::simulated
