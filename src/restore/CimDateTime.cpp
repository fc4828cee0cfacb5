#include "restore/CimDateTime.h"

#include <limits>

namespace torvelane {

namespace {

constexpr qsizetype dateLength = 8;
constexpr qsizetype timeLength = 6;

/// In seconds, from what stands behind date and time. A plus sign counts before a minus sign, wherever the two stand.
int offsetFromUtc(QStringView rest)
{
    constexpr qint64 secondsPerMinute = 60;
    const qsizetype plus = rest.indexOf(u'+');
    const qsizetype sign = plus >= 0 ? plus : rest.indexOf(u'-');
    if (sign < 0)
        return 0;
    bool isNumber = false;
    const int minutes = rest.sliced(sign + 1).toInt(&isNumber);
    const qint64 seconds = isNumber ? minutes * (plus >= 0 ? secondsPerMinute : -secondsPerMinute) : 0;
    const bool fits = qAbs(seconds) <= std::numeric_limits<int>::max();
    return fits ? static_cast<int>(seconds) : 0;
}

} // namespace

QDateTime parseCimDateTime(const QString& value)
{
    if (value.size() < dateLength + timeLength)
        return {};
    const QDate date = QDate::fromString(value.first(dateLength), QStringLiteral("yyyyMMdd"));
    const QTime time = QTime::fromString(value.sliced(dateLength, timeLength), QStringLiteral("HHmmss"));
    if (!date.isValid() || !time.isValid())
        return {};
    return {date, time, Qt::OffsetFromUTC, offsetFromUtc(QStringView(value).sliced(dateLength + timeLength))};
}

} // namespace torvelane
