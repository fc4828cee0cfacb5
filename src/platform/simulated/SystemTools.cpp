#include "platform/SystemTools.h"

#include "platform/simulated/tools/ToolsDirectory.h"

#include <QFileInfo>

namespace torvelane::platform {

QString systemToolPath(const QString& name)
{
    const QString path = simulated::toolsDirectory() + u'/' + name;
    return QFileInfo(path).isFile() ? path : name;
}

ToolCommand shellCommand(const QString& command)
{
    return {.program = systemToolPath(QStringLiteral("cmd.exe")),
            .arguments = {QStringLiteral("/c"), command},
            .nativeArguments = {}};
}

} // namespace torvelane::platform
