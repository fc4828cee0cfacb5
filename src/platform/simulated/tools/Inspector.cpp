#include "platform/simulated/tools/Inspector.h"

#include "platform/simulated/RegistryPath.h"
#include "platform/simulated/RegistryText.h"
#include "platform/simulated/SimulatedPc.h"
#include "platform/simulated/tools/RegTool.h"

#include <QDateTime>

#include <algorithm>
#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

constexpr auto usage = R"(Usage: torvelane-pc [--machine FILE] <command>

Looks at the simulated PC that Torvelane works on where there is no Windows.

  where                           path of the machine's file
  dump [KEY]                      every value, or those below a key, one a line
  reg query KEY [/v NAME] [/s]    as Windows' reg.exe; reg add and reg delete work too
  journal [clear]                 calls of the simulated tools
  elevated yes|no                 whether programs run as administrator
  reset [SEED]                    back to the state out of the box, or to the one of a seed file

  faults                          the faults in force
  faults clear
  faults deny-reads KEY           access denied below a key
  faults deny-writes KEY
  faults fail-change N [CODE] [all-after]
                                  refuse the n-th registry change from now
  faults kill N before|after      end the process that makes the n-th change
  faults fail-query KEY NAME size|data [CODE]
  faults hang-tool PART MS        let tools whose command line contains PART wait
  faults fail-tool PART CODE      let them fail

Keys are written HKLM\SOFTWARE\...; "" is the name of a default value.)";

ToolOutput plainOutput()
{
    return {stdout, stderr, "\n"};
}

int fail(const QString& message)
{
    plainOutput().error("torvelane-pc: "_L1 + message);
    return 1;
}

int showUsage()
{
    plainOutput().error(QString::fromLatin1(usage));
    return 2;
}

int dump(const QStringList& arguments)
{
    if (arguments.size() == 1 && !parseKeyName(arguments[0]))
        return fail("no key: "_L1 + arguments[0]);
    const QString below = arguments.isEmpty() ? QString() : folded(SimulatedPc::canonicalKeyPath(arguments[0]));
    for (const SimulatedValue& value : SimulatedPc::snapshot()) {
        if (below.isEmpty() || isSameOrBelow(folded(value.keyPath), below))
            plainOutput().line(u"%1 [%2] %3 %4"_s.arg(value.keyPath, value.name.isEmpty() ? u"(Default)"_s : value.name,
                                                      typeName(value.type), dataText(value.type, value.data)));
    }
    return 0;
}

int journal(const QStringList& arguments)
{
    if (arguments == QStringList{u"clear"_s}) {
        SimulatedPc::clearJournal();
        return 0;
    }
    if (!arguments.isEmpty())
        return showUsage();
    for (const ToolCall& call : SimulatedPc::journal()) {
        plainOutput().line(
            u"%1  %2  %3"_s.arg(QDateTime::fromMSecsSinceEpoch(call.startedMs).toString(u"yyyy-MM-dd hh:mm:ss.zzz"),
                                call.exitCode ? QString::number(*call.exitCode) : u"-"_s,
                                (QStringList{call.tool} + call.arguments).join(u' ')));
    }
    return 0;
}

int elevated(const QStringList& arguments)
{
    if (arguments != QStringList{u"yes"_s} && arguments != QStringList{u"no"_s})
        return showUsage();
    SimulatedPc::setElevated(arguments[0] == u"yes");
    return 0;
}

int reset(const QStringList& arguments)
{
    QString error;
    return SimulatedPc::reset(arguments.value(0), &error) ? 0 : fail(error);
}

std::optional<int> positive(const QString& text)
{
    bool isNumber = false;
    const int number = text.toInt(&isNumber);
    return isNumber && number > 0 ? std::optional(number) : std::nullopt;
}

bool setFault(const QString& kind, const QStringList& arguments)
{
    const QString first = arguments.value(0);
    const QString last = arguments.value(arguments.size() - 1);
    const bool isKey = parseKeyName(first).has_value();
    const auto number = positive(first);
    if (kind == u"deny-reads" && arguments.size() == 1 && isKey) {
        SimulatedPc::denyReads(first);
    } else if (kind == u"deny-writes" && arguments.size() == 1 && isKey) {
        SimulatedPc::denyWrites(first);
    } else if (kind == u"fail-change" && number && arguments.size() <= 3) {
        const auto code = positive(arguments.value(1));
        SimulatedPc::failChange(*number, code ? static_cast<Win32Error>(*code) : Win32Error::WriteFault,
                                last == u"all-after");
    } else if (kind == u"kill" && number && arguments.size() == 2 && (last == u"before" || last == u"after")) {
        SimulatedPc::killAtChange(*number, last == u"before" ? ChangeMoment::Before : ChangeMoment::After);
    } else if (kind == u"fail-query" && isKey && (arguments.size() == 3 || arguments.size() == 4)) {
        const auto code = positive(arguments.value(3));
        SimulatedPc::failQuery(first, arguments[1], arguments[2] == u"size" ? QueryStage::Size : QueryStage::Data,
                               code ? static_cast<Win32Error>(*code) : Win32Error::AccessDenied);
    } else if (kind == u"hang-tool" && arguments.size() == 2 && positive(last)) {
        SimulatedPc::hangTool(first, *positive(last));
    } else if (kind == u"fail-tool" && arguments.size() == 2 && positive(last)) {
        SimulatedPc::failTool(first, *positive(last));
    } else {
        return false;
    }
    return true;
}

int faults(const QStringList& arguments)
{
    if (arguments == QStringList{u"clear"_s}) {
        SimulatedPc::clearFaults();
        return 0;
    }
    if (arguments.isEmpty()) {
        for (const QString& fault : SimulatedPc::faults())
            plainOutput().line(fault);
        return 0;
    }
    return setFault(arguments[0], arguments.sliced(1)) ? 0 : showUsage();
}

int where(const QStringList&)
{
    plainOutput().line(SimulatedPc::machineFile());
    return 0;
}

int reg(const QStringList& arguments)
{
    return runReg(arguments, plainOutput());
}

struct Command {
    QLatin1String name;
    int (*run)(const QStringList&);
};

constexpr std::array commands = {
    Command{"where"_L1, where},       Command{"dump"_L1, dump},   Command{"reg"_L1, reg},
    Command{"journal"_L1, journal},   Command{"reset"_L1, reset}, Command{"faults"_L1, faults},
    Command{"elevated"_L1, elevated},
};

} // namespace

int runInspector(const QStringList& arguments)
{
    QStringList rest = arguments;
    if (rest.value(0) == u"--machine" && rest.size() >= 2) {
        SimulatedPc::setMachineFile(rest[1]);
        rest = rest.sliced(2);
    }
    const auto command = std::ranges::find_if(commands, [&rest](const Command& c) { return rest.value(0) == c.name; });
    return command == commands.end() ? showUsage() : command->run(rest.sliced(1));
}

} // namespace torvelane::platform::simulated
