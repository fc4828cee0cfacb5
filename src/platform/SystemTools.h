#pragma once

#include <QString>
#include <QStringList>

namespace torvelane::platform {

/// How to start an external tool.
struct ToolCommand {
    QString program;         ///< Absolute path, or the bare name if the tool isn't where the system keeps it.
    QStringList arguments;   ///< One element an argument; quoted as the system needs it.
    QString nativeArguments; ///< Windows only: text put behind the quoted arguments exactly as it stands.
};

/// Path of a tool that Windows ships ("cmd.exe", "powercfg.exe"). Looked up in the system directory and never in the
/// current directory or on a search path that a user could have changed.
[[nodiscard]] QString systemToolPath(const QString& name);

/// `command` as one line for cmd.exe: "/c" and the command, handed over so that the shell itself interprets quotes,
/// `&` and `%VARIABLES%`. The usual quoting of an argument list would put backslashes before the command's own quotes,
/// which cmd.exe doesn't undo.
[[nodiscard]] ToolCommand shellCommand(const QString& command);

} // namespace torvelane::platform
