#include "app/DataDirectory.h"

#include "core/Log.h"
#include "core/Paths.h"
#include "platform/Elevation.h"

#include <QDateTime>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <filesystem>
#include <system_error>

namespace torvelane {

using platform::FileOwner;

namespace {

const QString asideMark = QStringLiteral(".set-aside-");

constexpr QDir::Filters everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;

bool lies(const QString& path)
{
    const QFileInfo info(path);
    return info.exists() || info.isSymLink();
}

/// The note, in a place where only administrators write, that a start has made everything in this user's data directory
/// owned by Administrators. From then on whatever is owned by someone else was put there by another program. It can't
/// lie in the data directory: who exchanges that would leave it out.
QString noteFile()
{
    return QDir(Paths::machineDataDir()).filePath(platform::currentUserId() + QStringLiteral(".protected"));
}

bool isNoted()
{
    return platform::fileOwner(Paths::machineDataDir()) == FileOwner::Privileged
        && platform::fileOwner(noteFile()) == FileOwner::Privileged;
}

/// The note is a file of ours that was just made. If not even that is seen to be owned by Administrators, as on a disk
/// that keeps no owners, our own files would look like planted ones, and there must be no note.
bool writeNote()
{
    if (!Paths::ensureMachineDataDir() || !platform::protectDirectory(Paths::machineDataDir()))
        return false;
    const QString path = noteFile();
    if (platform::fileOwner(path) == FileOwner::Other)
        QFile::remove(path);
    {
        QFile note(path);
        if (!note.open(QIODevice::WriteOnly))
            return false;
    }
    if (isNoted())
        return true;
    QFile::remove(path);
    return false;
}

} // namespace

bool DataDirectory::prepare()
{
    m_warnings.clear();
    const bool isKnownUser = isNoted();
    if (!Paths::ensureDataDir() || !takePossession(isKnownUser))
        return false;
    // On the first start nothing is set aside: an earlier version left the owner of its files to the machine's policy,
    // and they hold the original values.
    if (isKnownUser && !setAsideForeignEntries())
        return false;
    if (!platform::protectContents(Paths::dataDir()))
        warn(QStringLiteral("Not everything in the data directory could be restricted to administrators"));
    if (!isKnownUser && !writeNote()) {
        warn(QStringLiteral("Files of other programs in the data directory will not be recognized: no note of "
                            "their owner could be left in %1")
                 .arg(Paths::machineDataDir()));
    }
    return true;
}

bool DataDirectory::takePossession(bool isKnownUser)
{
    const QString path = Paths::dataDir();
    const auto possess = [&] {
        m_hold = platform::holdDirectory(path);
        return platform::protectDirectory(path);
    };
    bool isProtected = possess();
    if (!isProtected && isKnownUser) {
        // A link, as a rule. Ours was a directory that could be restricted.
        m_hold.reset();
        if (!setAside(path) || !Paths::ensureDataDir())
            return false;
        isProtected = possess();
    }
    if (!m_hold)
        warn(QStringLiteral("The data directory could not be kept from being renamed"));
    if (!isProtected)
        warn(QStringLiteral("The data directory could not be restricted to administrators"));
    return true;
}

bool DataDirectory::setAsideForeignEntries()
{
    const QFileInfoList entries = QDir(Paths::dataDir()).entryInfoList(everything);
    for (const QFileInfo& entry : entries) {
        const QString path = entry.filePath();
        const FileOwner owner = platform::fileOwner(path);
        if (entry.fileName().contains(asideMark) || owner == FileOwner::Privileged)
            continue;
        // What the system doesn't name the owner of may be ours, and isn't moved; but it isn't believed either. What is
        // gone meanwhile was a temporary file of another instance, or that has set it aside itself.
        if ((owner == FileOwner::Unknown || !setAside(path)) && lies(path))
            return false;
    }
    return true;
}

bool DataDirectory::setAside(const QString& path)
{
    const QString stamp = QDateTime::currentDateTimeUtc().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz"));
    const QString target = path + asideMark + stamp;
    std::error_code error;
    if (!lies(target))
        std::filesystem::rename(QFileInfo(path).filesystemFilePath(), QFileInfo(target).filesystemFilePath(), error);
    if (error || lies(path)) {
        logMessage(LogLevel::Error, QStringLiteral("app"),
                   QStringLiteral("Another program's %1 could not be set aside").arg(path));
        return false;
    }
    warn(QStringLiteral("Another program made %1; set aside as %2")
             .arg(QFileInfo(path).fileName(), QFileInfo(target).fileName()));
    return true;
}

void DataDirectory::report() const
{
    for (const QString& message : m_warnings)
        logMessage(LogLevel::Warn, QStringLiteral("app"), message);
}

QStringList DataDirectory::setAsideNames()
{
    const QFileInfo directory(Paths::dataDir());
    return directory.dir().entryList({directory.fileName() + asideMark + QLatin1Char('*')}, everything, QDir::Name)
        + QDir(directory.filePath())
              .entryList({QLatin1Char('*') + asideMark + QLatin1Char('*')}, everything, QDir::Name);
}

} // namespace torvelane
