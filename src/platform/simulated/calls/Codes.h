#pragma once

#include "platform/HResult.h"
#include "platform/Win32Error.h"

namespace torvelane::platform::simulated {

/// What Calls has to know of the codes that a facility answers with: which of them say that the call did its work, and
/// which one it answers with when the machine's file can't be used.
template <typename Code>
struct Codes;

template <>
struct Codes<Win32Error> {
    static constexpr Win32Error unusable = Win32Error::RegistryIoFailed;
    static bool isSuccess(Win32Error code) { return code == Win32Error::Success; }
};

template <>
struct Codes<HResult> {
    static constexpr HResult unusable{static_cast<qint32>(0x80004005)}; // E_FAIL
    static bool isSuccess(HResult code) { return !failed(code); }
};

/// Exit codes of tools, and numbers that mean something else but where 0 is the good one.
template <>
struct Codes<int> {
    static constexpr int unusable = -1;
    static bool isSuccess(int code) { return code == 0; }
};

} // namespace torvelane::platform::simulated
