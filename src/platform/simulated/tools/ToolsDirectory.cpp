#include "platform/simulated/tools/ToolsDirectory.h"

#include <QFileInfo>

namespace torvelane::platform::simulated {

QString toolsDirectory()
{
#ifdef TORVELANE_SIMULATED_TOOLS_DIR
    return QStringLiteral(TORVELANE_SIMULATED_TOOLS_DIR);
#else
    // The file itself and not the link that it was started by: the tools are links into this folder.
    static const QString directory =
        QFileInfo(QFileInfo(QStringLiteral("/proc/self/exe")).symLinkTarget()).absolutePath()
        + QStringLiteral("/simulated-tools");
    return directory;
#endif
}

} // namespace torvelane::platform::simulated
