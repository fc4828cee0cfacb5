#include "system/WmiRow.h"

namespace torvelane {

QString variantToText(const platform::WmiValue& value)
{
    switch (value.type) {
    case platform::vtI2:
        return QString::number(static_cast<qint16>(value.bits));
    case platform::vtI4:
        return QString::number(static_cast<qint32>(value.bits));
    case platform::vtBstr:
        return value.text;
    case platform::vtBool:
        return static_cast<qint16>(value.bits) != 0 ? QStringLiteral("true") : QStringLiteral("false");
    case platform::vtUi2:
        return QString::number(static_cast<quint16>(value.bits));
    case platform::vtUi4:
        return QString::number(static_cast<quint32>(value.bits));
    case platform::vtI8:
        return QString::number(static_cast<qint64>(value.bits));
    case platform::vtUi8:
        return QString::number(value.bits);
    default:
        return {};
    }
}

WmiRow toWmiRow(const platform::WmiObject& object)
{
    WmiRow row;
    for (const platform::WmiProperty& property : object)
        row.insert(property.name, variantToText(property.value));
    return row;
}

} // namespace torvelane
