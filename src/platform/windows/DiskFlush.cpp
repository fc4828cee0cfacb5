#include "platform/DiskFlush.h"

#include "platform/windows/Owners.h"

#include <QDir>

namespace torvelane::platform {

Win32Error flushToDisk(const QString& path)
{
    constexpr DWORD shareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const OwnedHandle file = ownFile(CreateFileW(wide(QDir::toNativeSeparators(path)), GENERIC_WRITE, shareAll, nullptr,
                                                 OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
    return file && FlushFileBuffers(file.get()) ? Win32Error::Success : static_cast<Win32Error>(GetLastError());
}

} // namespace torvelane::platform
