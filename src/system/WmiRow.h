#pragma once

#include "platform/Wmi.h"

#include <QMap>
#include <QString>
#include <QVariant>

namespace torvelane {

/// One instance of a WMI class: text by property name, in the provider's spelling, with regard to case. Every value is a
/// text, whatever the property's type was; readers convert it back, and a text that is no number reads as 0. A property
/// that the row hasn't got is an invalid variant, or the default that is given to value().
using WmiRow = QMap<QString, QVariant>;

/// The text of a value. Whole numbers become decimal digits, truth values "true" or "false", texts stay. Everything else
/// is an empty text on purpose, above all null, arrays, floating point numbers and 8-bit numbers.
///
/// Numbers come as the system delivers them: an unsigned 32-bit property arrives as vtI4, so that one above 2^31 reads as
/// negative, and a 64-bit one arrives as a text of digits.
[[nodiscard]] QString variantToText(const platform::WmiValue& value);

/// The object as a row. Of a name that occurs twice the last value counts.
[[nodiscard]] WmiRow toWmiRow(const platform::WmiObject& object);

} // namespace torvelane
