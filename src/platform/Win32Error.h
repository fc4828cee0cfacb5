#pragma once

#include <QtGlobal>

namespace torvelane::platform {

/// A Win32 error code, as the registry, file and process calls return it; every 32-bit number is a value, the ones that
/// the program names are listed. The simulated PC answers with the same numbers.
/// Values: https://learn.microsoft.com/windows/win32/debug/system-error-codes
enum class Win32Error : quint32 {
    Success = 0,
    FileNotFound = 2, ///< No such file, key or value.
    PathNotFound = 3,
    AccessDenied = 5,
    InvalidHandle = 6,
    WriteFault = 29,
    GeneralFailure = 31, ///< ERROR_GEN_FAILURE
    LockViolation = 33,  ///< Another process has locked that part of the file.
    FileExists = 80,     ///< What CREATE_NEW finds.
    InvalidParameter = 87,
    DirectoryNotEmpty = 145,
    BadPathname = 161,
    AlreadyExists = 183,
    MoreData = 234,         ///< The buffer is too small.
    Directory = 267,        ///< The name is no directory's.
    StoppedOnSymlink = 681, ///< What was to be opened is a link.
    RegistryIoFailed = 1016,
    KeyDeleted = 1018,
    Cancelled = 1223,
    // WinHTTP's own: https://learn.microsoft.com/windows/win32/winhttp/error-messages
    HttpTimeout = 12002,
    HttpUrlInvalid = 12005,
    HttpUrlUnknownScheme = 12006,
    HttpNameNotResolved = 12007,
    HttpCannotConnect = 12029,
    HttpConnectionError = 12030, ///< Also a body that ended before its length.
    HttpAnswerInvalid = 12152,
    HttpRedirectFailed = 12156, ///< To an unsafe scheme, or too many of them.
    HttpSecureFailure = 12175,  ///< Certificate or handshake.
    HttpHeaderOverflow = 12182,
};

/// The number, for a text or a log line.
[[nodiscard]] constexpr quint32 toNumber(Win32Error error)
{
    return static_cast<quint32>(error);
}

} // namespace torvelane::platform
