#include "optimizers/DebloatCleaner.h"

#include "core/Translate.h"
#include "platform/Directory.h"
#include "platform/RecycleBin.h"
#include "platform/SpecialFolders.h"

#include <algorithm>
#include <array>
#include <utility>
#include <vector>

namespace torvelane::DebloatCleaner {

namespace {

using platform::Directory;
using platform::DirectoryEntry;
using platform::SpecialFolder;
using platform::specialFolder;
using platform::Win32Error;

/// Folders below Windows' own that hold nothing but what may go.
constexpr std::array cleanableBelowSystemRoot{
    QLatin1String("Temp"),
    QLatin1String("Prefetch"),
    QLatin1String("Minidump"),
    QLatin1String("SoftwareDistribution\\Download"),
};

/// A folder on the way down: what is left to look at in it.
struct Level {
    Directory directory;
    QList<DirectoryEntry> entries;
    qsizetype next = 0;
    DirectoryEntry self; ///< In the level above.
};

bool enter(Level& level)
{
    // An entry that can't be listed is one that can't go.
    return level.directory.entries(level.entries) == Win32Error::Success || !level.entries.isEmpty();
}

/// Adds up the files below an open folder. Not recursive, since whoever fills the folder decides how deep it is.
qint64 sizeBelow(Directory directory)
{
    qint64 sizeBytes = 0;
    std::vector<Level> levels(1);
    levels.back().directory = std::move(directory);
    enter(levels.back());
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            levels.pop_back();
            continue;
        }
        const DirectoryEntry& entry = level.entries.at(level.next++);
        if (entry.isLink)
            continue;
        if (!entry.isDirectory) {
            sizeBytes += entry.sizeBytes;
            continue;
        }
        Level below;
        if (level.directory.openChild(entry, below.directory) == Win32Error::Success) {
            enter(below);
            levels.push_back(std::move(below));
        }
    }
    return sizeBytes;
}

/// Removes a folder and what is in it, as far as it goes. @return whether the folder is gone
bool removeTree(const Directory& parent, const DirectoryEntry& root)
{
    std::vector<Level> levels(1);
    if (parent.openChild(root, levels.back().directory) != Win32Error::Success)
        return false;
    levels.back().self = root;
    enter(levels.back());
    bool gone = false;
    while (!levels.empty()) {
        Level& level = levels.back();
        if (level.next == level.entries.size()) {
            const DirectoryEntry self = level.self;
            levels.pop_back(); // closes it
            gone = (levels.empty() ? parent : levels.back().directory).remove(self) == Win32Error::Success;
            continue;
        }
        const DirectoryEntry entry = level.entries.at(level.next++);
        if (!entry.isDirectory || entry.isLink) {
            std::ignore = level.directory.remove(entry);
            continue;
        }
        Level below;
        if (level.directory.openChild(entry, below.directory) != Win32Error::Success) {
            // A link by now, or a folder that nobody may list: at best it goes itself.
            std::ignore = level.directory.remove(entry);
            continue;
        }
        below.self = entry;
        enter(below);
        levels.push_back(std::move(below));
    }
    return gone;
}

bool isBelow(const QString& path, const QString& folder)
{
    return !folder.isEmpty() && path.startsWith(folder + QLatin1Char('\\'), Qt::CaseInsensitive);
}

bool isSame(const QString& path, const QString& folder)
{
    return path.compare(folder, Qt::CaseInsensitive) == 0;
}

/// Whether a folder really lies where Windows and the programs keep their own files, or above them. %TEMP% is the user's
/// to set, and a program of theirs could set it to a folder that only administrators may empty.
bool isGuarded(const QString& path)
{
    const QString systemRoot = specialFolder(SpecialFolder::SystemRoot);
    for (const QLatin1String name : cleanableBelowSystemRoot) {
        if (isSame(path, systemRoot + QLatin1Char('\\') + name))
            return false;
    }
    const std::array guarded{systemRoot, specialFolder(SpecialFolder::ProgramFiles),
                             specialFolder(SpecialFolder::ProgramFilesX86), specialFolder(SpecialFolder::ProgramData)};
    return path.size() <= 3 || std::ranges::any_of(guarded, [&path](const QString& folder) {
               return !folder.isEmpty() && (isSame(path, folder) || isBelow(path, folder) || isBelow(folder, path));
           });
}

qint64 folderSize(const QString& path)
{
    Directory directory;
    if (path.trimmed().isEmpty() || Directory::open(path, directory) != Win32Error::Success)
        return 0;
    return sizeBelow(std::move(directory));
}

void cleanFolder(const QString& path, CleanResult& result)
{
    // An unset variable leaves "\Temp", which would be a folder at the root of the current drive.
    Directory directory;
    if (path.trimmed().isEmpty() || path.startsWith(QLatin1Char('\\'))
        || Directory::open(path, directory) != Win32Error::Success || isGuarded(directory.finalPath())) {
        return;
    }
    QList<DirectoryEntry> entries;
    std::ignore = directory.entries(entries);
    for (const DirectoryEntry& entry : std::as_const(entries)) {
        qint64 sizeBytes = entry.isLink ? 0 : entry.sizeBytes;
        bool gone = false;
        if (entry.isDirectory && !entry.isLink) {
            Directory below;
            sizeBytes = directory.openChild(entry, below) == Win32Error::Success ? sizeBelow(std::move(below)) : 0;
            gone = removeTree(directory, entry);
        } else {
            gone = directory.remove(entry) == Win32Error::Success;
        }
        if (gone) {
            result.bytesFreed += sizeBytes;
            ++result.itemsRemoved;
        }
    }
}

CleanResult emptyBin()
{
    const qint64 sizeBytes = platform::recycleBinSizeBytes().value_or(0);
    if (platform::emptyRecycleBin() != platform::HResult::Ok)
        return {};
    return {sizeBytes, sizeBytes != 0 ? 1 : 0};
}

} // namespace

QList<CleanCategory> categories()
{
    const QString temporary = specialFolder(SpecialFolder::Temporary);
    const auto local = [folder = specialFolder(SpecialFolder::LocalAppData)](QLatin1String below) {
        return QString(folder + QLatin1Char('\\') + below);
    };
    const auto system = [folder = specialFolder(SpecialFolder::SystemRoot)](QLatin1String below) {
        return QString(folder + QLatin1Char('\\') + below);
    };
    return {
        {QStringLiteral("temp"),
         translate("DebloatCleaner", "Temporary files"),
         translate("DebloatCleaner", "User and system TEMP folders."),
         {temporary, system(QLatin1String("Temp"))}},
        {QStringLiteral("prefetch"),
         translate("DebloatCleaner", "Prefetch"),
         translate("DebloatCleaner", "Windows app launch prefetch data (rebuilt automatically)."),
         {system(QLatin1String("Prefetch"))}},
        {QStringLiteral("recycle"),
         translate("DebloatCleaner", "Recycle Bin"),
         translate("DebloatCleaner", "Empties the Recycle Bin on all drives."),
         {},
         true},
        {QStringLiteral("chrome"),
         translate("DebloatCleaner", "Chrome cache"),
         translate("DebloatCleaner", "Google Chrome disk and code cache."),
         {local(QLatin1String("Google\\Chrome\\User Data\\Default\\Cache")),
          local(QLatin1String("Google\\Chrome\\User Data\\Default\\Code Cache"))}},
        {QStringLiteral("shaders"),
         translate("DebloatCleaner", "Game / shader cache"),
         translate("DebloatCleaner", "DirectX, NVIDIA and AMD shader caches (rebuilt on demand)."),
         {local(QLatin1String("D3DSCache")), local(QLatin1String("NVIDIA\\DXCache")),
          local(QLatin1String("NVIDIA\\GLCache")), local(QLatin1String("AMD\\DxCache"))}},
        {QStringLiteral("crashlogs"),
         translate("DebloatCleaner", "Logs & crash reports"),
         translate("DebloatCleaner", "Crash dumps and minidumps."),
         {local(QLatin1String("CrashDumps")), system(QLatin1String("Minidump"))}},
        {QStringLiteral("thumbnails"),
         translate("DebloatCleaner", "Thumbnail cache"),
         translate("DebloatCleaner", "Explorer thumbnail database (rebuilt automatically)."),
         {local(QLatin1String("Microsoft\\Windows\\Explorer"))}},
        {QStringLiteral("wupdate"),
         translate("DebloatCleaner", "Windows Update cache"),
         translate("DebloatCleaner", "Downloaded update installers (already-installed updates)."),
         {system(QLatin1String("SoftwareDistribution\\Download"))}},
    };
}

qint64 scanSize(const CleanCategory& category)
{
    if (category.isRecycleBin)
        return platform::recycleBinSizeBytes().value_or(0);
    qint64 sizeBytes = 0;
    for (const QString& path : category.paths)
        sizeBytes += folderSize(path);
    return sizeBytes;
}

CleanResult clean(const CleanCategory& category)
{
    if (category.isRecycleBin)
        return emptyBin();
    CleanResult result;
    for (const QString& path : category.paths)
        cleanFolder(path, result);
    return result;
}

} // namespace torvelane::DebloatCleaner
