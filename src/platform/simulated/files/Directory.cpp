#include "platform/Directory.h"

#include "platform/simulated/files/Drive.h"

#include <QFile>

#include <cerrno>
#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace torvelane::platform {

namespace {

Win32Error errorOf(int number)
{
    switch (number) {
    case ENOENT:
        return Win32Error::FileNotFound;
    case ENOTDIR:
        return Win32Error::Directory;
    case ELOOP:
        return Win32Error::StoppedOnSymlink;
    case EACCES:
    case EPERM:
        return Win32Error::AccessDenied;
    case ENOTEMPTY:
    case EEXIST:
        return Win32Error::DirectoryNotEmpty;
    default:
        return Win32Error::GeneralFailure;
    }
}

} // namespace

struct Directory::Private {
    explicit Private(int opened) : descriptor(opened) { }
    ~Private() { ::close(descriptor); }
    Private(const Private&) = delete;
    Private& operator=(const Private&) = delete;

    int descriptor;
};

Directory::Directory() = default;
Directory::~Directory() = default;
Directory::Directory(Directory&& other) noexcept = default;
Directory& Directory::operator=(Directory&& other) noexcept = default;

bool Directory::isOpen() const
{
    return d != nullptr;
}

namespace {

/// Opens a folder that is no link; -1 with the reason in `error` otherwise.
int openFolder(int parent, const QByteArray& name, Win32Error& error)
{
    const int descriptor = ::openat(parent, name.constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC);
    error = Win32Error::Success;
    if (descriptor >= 0)
        return descriptor;
    const int number = errno;
    // A link to a folder is refused as no folder.
    struct stat found { };
    const bool isLink = ::fstatat(parent, name.constData(), &found, AT_SYMLINK_NOFOLLOW) == 0 && S_ISLNK(found.st_mode);
    error = isLink ? Win32Error::StoppedOnSymlink : errorOf(number);
    return -1;
}

} // namespace

Win32Error Directory::open(const QString& path, Directory& out)
{
    out.d.reset();
    Win32Error error = Win32Error::Success;
    QByteArray name = QFile::encodeName(simulated::hostPath(path));
    while (name.size() > 1 && name.endsWith('/'))
        name.chop(1);
    if (const int descriptor = openFolder(AT_FDCWD, name, error); descriptor >= 0)
        out.d = std::make_unique<Private>(descriptor);
    return error;
}

Win32Error Directory::openChild(const DirectoryEntry& entry, Directory& out) const
{
    out.d.reset();
    Win32Error error = Win32Error::Success;
    if (const int descriptor = openFolder(d->descriptor, entry.systemName, error); descriptor >= 0)
        out.d = std::make_unique<Private>(descriptor);
    return error;
}

QString Directory::finalPath() const
{
    return simulated::windowsPath(QFile::symLinkTarget(QStringLiteral("/proc/self/fd/%1").arg(d->descriptor)));
}

Win32Error Directory::entries(QList<DirectoryEntry>& out) const
{
    out.clear();
    // Reading moves a position and closing closes: both on a descriptor of its own.
    const int descriptor = ::openat(d->descriptor, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    DIR* const stream = descriptor >= 0 ? ::fdopendir(descriptor) : nullptr;
    if (!stream) {
        const Win32Error error = errorOf(errno);
        if (descriptor >= 0)
            ::close(descriptor);
        return error;
    }
    errno = 0;
    while (const dirent* const found = ::readdir(stream)) {
        const QByteArray name(found->d_name);
        struct stat status { };
        if (name == "." || name == ".." || ::fstatat(d->descriptor, found->d_name, &status, AT_SYMLINK_NOFOLLOW) != 0) {
            errno = 0;
            continue;
        }
        const bool isLink = S_ISLNK(status.st_mode);
        out.append({QFile::decodeName(name), name, S_ISDIR(status.st_mode), isLink,
                    isLink ? 0 : static_cast<qint64>(status.st_size)});
        errno = 0;
    }
    const int number = errno;
    ::closedir(stream);
    return number == 0 ? Win32Error::Success : errorOf(number);
}

Win32Error Directory::remove(const DirectoryEntry& entry) const
{
    const bool removed =
        ::unlinkat(d->descriptor, entry.systemName.constData(), entry.isDirectory ? AT_REMOVEDIR : 0) == 0;
    return removed ? Win32Error::Success : errorOf(errno);
}

} // namespace torvelane::platform
