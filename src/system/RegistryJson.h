#pragma once

#include "system/RegistryValue.h"

#include <QJsonObject>

namespace torvelane {

/// The JSON form of a registry value: "exists", "valueType", "number", "text" and "binary" (lower-case hexadecimal),
/// always all of them. Where the value lies is for the caller to add. "number" is a JSON double, so a qword of more than
/// 53 significant bits comes back rounded.
[[nodiscard]] QJsonObject valueToJson(const RegistryValue& value);

/// The value in such an object, whatever else is in it. Missing or mistyped keys count as absent, none, 0 and empty.
[[nodiscard]] RegistryValue valueFromJson(const QJsonObject& object);

/// The number of a JSON value as an unsigned 64-bit integer, exact as far as a double is: 0 for a non-number, the
/// largest value from 2^64 upwards. A negative one wraps, so that -1 means all bits set, as in a registry editor.
[[nodiscard]] quint64 unsignedFromJson(const QJsonValue& value);

} // namespace torvelane
