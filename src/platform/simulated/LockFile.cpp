#include "platform/LockFile.h"

#include <QFile>

#include <cerrno>
#include <fcntl.h>
#include <tuple>
#include <unistd.h>

namespace torvelane::platform {

struct LockFile::Private {
    int descriptor = -1;

    ~Private()
    {
        if (descriptor < 0)
            return;
        // Closing would not do: a child that is being started still has a copy of the descriptor.
        std::ignore = set(0, F_UNLCK, 0);
        ::close(descriptor);
    }

    /// A lock of the open file description: another descriptor of the file, opened and closed anywhere in the process,
    /// would end an ordinary record lock. A length of 0 reaches to the end of the file.
    [[nodiscard]] Win32Error set(quint32 slot, short type, off_t length = 1) const
    {
        struct flock range { };
        range.l_type = type;
        range.l_whence = SEEK_SET;
        range.l_start = slot;
        range.l_len = length;
        if (::fcntl(descriptor, F_OFD_SETLK, &range) == 0)
            return Win32Error::Success;
        return errno == EAGAIN || errno == EACCES ? Win32Error::LockViolation : Win32Error::InvalidHandle;
    }
};

LockFile::LockFile() : d(std::make_unique<Private>()) { }

LockFile::~LockFile() = default;

Win32Error LockFile::open(const QString& path)
{
    d = std::make_unique<Private>();
    d->descriptor = ::open(QFile::encodeName(path).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (d->descriptor >= 0)
        return Win32Error::Success;
    return errno == ENOENT ? Win32Error::FileNotFound : Win32Error::AccessDenied;
}

Win32Error LockFile::tryLock(quint32 slot)
{
    return d->set(slot, F_WRLCK);
}

void LockFile::unlock(quint32 slot)
{
    std::ignore = d->set(slot, F_UNLCK);
}

} // namespace torvelane::platform
