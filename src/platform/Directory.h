#pragma once

#include "platform/Win32Error.h"

#include <QByteArray>
#include <QList>
#include <QString>

#include <memory>

namespace torvelane::platform {

/// One entry of a directory, itself and never what it may point to.
struct DirectoryEntry {
    QString name;
    QByteArray systemName;    ///< As the simulated PC's file system spells it, also where that is no text; else empty.
    bool isDirectory = false; ///< On Windows of a link to a directory too.
    bool isLink = false;  ///< A symbolic link, junction, mount point or volume link: any reparse point that redirects.
    qint64 sizeBytes = 0; ///< Of a file.
};

/// One open directory. Its entries are listed, entered and removed through its handle and not by paths, so that what
/// somebody puts in the place of it, or of a folder above it, is never touched: nothing here follows a link. Names may
/// hold whatever the file system allows, at any depth. One object belongs to one thread; every call blocks on the disk.
class Directory {
public:
    Directory();
    ~Directory();
    Directory(Directory&& other) noexcept;
    Directory& operator=(Directory&& other) noexcept;
    Directory(const Directory&) = delete;
    Directory& operator=(const Directory&) = delete;

    /// Opens the folder at a path. Folders above it may be links, as on a machine whose user folders were moved; the
    /// folder itself may not: Win32Error::StoppedOnSymlink. FileNotFound or PathNotFound if there is none.
    [[nodiscard]] static Win32Error open(const QString& path, Directory& out);

    /// Opens a direct subdirectory; StoppedOnSymlink if it is a link by now, Win32Error::Directory if it is no directory.
    [[nodiscard]] Win32Error openChild(const DirectoryEntry& entry, Directory& out) const;

    /// Every entry but the two that stand for the folder itself and the one above. Replaces `out`; what was read before a
    /// failure stays in it.
    [[nodiscard]] Win32Error entries(QList<DirectoryEntry>& out) const;

    /// Removes a file, an empty directory, or a link itself; read-only or not. Fails if it is in use.
    [[nodiscard]] Win32Error remove(const DirectoryEntry& entry) const;

    /// Where the open folder really lies, all links on the way to it resolved; empty if the system won't say.
    [[nodiscard]] QString finalPath() const;

    [[nodiscard]] bool isOpen() const;

private:
    struct Private;
    std::unique_ptr<Private> d;
};

} // namespace torvelane::platform
