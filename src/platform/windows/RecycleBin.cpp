#include "platform/RecycleBin.h"

#include <windows.h>

#include <shellapi.h>

namespace torvelane::platform {

std::optional<qint64> recycleBinSizeBytes()
{
    SHQUERYRBINFO info{};
    info.cbSize = sizeof info;
    if (FAILED(SHQueryRecycleBinW(nullptr, &info)))
        return std::nullopt;
    return info.i64Size;
}

HResult emptyRecycleBin()
{
    return static_cast<HResult>(
        SHEmptyRecycleBinW(nullptr, nullptr, SHERB_NOCONFIRMATION | SHERB_NOPROGRESSUI | SHERB_NOSOUND));
}

} // namespace torvelane::platform
