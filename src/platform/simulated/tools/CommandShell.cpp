#include "platform/simulated/tools/CommandShell.h"

#include "platform/simulated/ToolJournal.h"
#include "platform/simulated/ToolsDirectory.h"
#include "platform/simulated/tools/CommandLineText.h"
#include "platform/simulated/tools/RegTool.h"

#include <QFile>
#include <QRegularExpression>
#include <QThread>

#include <algorithm>
#include <array>
#include <cerrno>
#include <fcntl.h>
#include <optional>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

/// One command on its way through the shell.
struct Call {
    QString text;
    QStringList words;
    ToolOutput output;
};

struct Shell {
    int errorLevel = 0;
    bool isEnded = false;
};

/// "C:\Windows\System32\REG.EXE" and "reg" are the same program.
QString programName(const QString& word)
{
    QString name = word.mid(std::max(word.lastIndexOf(u'\\'), word.lastIndexOf(u'/')) + 1).toLower();
    return name.endsWith(".exe"_L1) ? name.chopped(4) : name;
}

void sleepSeconds(int seconds)
{
    // What was written so far belongs to the reader also if the tool is killed while it waits.
    std::fflush(nullptr);
    QThread::sleep(static_cast<unsigned long>(std::max(0, seconds)));
}

/// A real child, so that there is a tree of processes to be ended or to be left alone. It stays in the process group.
std::optional<pid_t> spawnShell(const QString& commandLine, bool isDetached)
{
    const QByteArray program = QFile::encodeName(QString(toolsDirectory() % "/cmd.exe"_L1));
    const QByteArray command = commandLine.toLocal8Bit();
    QByteArray name = "cmd.exe";
    QByteArray option = "/c";
    QByteArray argument = command;
    const std::array<char*, 4> argv{name.data(), option.data(), argument.data(), nullptr};

    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (isDetached) {
        // In a console of its own it would neither read nor write ours.
        posix_spawn_file_actions_addopen(&actions, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    }
    std::fflush(nullptr);
    pid_t child = 0;
    const int result = posix_spawn(&child, program.constData(), &actions, nullptr, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    return result == 0 ? std::optional(child) : std::nullopt;
}

int waitForChild(pid_t child)
{
    int status = 0;
    while (::waitpid(child, &status, 0) < 0 && errno == EINTR) { }
    return WIFEXITED(status) ? WEXITSTATUS(status) : 1;
}

/// The command line behind /c, quotes and all.
std::optional<QString> nestedCommandLine(const QString& text)
{
    const qsizetype option = text.indexOf(" /c "_L1, 0, Qt::CaseInsensitive);
    return option < 0 ? std::nullopt : std::optional(text.sliced(option + 4));
}

int runNestedShell(const Call& call)
{
    const auto commandLine = nestedCommandLine(call.text);
    const auto child = commandLine ? spawnShell(*commandLine, false) : std::nullopt;
    return child ? waitForChild(*child) : 1;
}

/// start ["title"] [/b] [/min] [/max] [/wait] program arguments
int runStart(const Call& call)
{
    qsizetype at = 1;
    bool waits = false;
    if (call.words.value(at).isEmpty() || call.text.sliced(5).trimmed().startsWith(u'"'))
        ++at;
    for (; call.words.value(at).startsWith(u'/'); ++at)
        waits = waits || call.words[at].compare("/wait"_L1, Qt::CaseInsensitive) == 0;
    if (at >= call.words.size())
        return 0;

    if (programName(call.words[at]) == "cmd"_L1) {
        const auto commandLine = nestedCommandLine(call.text);
        const auto child = commandLine ? spawnShell(*commandLine, true) : std::nullopt;
        if (!child)
            return 1;
        return waits ? waitForChild(*child) : 0;
    }
    ToolCallRecord(programName(call.words[at]) + ".exe"_L1, call.words.sliced(at + 1)).finish(0);
    return 0;
}

int runTimeout(const Call& call)
{
    for (qsizetype i = 1; i < call.words.size(); ++i) {
        bool isNumber = false;
        const int seconds = call.words[i].toInt(&isNumber);
        if (isNumber)
            sleepSeconds(seconds);
    }
    return 0;
}

/// One echo request a second, the first one at once.
int runPing(const Call& call)
{
    const qsizetype option = call.words.indexOf("-n"_L1);
    sleepSeconds((option < 0 ? 4 : call.words.value(option + 1).toInt()) - 1);
    return 0;
}

struct Program {
    QLatin1String name;
    int (*run)(const Call&);
};

constexpr std::array programs = {
    Program{"reg"_L1, [](const Call& call) { return runReg(call.words.sliced(1), call.output); }},
    Program{"timeout"_L1, runTimeout},
    Program{"ping"_L1, runPing},
};

/// The commands of the shell itself, which leave no row in the journal. False if it is none.
bool runBuiltIn(Shell& shell, const Call& call)
{
    const QString name = programName(call.words[0]);
    if (name == "rem"_L1) {
    } else if (name == "echo"_L1 || name == "echo."_L1) {
        call.output.line(call.text.mid(name.size() + 1));
    } else if (name == "exit"_L1) {
        const QStringList numbers = call.words.sliced(1).filter(QRegularExpression(u"^-?\\d+$"_s));
        shell.errorLevel = numbers.isEmpty() ? shell.errorLevel : numbers[0].toInt();
        shell.isEnded = true;
    } else if (name == "start"_L1) {
        shell.errorLevel = runStart(call);
    } else if (name == "cmd"_L1) {
        shell.errorLevel = runNestedShell(call);
    } else {
        return false;
    }
    return true;
}

void runCommand(Shell& shell, const SimpleCommand& command)
{
    Call call;
    call.text = command.text;
    // A leading @ only keeps a batch file from showing the command.
    call.text.remove(QRegularExpression(u"^@+"_s));
    call.words = splitWords(call.text);
    if (command.discardsOutput)
        call.output.out = nullptr;
    if (command.discardsErrors)
        call.output.err = nullptr;
    if (call.words.isEmpty() || runBuiltIn(shell, call))
        return;

    const QString name = programName(call.words[0]);
    ToolCallRecord record(QString(name % ".exe"_L1), call.words.sliced(1));
    const auto known = std::ranges::find(programs, name, &Program::name);
    shell.errorLevel = known == programs.end() ? 0 : known->run(call);
    record.finish(shell.errorLevel);
}

/// Of a line that begins with a quote, the first and the last one go, unless they hold nothing but one program's name.
QString withoutOuterQuotes(const QString& line)
{
    const qsizetype last = line.lastIndexOf(u'"');
    if (!line.startsWith(u'"') || last <= 0
        || (line.count(u'"') == 2 && last == line.size() - 1 && !line.contains(u' ')))
        return line;
    return line.sliced(1, last - 1) + line.sliced(last + 1);
}

} // namespace

int runCommandShell(const QStringList& arguments)
{
    ToolCallRecord record(u"cmd.exe"_s, arguments);
    if (const auto exitCode = record.meetFaults()) {
        record.finish(*exitCode);
        return *exitCode;
    }

    QStringList rest = arguments;
    while (!rest.isEmpty() && rest[0].compare("/c"_L1, Qt::CaseInsensitive) != 0)
        rest.removeFirst();
    if (rest.isEmpty()) {
        ToolOutput().error(u"The simulated cmd.exe runs one command line: cmd.exe /c <command>"_s);
        record.finish(1);
        return 1;
    }

    Shell shell;
    const QString line = withoutOuterQuotes(rest.sliced(1).join(u' ').trimmed());
    for (const SimpleCommand& command : splitCommandLine(expandVariables(line))) {
        const bool isDue = command.joint == Joint::Always || (command.joint == Joint::IfOk) == (shell.errorLevel == 0);
        if (isDue)
            runCommand(shell, command);
        if (shell.isEnded)
            break;
    }
    record.finish(shell.errorLevel);
    return shell.errorLevel;
}

} // namespace torvelane::platform::simulated
