#include "platform/DiskFlush.h"

#include <QFile>
#include <QFileInfo>

#include <fcntl.h>
#include <unistd.h>

namespace torvelane::platform {

Win32Error flushToDisk(const QString& path)
{
    const QByteArray folder = QFile::encodeName(QFileInfo(path).path());
    const int descriptor = ::open(folder.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (descriptor < 0)
        return Win32Error::PathNotFound;
    const bool isFlushed = ::fsync(descriptor) == 0;
    ::close(descriptor);
    return isFlushed ? Win32Error::Success : Win32Error::GeneralFailure;
}

} // namespace torvelane::platform
