#include "platform/windows/SystemDirectories.h"

#include "platform/windows/Owners.h"

#include <array>

namespace torvelane::platform {

namespace {

template <typename Call>
QString directoryFrom(Call call)
{
    std::array<wchar_t, MAX_PATH + 1> buffer{};
    const UINT length = call(buffer.data(), static_cast<UINT>(buffer.size()));
    return length < buffer.size() ? QString::fromWCharArray(buffer.data(), static_cast<qsizetype>(length)) : QString();
}

} // namespace

QString windowsDirectory()
{
    // GetWindowsDirectoryW would give a private folder of the user on a terminal server.
    return directoryFrom(GetSystemWindowsDirectoryW);
}

QString systemDirectory()
{
    return directoryFrom(GetSystemDirectoryW);
}

} // namespace torvelane::platform
