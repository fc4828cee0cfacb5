#include "optimizers/SnapshotValue.h"

#include "system/RegistryJson.h"

namespace torvelane {

namespace {

const QString keyName = QStringLiteral("name");
const QString keyExists = QStringLiteral("exists");
const QString keyValueType = QStringLiteral("valueType");
const QString keyType = QStringLiteral("type");
const QString keyNumber = QStringLiteral("number");
const QString keyText = QStringLiteral("text");
const QString keyBinary = QStringLiteral("binary");

/// Only an absent value has no kind; that is also what a missing name means.
std::optional<RegistryValueKind> kindSpelt(const QString& text, bool exists)
{
    const RegistryValueKind kind = parseValueKind(text);
    if (kind != RegistryValueKind::None)
        return valueKindName(kind) == text ? std::optional(kind) : std::nullopt;
    const bool isNone = text.isEmpty() || text == valueKindName(kind);
    return isNone && !exists ? std::optional(kind) : std::nullopt;
}

std::optional<RegistryValueKind> kindNumbered(const QJsonValue& number, bool exists)
{
    const int kind = number.toInt(number.isUndefined() ? 0 : -1);
    if (kind < static_cast<int>(exists ? RegistryValueKind::Dword : RegistryValueKind::None)
        || kind > static_cast<int>(RegistryValueKind::Binary)) {
        return std::nullopt;
    }
    return static_cast<RegistryValueKind>(kind);
}

} // namespace

QJsonObject capturedValueToJson(const QString& name, const RegistryValue& value)
{
    QJsonObject object = valueToJson(value);
    object.insert(keyName, name);
    return object;
}

std::optional<RegistryValue> capturedValueFromJson(const QJsonObject& object)
{
    RegistryValue value = valueFromJson(object);
    const auto kind = kindSpelt(object.value(keyValueType).toString(), value.exists);
    if (!kind)
        return std::nullopt;
    value.kind = *kind;
    return value;
}

QJsonObject plainValueToJson(const RegistryValue& value)
{
    QJsonObject object = valueToJson(value);
    object.remove(keyBinary);
    return object;
}

std::optional<RegistryValue> plainValueFromJson(const QJsonObject& object)
{
    std::optional<RegistryValue> value = capturedValueFromJson(object);
    if (value)
        value->bytes.clear();
    return value;
}

QJsonObject numberedValueToJson(const RegistryValue& value)
{
    return {{keyExists, value.exists},
            {keyType, static_cast<int>(value.kind)},
            {keyNumber, static_cast<double>(value.number)},
            {keyText, value.text},
            {keyBinary, QString::fromLatin1(value.bytes.toBase64())}};
}

std::optional<RegistryValue> numberedValueFromJson(const QJsonObject& object)
{
    RegistryValue value;
    value.exists = object.value(keyExists).toBool();
    const auto kind = kindNumbered(object.value(keyType), value.exists);
    if (!kind)
        return std::nullopt;
    value.kind = *kind;
    value.number = unsignedFromJson(object.value(keyNumber));
    value.text = object.value(keyText).toString();
    value.bytes = QByteArray::fromBase64(object.value(keyBinary).toString().toLatin1());
    return value;
}

} // namespace torvelane
