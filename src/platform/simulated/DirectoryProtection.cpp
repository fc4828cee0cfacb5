#include "platform/DirectoryProtection.h"

#include <QDir>
#include <QFile>

#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace torvelane::platform {

namespace {

// What stands for "owned by Administrators" here: only the user may do anything with it. Files made by other programs
// are readable for the group and others, unless their makers hide them.
constexpr mode_t privateFile = S_IRUSR | S_IWUSR;
constexpr mode_t privateDirectory = privateFile | S_IXUSR;

bool makePrivate(const QString& path)
{
    const QByteArray name = QFile::encodeName(path);
    struct stat status { };
    if (lstat(name.constData(), &status) != 0 || S_ISLNK(status.st_mode))
        return false;
    const mode_t wanted = S_ISDIR(status.st_mode) ? privateDirectory : privateFile;
    // A change to the same mode would count as one, and every later wait for the disk would write it out.
    return (status.st_mode & ALLPERMS) == wanted || chmod(name.constData(), wanted) == 0;
}

// A file descriptor that is closed with its owner.
class OwnedDescriptor {
public:
    explicit OwnedDescriptor(int descriptor) : m_descriptor(descriptor) { }
    ~OwnedDescriptor()
    {
        if (m_descriptor >= 0)
            ::close(m_descriptor);
    }
    OwnedDescriptor(OwnedDescriptor&& other) noexcept : m_descriptor(std::exchange(other.m_descriptor, -1)) { }
    OwnedDescriptor(const OwnedDescriptor&) = delete;
    OwnedDescriptor& operator=(const OwnedDescriptor&) = delete;

    [[nodiscard]] explicit operator bool() const { return m_descriptor >= 0; }

private:
    int m_descriptor;
};

OwnedDescriptor openDirectory(const QString& path)
{
    return OwnedDescriptor(
        ::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

} // namespace

FileOwner fileOwner(const QString& path)
{
    struct stat status { };
    if (lstat(QFile::encodeName(path).constData(), &status) != 0)
        return FileOwner::Unknown;
    const bool isPrivate = (status.st_mode & (S_IRWXG | S_IRWXO)) == 0;
    return !S_ISLNK(status.st_mode) && status.st_uid == geteuid() && isPrivate ? FileOwner::Privileged
                                                                               : FileOwner::Other;
}

bool protectDirectory(const QString& path)
{
    return QDir(path).exists() && makePrivate(path);
}

bool protectContents(const QString& path)
{
    bool all = true;
    const QFileInfoList entries =
        QDir(path).entryInfoList(QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot);
    for (const QFileInfo& entry : entries)
        all = makePrivate(entry.filePath()) && (!entry.isDir() || protectContents(entry.filePath())) && all;
    return all;
}

DirectoryHold holdDirectory(const QString& path)
{
    auto descriptors = std::make_shared<std::vector<OwnedDescriptor>>();
    descriptors->push_back(openDirectory(path));
    if (!descriptors->front())
        return nullptr;
    QDir above(path);
    while (above.cdUp())
        descriptors->push_back(openDirectory(above.path()));
    return descriptors;
}

} // namespace torvelane::platform
