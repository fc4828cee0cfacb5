#include "platform/Elevation.h"

#include "platform/windows/Owners.h"

#include <array>

#include <lmcons.h>

namespace torvelane::platform {

bool isElevated()
{
    OwnedHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()))
        return false;
    TOKEN_ELEVATION elevation{};
    DWORD sizeBytes = 0;
    return GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof(elevation), &sizeBytes)
        && elevation.TokenIsElevated != 0;
}

QString currentUserName()
{
    std::array<wchar_t, UNLEN + 1> name{};
    auto length = static_cast<DWORD>(name.size());
    return GetUserNameW(name.data(), &length) ? QString::fromWCharArray(name.data()) : QString();
}

} // namespace torvelane::platform
