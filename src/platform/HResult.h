#pragma once

#include <QString>

namespace torvelane::platform {

/// An HRESULT, as COM calls return it; every 32-bit number is a value, the ones that the program names are listed.
/// https://learn.microsoft.com/windows/win32/seccrypto/common-hresult-values
enum class HResult : qint32 {
    Ok = 0,
    False = 1, ///< S_FALSE: a success that says no.
};

/// FAILED(): a negative number.
[[nodiscard]] constexpr bool failed(HResult result)
{
    return static_cast<qint32>(result) < 0;
}

/// The number as such codes are written: "0x" and eight lower-case hexadecimal digits.
[[nodiscard]] inline QString toHex(HResult result)
{
    return QStringLiteral("0x%1").arg(static_cast<quint32>(result), 8, 16, QLatin1Char('0'));
}

} // namespace torvelane::platform
