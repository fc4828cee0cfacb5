#pragma once

#include <QByteArray>
#include <QString>

namespace torvelane {

/// What the script copies where.
struct UpdatePaths {
    QString source;  ///< Folder with the new files.
    QString target;  ///< Folder of the installation.
    QString staging; ///< What it removes in the end; holds `source`.
};

/// The batch file that takes over from this process: it waits for the process's end, stops the guard service if that
/// runs, copies the new files over the installation, starts Torvelane.exe again and removes the staging folder and
/// itself. After a failed copy nothing is started. It writes %TEMP%\torvelane_update.log. In UTF-8, with CR LF.
[[nodiscard]] QByteArray updateScript(const UpdatePaths& paths, qint64 processId);

} // namespace torvelane
