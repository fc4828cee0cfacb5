#include "system/RegistryJson.h"

#include <limits>

namespace torvelane {

namespace {

const QString keyExists = QStringLiteral("exists");
const QString keyValueType = QStringLiteral("valueType");
const QString keyNumber = QStringLiteral("number");
const QString keyText = QStringLiteral("text");
const QString keyBinary = QStringLiteral("binary");

} // namespace

QJsonObject valueToJson(const RegistryValue& value)
{
    return {{keyExists, value.exists},
            {keyValueType, valueKindName(value.kind)},
            {keyNumber, static_cast<double>(value.number)},
            {keyText, value.text},
            {keyBinary, QString::fromLatin1(value.bytes.toHex())}};
}

RegistryValue valueFromJson(const QJsonObject& object)
{
    RegistryValue value;
    value.exists = object.value(keyExists).toBool(false);
    value.kind = parseValueKind(object.value(keyValueType).toString());
    value.number = unsignedFromJson(object.value(keyNumber));
    value.text = object.value(keyText).toString();
    value.bytes = QByteArray::fromHex(object.value(keyBinary).toString().toLatin1());
    return value;
}

quint64 unsignedFromJson(const QJsonValue& value)
{
    constexpr double twoTo63 = 9223372036854775808.0;
    const double number = value.toDouble(0.0);
    if (number < -twoTo63)
        return 0;
    if (number >= 2 * twoTo63)
        return std::numeric_limits<quint64>::max();
    // A double from 2^63 upwards doesn't fit a signed 64-bit conversion: take 2^63 off and put it back.
    if (number >= twoTo63)
        return static_cast<quint64>(static_cast<qint64>(number - twoTo63)) + (quint64(1) << 63);
    return static_cast<quint64>(static_cast<qint64>(number));
}

} // namespace torvelane
