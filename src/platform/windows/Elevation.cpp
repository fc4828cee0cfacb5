#include "platform/Elevation.h"

#include "platform/windows/Owners.h"

#include <array>
#include <vector>

#include <lmcons.h>
#include <sddl.h>

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

QString currentUserId()
{
    OwnedHandle token;
    if (!OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, token.put()))
        return {};
    DWORD sizeBytes = 0;
    GetTokenInformation(token.get(), TokenUser, nullptr, 0, &sizeBytes);
    std::vector<std::byte> buffer(sizeBytes);
    if (!GetTokenInformation(token.get(), TokenUser, buffer.data(), sizeBytes, &sizeBytes))
        return {};
    OwnedLocal<wchar_t> text;
    ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(buffer.data())->User.Sid, text.put());
    return text ? QString::fromWCharArray(text.get()) : QString();
}

} // namespace torvelane::platform
