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

RegistryValueKind kindSpelt(const QString& text)
{
    const RegistryValueKind kind = parseValueKind(text);
    return valueKindName(kind) == text ? kind : RegistryValueKind::None;
}

} // namespace

QJsonObject capturedValueToJson(const QString& name, const RegistryValue& value)
{
    QJsonObject object = valueToJson(value);
    object.insert(keyName, name);
    return object;
}

RegistryValue capturedValueFromJson(const QJsonObject& object)
{
    RegistryValue value = valueFromJson(object);
    value.kind = kindSpelt(object.value(keyValueType).toString());
    return value;
}

QJsonObject plainValueToJson(const RegistryValue& value)
{
    QJsonObject object = valueToJson(value);
    object.remove(keyBinary);
    return object;
}

RegistryValue plainValueFromJson(const QJsonObject& object)
{
    RegistryValue value = capturedValueFromJson(object);
    value.bytes.clear();
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

RegistryValue numberedValueFromJson(const QJsonObject& object)
{
    const int type = object.value(keyType).toInt();
    RegistryValue value;
    value.exists = object.value(keyExists).toBool();
    if (type >= static_cast<int>(RegistryValueKind::None) && type <= static_cast<int>(RegistryValueKind::Binary))
        value.kind = static_cast<RegistryValueKind>(type);
    value.number = unsignedFromJson(object.value(keyNumber));
    value.text = object.value(keyText).toString();
    value.bytes = QByteArray::fromBase64(object.value(keyBinary).toString().toLatin1());
    return value;
}

} // namespace torvelane
