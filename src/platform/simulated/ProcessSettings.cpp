#include "platform/ProcessSettings.h"

#include "platform/simulated/Machine.h"
#include "platform/simulated/ToolsDirectory.h"

#include <QByteArray>
#include <QDir>
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

void prepareForCommandLine()
{
    // The application object is the one with windows in either case, and would end the program without a display.
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")
        && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
}

void setAppUserModelId(const QString&) { }

void beginTimerPeriod(unsigned) { }

void endTimerPeriod(unsigned) { }

bool isElevated()
{
    Machine* const machine = Machine::current();
    if (!machine)
        return false;
    machine->refreshConditions();
    return machine->conditions().elevated;
}

void attachParentConsole() { }

QString currentUserName()
{
    Machine* const machine = Machine::current();
    return machine ? machine->conditions().userName : QString();
}

bool protectDirectory(const QString& path)
{
    return QDir(path).exists() && QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
}

} // namespace torvelane::platform
