#include "platform/SystemTools.h"

#include "platform/windows/SystemDirectories.h"

#include <QFileInfo>

namespace torvelane::platform {

QString systemToolPath(const QString& name)
{
    const QString system = systemDirectory();
    const QString folders[] = {
        system,
        system + QStringLiteral("\\WindowsPowerShell\\v1.0"), // powershell.exe
        system + QStringLiteral("\\wbem"),                    // wmic.exe
        windowsDirectory(),                                   // explorer.exe
    };
    for (const QString& folder : folders) {
        const QString path = folder + QStringLiteral("\\") + name;
        if (QFileInfo(path).isFile())
            return path;
    }
    return name;
}

ToolCommand shellCommand(const QString& command)
{
    // /d: the AutoRun commands below HKCU, which anyone without elevation can set, don't run elevated here.
    // /s: the shell takes off just the outer quotes and reads the rest as it stands, whatever quotes are in it.
    // https://learn.microsoft.com/windows-server/administration/windows-commands/cmd
    return {.program = systemToolPath(QStringLiteral("cmd.exe")),
            .arguments = {},
            .nativeArguments = QStringLiteral("/d /s /c \"") + command + QStringLiteral("\"")};
}

} // namespace torvelane::platform
