#include "measure/HardwareText.h"

#include "core/Translate.h"

#include <QLocale>

namespace torvelane::HardwareText {

QString orDash(const QString& value)
{
    return value.isEmpty() ? QStringLiteral("—") : value;
}

QString textOf(const WmiRow& row, const QString& property)
{
    return row.value(property).toString().trimmed();
}

quint64 numberOf(const WmiRow& row, const QString& property)
{
    return textOf(row, property).toULongLong();
}

QString dateOf(const WmiRow& row, const QString& property)
{
    const QString date = textOf(row, property);
    if (date.size() < 8)
        return {};
    return QStringLiteral("%1-%2-%3").arg(date.mid(0, 4), date.mid(4, 2), date.mid(6, 2));
}

QString formatBytes(quint64 bytes)
{
    if (bytes == 0)
        return orDash({});
    constexpr double mebi = 1024.0 * 1024.0;
    constexpr double gibi = 1024.0 * mebi;
    const double gigabytes = static_cast<double>(bytes) / gibi;
    QLocale locale;
    locale.setNumberOptions(QLocale::OmitGroupSeparator);
    const auto withUnit = [&locale](double number, int decimals, const QString& unit) {
        return QString(locale.toString(number, 'f', decimals) + QLatin1Char(' ') + unit);
    };
    if (gigabytes >= 1024.0)
        return withUnit(gigabytes / 1024.0, 2, translate("HardwareScanner", "TB"));
    if (gigabytes >= 1.0)
        return withUnit(gigabytes, gigabytes < 10.0 ? 2 : 1, translate("HardwareScanner", "GB"));
    return withUnit(static_cast<double>(bytes) / mebi, 0, translate("HardwareScanner", "MB"));
}

} // namespace torvelane::HardwareText
