#include "platform/simulated/tools/Inspector.h"
#include "platform/simulated/tools/Tool.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdlib>

using namespace torvelane::platform::simulated;

/// The simulated PC's tools in one program: the name that it is started by says which one it is.
int main(int argc, char** argv)
{
    // Qt warns about any other encoding, and the warning would stand in the middle of a tool's output.
    ::setenv("LC_ALL", "C.UTF-8", 1);
    // Needed for the SQLite driver; gets no arguments, since it would take out those that look like its own.
    int noArguments = 1;
    const QCoreApplication application(noArguments, argv);

    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QString::fromLocal8Bit(argv[i]);

    const Tool* const tool = findTool(QFileInfo(QString::fromLocal8Bit(argv[0])).fileName());
    return tool ? runTool(*tool, {arguments, {}}) : runInspector(arguments);
}
