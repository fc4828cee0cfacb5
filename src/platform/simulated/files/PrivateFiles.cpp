#include "platform/PrivateFiles.h"

#include "platform/simulated/calls/Calls.h"

#include <QDir>

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

/// These are files of the host, since real tools and the program itself work with them.
namespace torvelane::platform {

using namespace simulated;

namespace {

Win32Error errorOf(int number)
{
    switch (number) {
    case 0:
        return Win32Error::Success;
    case EEXIST:
        return Win32Error::AlreadyExists;
    case ENOENT:
    case ENOTDIR:
        return Win32Error::PathNotFound;
    case EACCES:
    case EPERM:
    case EROFS:
        return Win32Error::AccessDenied;
    default:
        return Win32Error::GeneralFailure;
    }
}

} // namespace

QString commonTemporaryDirectory()
{
    // /tmp makes the same promise, by its sticky bit.
    return QDir::tempPath();
}

Win32Error createPrivateDirectory(const QString& path)
{
    return Calls::run(Call{u"files.createDirectory"_s, {path}}, [&path](QJsonObject&) {
        return errorOf(::mkdir(QFile::encodeName(path).constData(), S_IRWXU) == 0 ? 0 : errno);
    });
}

Win32Error createPrivateFile(const QString& path, QFile& out)
{
    return Calls::run(Call{u"files.createFile"_s, {path}}, [&path, &out](QJsonObject&) {
        const int file = ::open(QFile::encodeName(path).constData(),
                                O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (file < 0)
            return errorOf(errno);
        return out.open(file, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::AutoCloseHandle)
            ? Win32Error::Success
            : Win32Error::WriteFault;
    });
}

FileHold holdFile(const QString& path)
{
    const int file = ::open(QFile::encodeName(path).constData(), O_RDONLY | O_NOFOLLOW | O_CLOEXEC);
    if (file < 0)
        return nullptr;
    return FileHold(new int(file), [](void* held) {
        auto* const descriptor = static_cast<int*>(held);
        ::close(*descriptor);
        delete descriptor;
    });
}

bool isOrdinaryFile(const QString& path)
{
    struct stat status { };
    return ::lstat(QFile::encodeName(path).constData(), &status) == 0 && S_ISREG(status.st_mode)
        && status.st_nlink == 1;
}

Win32Error startBatchFile(const QString& path, const QString& workingDirectory)
{
    return Calls::run(Call{u"processes.startBatchFile"_s, {path, workingDirectory}},
                      [](QJsonObject&) { return Win32Error::Success; });
}

} // namespace torvelane::platform
