#pragma once

#include "platform/Win32Error.h"

#include <QString>
#include <QStringList>

#include <cstddef>
#include <span>

namespace torvelane::platform {

/// The predefined root keys.
enum class RootKey { LocalMachine, CurrentUser, ClassesRoot, Users, CurrentConfig };

/// The purpose of opening a key.
enum class KeyAccess {
    Read,     ///< KEY_READ: query values, enumerate
    SetValue, ///< KEY_SET_VALUE: set and delete values
};

/// Windows value types, as RegQueryValueExW reports them.
/// https://learn.microsoft.com/windows/win32/sysinfo/registry-value-types
enum RegistryType : quint32 {
    regNone = 0,
    regSz = 1,
    regExpandSz = 2,
    regBinary = 3,
    regDword = 4,
    regMultiSz = 7,
    regQword = 11,
};

/// Owner of one open registry key: the handle is closed when the owner goes.
///
/// As low as the system calls themselves: raw types, raw bytes, the system's own codes, no log line and no decision.
/// Any thread may use its own objects; one object belongs to one thread at a time. Every call may block on the disk.
/// Names and paths are case-insensitive and keep the case that they were created with; an empty value name addresses
/// the key's unnamed default value. The native 64-bit view is the only one. A name or path with an embedded NUL is
/// refused with Win32Error::InvalidParameter, since the system would silently cut it short.
class RegistryKey {
public:
    RegistryKey() = default;
    ~RegistryKey();
    RegistryKey(RegistryKey&& other) noexcept;
    RegistryKey& operator=(RegistryKey&& other) noexcept;
    RegistryKey(const RegistryKey&) = delete;
    RegistryKey& operator=(const RegistryKey&) = delete;

    /// RegOpenKeyExW. `out` is replaced on success and left closed otherwise.
    [[nodiscard]] static Win32Error open(RootKey root, const QString& path, KeyAccess access, RegistryKey& out);

    /// RegCreateKeyExW with options 0 and KEY_SET_VALUE: opens the key, creating it and missing parents.
    [[nodiscard]] static Win32Error create(RootKey root, const QString& path, RegistryKey& out);

    /// RegQueryValueExW without a buffer: type and size of a value.
    [[nodiscard]] Win32Error querySize(const QString& name, quint32& type, quint32& sizeBytes) const;

    /// RegQueryValueExW into `buffer`. `sizeBytes` becomes the value's size; Win32Error::MoreData if that is above the buffer's.
    [[nodiscard]] Win32Error query(const QString& name, std::span<std::byte> buffer, quint32& type,
                                   quint32& sizeBytes) const;

    /// RegSetValueExW: creates or replaces a value. `data` holds the bytes as stored, terminators included.
    [[nodiscard]] Win32Error setValue(const QString& name, quint32 type, std::span<const std::byte> data);

    /// RegDeleteValueW. Win32Error::FileNotFound if there is no such value.
    [[nodiscard]] Win32Error deleteValue(const QString& name);

    /// Names of the direct subkeys, in the system's order. Replaces `out`.
    [[nodiscard]] Win32Error subkeyNames(QStringList& out) const;

    /// Names of the key's values, in the system's order; the unnamed default value, if set, is an empty string.
    [[nodiscard]] Win32Error valueNames(QStringList& out) const;

    [[nodiscard]] bool isOpen() const { return m_handle != nullptr; }

private:
    void close();

    void* m_handle = nullptr; ///< HKEY on Windows, the simulated PC's own record elsewhere.
};

} // namespace torvelane::platform
