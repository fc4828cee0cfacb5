#pragma once

#include <QtGlobal>

namespace torvelane::platform {

/// A Win32 error code, as the registry and process calls return it. The simulated PC answers with the same numbers.
/// Values: https://learn.microsoft.com/windows/win32/debug/system-error-codes
using SystemCode = quint32;

inline constexpr SystemCode codeSuccess = 0;           ///< ERROR_SUCCESS
inline constexpr SystemCode codeFileNotFound = 2;      ///< ERROR_FILE_NOT_FOUND: no such key or value
inline constexpr SystemCode codeAccessDenied = 5;      ///< ERROR_ACCESS_DENIED
inline constexpr SystemCode codeInvalidHandle = 6;     ///< ERROR_INVALID_HANDLE
inline constexpr SystemCode codeWriteFault = 29;       ///< ERROR_WRITE_FAULT
inline constexpr SystemCode codeInvalidParameter = 87; ///< ERROR_INVALID_PARAMETER
inline constexpr SystemCode codeMoreData = 234;        ///< ERROR_MORE_DATA: the buffer is too small

} // namespace torvelane::platform
