#pragma once

#include "system/RegistryValue.h"

#include <QJsonObject>

#include <optional>

namespace torvelane {

/// The JSON forms of one captured registry value in the optimisers' snapshots. Their files are older than each other and
/// differ on purpose; each reads only its own. Numbers are JSON doubles, so a qword of more than 53 significant bits
/// comes back rounded. Where the kind's name is text it has to be spelt as it is written.
///
/// A value of a kind that this version doesn't know reads as nothing: it can't be put back, and taken for no value it
/// would be deleted.

/// "name", "exists", "valueType", "number", "text" and "binary" (lower-case hexadecimal), always all of them. Reading
/// leaves the name to the caller.
[[nodiscard]] QJsonObject capturedValueToJson(const QString& name, const RegistryValue& value);
[[nodiscard]] std::optional<RegistryValue> capturedValueFromJson(const QJsonObject& object);

/// The same without "name" and "binary": a binary value comes back empty.
[[nodiscard]] QJsonObject plainValueToJson(const RegistryValue& value);
[[nodiscard]] std::optional<RegistryValue> plainValueFromJson(const QJsonObject& object);

/// "exists", "type" (the kind's number), "number", "text" and "binary" in Base64.
[[nodiscard]] QJsonObject numberedValueToJson(const RegistryValue& value);
[[nodiscard]] std::optional<RegistryValue> numberedValueFromJson(const QJsonObject& object);

} // namespace torvelane
