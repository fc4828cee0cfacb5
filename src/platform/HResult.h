#pragma once

#include <QString>

namespace torvelane::platform {

/// An HRESULT, as COM calls return it; every 32-bit number is a value, the ones that the program names are listed.
/// https://learn.microsoft.com/windows/win32/seccrypto/common-hresult-values
enum class HResult : qint32 {
    Ok = 0,
    False = 1,                                        ///< S_FALSE: a success that says no.
    Unspecified = static_cast<qint32>(0x80004005),    ///< E_FAIL
    RpcChangedMode = static_cast<qint32>(0x80010106), ///< RPC_E_CHANGED_MODE: the thread is in the other apartment.
    RpcTooLate = static_cast<qint32>(0x80010119), ///< RPC_E_TOO_LATE: the security of the process is set up already.
    ServiceDisabled = static_cast<qint32>(0x80070422), ///< ERROR_SERVICE_DISABLED
};

/// FAILED(): a negative number.
[[nodiscard]] constexpr bool failed(HResult result)
{
    return static_cast<qint32>(result) < 0;
}

/// The number as messages show it behind their "0x": lower-case hexadecimal digits without leading zeros.
[[nodiscard]] inline QString hexDigits(HResult result)
{
    return QString::number(static_cast<quint32>(result), 16);
}

} // namespace torvelane::platform
