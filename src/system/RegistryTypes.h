#pragma once

#include <QString>

namespace torvelane {

/// The hives that the product addresses, in the order of their stored numbers.
enum class RegistryHive {
    LocalMachine = 0,  ///< "HKLM"
    CurrentUser = 1,   ///< "HKCU"
    ClassesRoot = 2,   ///< "HKCR"
    Users = 3,         ///< "HKU"
    CurrentConfig = 4, ///< "HKCC"
};

/// The kinds of value that the product can write, in the order of their stored numbers. Every other Windows type is
/// read as Binary.
enum class RegistryValueKind {
    None = 0,     ///< no value
    Dword = 1,    ///< REG_DWORD
    Qword = 2,    ///< REG_QWORD
    Sz = 3,       ///< REG_SZ
    ExpandSz = 4, ///< REG_EXPAND_SZ
    Binary = 5,   ///< REG_BINARY
};

/// The hive named by `text`, short or long, in any case, blanks around it ignored. For an unknown name `*ok` becomes
/// false and the result is CurrentUser, so callers look at `ok`; it may be null.
[[nodiscard]] RegistryHive parseHive(const QString& text, bool* ok);

/// The short name, which the catalogue, captures, messages and log lines use. "HKCU" for anything out of range.
[[nodiscard]] QString hiveName(RegistryHive hive);

/// The long name, as in exported files.
[[nodiscard]] QString longHiveName(RegistryHive hive);

/// The kind named by `text`, in any case, blanks around it ignored; None for anything else.
[[nodiscard]] RegistryValueKind parseValueKind(const QString& text);

/// The inverse of parseValueKind; "none" for None and anything out of range.
[[nodiscard]] QString valueKindName(RegistryValueKind kind);

} // namespace torvelane
