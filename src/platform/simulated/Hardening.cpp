#include "platform/Hardening.h"

#include "platform/simulated/Machine.h"
#include "platform/simulated/ToolsDirectory.h"

#include <QByteArray>
#include <QFile>

namespace torvelane::platform {

using namespace simulated;

void prepareProcess()
{
    qputenv("TORVELANE_SIMULATED_PC", QFile::encodeName(Machine::file()));

    const QByteArray tools = QFile::encodeName(toolsDirectory());
    const QByteArray path = qgetenv("PATH");
    if (path != tools && !path.startsWith(QByteArray(tools + ':')))
        qputenv("PATH", tools + ':' + path);
}

} // namespace torvelane::platform
