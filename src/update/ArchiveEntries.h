#pragma once

#include <QString>
#include <QStringList>

namespace torvelane {

/// The names in a listing of tar.exe, a line each, as they stand.
[[nodiscard]] QStringList listedEntries(const QString& listing);

/// The first entry that would lead out of the folder into which it is unpacked: absolute, with a drive, or with ".."
/// between separators of either kind. Trimmed; empty if there is none.
[[nodiscard]] QString firstUnsafeEntry(const QStringList& entries);

/// The first entry whose name Windows would read as something else than a file of that name (a device, a stream, a name
/// with blanks or dots at its end), that isn't plain ASCII, that stands there twice, or differs from another one only in
/// case. With the reason, for the log; empty if there is none.
[[nodiscard]] QString firstOddEntry(const QStringList& entries);

/// What distinguishes an unpacked folder from what its archive's listing promised: a link, a file with a second name
/// elsewhere, one that is missing or that nobody listed. A listing is what the tool says; this is what it did. For the
/// log; empty if there is nothing. Reads the disk, follows no link; any thread.
[[nodiscard]] QString unpackedDifference(const QString& folder, const QStringList& entries);

} // namespace torvelane
