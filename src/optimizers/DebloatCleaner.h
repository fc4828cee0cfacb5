#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace torvelane {

/// One kind of files that can go.
struct CleanCategory {
    QString key;         ///< Stable identifier.
    QString title;       ///< In the user's language.
    QString description; ///< In the user's language.
    QStringList paths;   ///< Folders that are emptied; they themselves stay.
    bool isRecycleBin = false;
};

/// What a cleaning has done.
struct CleanResult {
    qint64 bytesFreed = 0;
    qint32 itemsRemoved = 0; ///< Entries of the folders themselves; a subfolder counts once, however full it was.
};

/// Deletes temporary files and caches, for good. No state. Both operations block on the disk for as long as it takes:
/// never on the GUI thread.
///
/// The folders are ones that other programs of the user write to, and this program is elevated, so nothing there is
/// trusted: a link of any kind is removed itself or left alone and never entered, also one that appears while the walk
/// runs; a category's folder that is a link, or that really lies among Windows' or the programs' own files, is refused.
namespace DebloatCleaner {

/// In the order in which they are shown. Cheap.
[[nodiscard]] QList<CleanCategory> categories();

/// How many bytes cleaning would free, at the most.
[[nodiscard]] qint64 scanSize(const CleanCategory& category);

/// Files in use stay and don't count.
[[nodiscard]] CleanResult clean(const CleanCategory& category);

} // namespace DebloatCleaner

} // namespace torvelane
