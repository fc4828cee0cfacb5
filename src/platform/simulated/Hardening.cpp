#include "platform/Hardening.h"

#include "platform/simulated/store/Store.h"
#include "platform/simulated/tools/ToolsDirectory.h"

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QFileInfo>

#include <sys/stat.h>

namespace torvelane::platform {

using namespace Qt::StringLiterals;
using namespace simulated;

void prepareProcess()
{
    // Every file that is made from here on is the user's alone, as it is Administrators' on Windows.
    umask(S_IRWXG | S_IRWXO);
    qputenv("ProgramData", QFile::encodeName(QFileInfo(Store::file()).absoluteDir().filePath(u"ProgramData"_s)));
    qputenv("TORVELANE_SIMULATED_PC", QFile::encodeName(Store::file()));

    const QByteArray tools = QFile::encodeName(toolsDirectory());
    const QByteArray path = qgetenv("PATH");
    if (path != tools && !path.startsWith(QByteArray(tools + ':')))
        qputenv("PATH", tools + ':' + path);
}

} // namespace torvelane::platform
