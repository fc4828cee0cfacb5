#pragma once

#include "platform/Win32Error.h"

#include <QFile>
#include <QString>

#include <memory>

/// Files that this elevated program makes where others can make files too, and that nobody else may change.
namespace torvelane::platform {

/// The machine's own folder for temporary files, in which everyone may make files but only administrators may rename or
/// remove those of others. The user's folder (%TEMP%) gives no such promise: whoever owns a folder may remove what is in
/// it, whatever the access lists of that say.
[[nodiscard]] QString commonTemporaryDirectory();

/// Makes a directory that only administrators and the system may enter, as anything that is made in it. It is new:
/// AlreadyExists if the name is taken, by whatever. Needs administrator rights.
[[nodiscard]] Win32Error createPrivateDirectory(const QString& path);

/// The same for a file, which `out` has open for writing without a buffer. As long as it is open, others can neither
/// write nor rename nor remove it on Windows. The parent has to be there; AlreadyExists if the name is taken.
[[nodiscard]] Win32Error createPrivateFile(const QString& path, QFile& out);

/// Keeps a file what it is, until the last copy goes.
using FileHold = std::shared_ptr<void>;

/// Opens a file so that others may read it, but on Windows neither write nor rename nor remove it meanwhile. Null if
/// there is none, if it is open for writing, or if a link lies there. On the simulated PC a file of others can't be
/// changed anyway, and the file is just open.
[[nodiscard]] FileHold holdFile(const QString& path);

/// Whether a regular file lies at `path` and nowhere else: no link of any kind, and no second name of another file.
[[nodiscard]] bool isOrdinaryFile(const QString& path);

/// Starts a batch file through cmd.exe, without a window, and doesn't wait for it. It outlives this process.
/// `workingDirectory` is where it runs.
[[nodiscard]] Win32Error startBatchFile(const QString& path, const QString& workingDirectory);

} // namespace torvelane::platform
