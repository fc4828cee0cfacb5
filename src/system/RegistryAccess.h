#pragma once

#include "system/RegistryValue.h"

#include <QByteArray>
#include <QString>

namespace torvelane {

/// Reading, writing and deleting registry values: free functions over the machine's registry calls. `path` is the key
/// path below the hive, `name` the value name; an empty name is the key's unnamed default value. Every handle lives
/// inside one call. Any thread; two writers of one value race as the registry lets them. The bool answers whether the
/// operation worked, the reason goes to the log (category "registry"). HKLM and other users' hives need administrator
/// rights for writing.

/// True if the question was answered: a missing value, key or parent is an answer, with `out` absent. False, logged, if
/// the system refused to answer. REG_MULTI_SZ, REG_NONE and all other types come as Binary with their raw bytes.
[[nodiscard]] bool readValue(RegistryHive hive, const QString& path, const QString& name, RegistryValue& out);

/// The inverse of readValue: deletes for an absent value, otherwise writes kind and content.
[[nodiscard]] bool writeValue(RegistryHive hive, const QString& path, const QString& name, const RegistryValue& value);

/// The writers create missing keys on the way.
[[nodiscard]] bool writeDword(RegistryHive hive, const QString& path, const QString& name, quint32 number);
[[nodiscard]] bool writeQword(RegistryHive hive, const QString& path, const QString& name, quint64 number);
[[nodiscard]] bool writeString(RegistryHive hive, const QString& path, const QString& name, const QString& text,
                               bool expand);
[[nodiscard]] bool writeBinary(RegistryHive hive, const QString& path, const QString& name, const QByteArray& bytes);

/// True also if value or key wasn't there. Keys are never deleted.
[[nodiscard]] bool deleteValue(RegistryHive hive, const QString& path, const QString& name);

/// When not empty, HKCU means the hive of this user below HKEY_USERS. For a run on behalf of another user; nothing in
/// the program sets it. Not while other threads use the registry.
void setHkcuUserSid(const QString& sid);

} // namespace torvelane
