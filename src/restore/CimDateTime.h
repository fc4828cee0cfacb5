#pragma once

#include <QDateTime>
#include <QString>

namespace torvelane {

/// A moment as WMI writes it, yyyymmddHHMMSS.mmmmmmsUUU, with the offset from UTC in minutes at its end. Fractions of a
/// second are ignored; an offset that is missing or no number counts as 0. Invalid if the date or the time is none.
/// https://learn.microsoft.com/windows/win32/wmisdk/cim-datetime
[[nodiscard]] QDateTime parseCimDateTime(const QString& value);

} // namespace torvelane
