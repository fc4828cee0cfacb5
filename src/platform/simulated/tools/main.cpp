#include "platform/simulated/ToolJournal.h"
#include "platform/simulated/tools/CommandShell.h"
#include "platform/simulated/tools/Inspector.h"
#include "platform/simulated/tools/RegTool.h"

#include <QCoreApplication>
#include <QFileInfo>

#include <cstdlib>
#include <optional>

using namespace Qt::StringLiterals;
using namespace torvelane::platform::simulated;

namespace {

int runRegTool(const QStringList& arguments)
{
    ToolCallRecord record(u"reg.exe"_s, arguments);
    const std::optional<int> laidDown = record.meetFaults();
    const int exitCode = laidDown ? *laidDown : runReg(arguments, {});
    record.finish(exitCode);
    return exitCode;
}

} // namespace

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

    const QString name = QFileInfo(QString::fromLocal8Bit(argv[0])).fileName();
    if (name == u"cmd.exe")
        return runCommandShell(arguments);
    if (name == u"reg.exe")
        return runRegTool(arguments);
    return runInspector(arguments);
}
