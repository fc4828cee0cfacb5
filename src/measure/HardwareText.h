#pragma once

#include "measure/HardwareScanner.h"
#include "system/WmiRow.h"

namespace torvelane {

/// What the sections of a hardware report share. Not for other rooms.
namespace HardwareText {

/// A text that stands for nothing known.
[[nodiscard]] QString orDash(const QString& value);

/// A property, trimmed; empty if the row hasn't got it.
[[nodiscard]] QString textOf(const WmiRow& row, const QString& property);

/// A property as a number; 0 if it isn't one, or negative.
[[nodiscard]] quint64 numberOf(const WmiRow& row, const QString& property);

/// A date property ("yyyymmdd...") as "yyyy-mm-dd"; empty if it is shorter than that.
[[nodiscard]] QString dateOf(const WmiRow& row, const QString& property);

/// Bytes in TB, GB or MB of 1,024, with the unit in the user's language; a dash for 0.
[[nodiscard]] QString formatBytes(quint64 bytes);

} // namespace HardwareText

} // namespace torvelane
