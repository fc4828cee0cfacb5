#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/tools/CommandLineText.h"
#include "platform/simulated/tools/Tool.h"

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// What cmd.exe sets ERRORLEVEL to for a command that it doesn't find.
constexpr int notFound = 9009;

/// One command on its way through the shell.
struct Command {
    QString text;
    QStringList words;
    ToolOutput output;
};

struct Shell {
    int errorLevel = 0;
    bool isEnded = false;
};

void echo(Shell& shell, const Command& command)
{
    command.output.line(command.text.sliced(5));
    shell.errorLevel = 0;
}

void exitShell(Shell& shell, const Command& command)
{
    shell.errorLevel = command.words.value(1).toInt();
    shell.isEnded = true;
}

/// The drive has no files, so there is nothing to be deleted; cmd.exe says so and takes it for no error.
void del(Shell& shell, const Command& command)
{
    for (const QString& word : command.words.sliced(1)) {
        if (!word.startsWith(u'/'))
            command.output.line("Could Not Find "_L1 + word);
    }
    shell.errorLevel = 0;
}

/// Only the desktop itself is started in this way.
void start(Shell& shell, const Command& command)
{
    const bool isKnown = command.words.sliced(1) == QStringList{u"explorer.exe"_s};
    if (!isKnown)
        command.output.error(u"The system cannot find the file %1."_s.arg(command.words.value(1)));
    shell.errorLevel = isKnown ? 0 : notFound;
    Calls::Running({u"processes.start"_s, command.words.sliced(1)}).finish(shell.errorLevel);
}

struct BuiltIn {
    QLatin1String name;
    void (*run)(Shell&, const Command&);
};

constexpr BuiltIn builtIns[] = {
    {"rem"_L1, [](Shell&, const Command&) {}},
    {"echo"_L1, echo},
    {"exit"_L1, exitShell},
    {"del"_L1, del},
    {"start"_L1, start},
};

void runCommand(Shell& shell, const QString& text)
{
    const Command command{text, splitWords(text), {}};
    if (command.words.isEmpty())
        return;
    const QString& name = command.words.constFirst();
    for (const BuiltIn& builtIn : builtIns) {
        if (name.compare(builtIn.name, Qt::CaseInsensitive) == 0)
            return builtIn.run(shell, command);
    }
    if (const Tool* const tool = findTool(name)) {
        shell.errorLevel = runTool(*tool, {command.words.sliced(1), command.output});
        return;
    }
    // Recorded too: a command behind it on the line hides the exit code.
    Calls::Running({u"tools.unknown"_s, command.words}).finish(notFound);
    command.output.error(u"'%1' is not recognized as an internal or external command,"_s.arg(name));
    command.output.error(u"operable program or batch file."_s);
    shell.errorLevel = notFound;
}

} // namespace

/// cmd.exe: `/c` and one command line. Nothing is run on the host.
int runCommandShell(const ToolRun& run)
{
    if (run.arguments.value(0) != "/c"_L1)
        return failUnknown(u"cmd.exe"_s, run);
    Shell shell;
    for (const QString& command : splitCommandLine(expandVariables(run.arguments.sliced(1).join(u' ')))) {
        runCommand(shell, command);
        if (shell.isEnded)
            break;
    }
    return shell.errorLevel;
}

} // namespace torvelane::platform::simulated
