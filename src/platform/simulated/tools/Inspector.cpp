#include "platform/simulated/tools/Inspector.h"

#include "platform/simulated/SimulatedPc.h"
#include "platform/simulated/store/Store.h"
#include "platform/simulated/tools/Tool.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <array>
#include <optional>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {
namespace {

constexpr auto usage = R"(Usage: torvelane-pc [--machine FILE] <command>

Looks at the simulated PC that Torvelane works on where there is no Windows.

  where                     path of the machine's file
  image [TEXT]              the whole machine, or what has TEXT in its line
  reset [SEED]              back to the state out of the box, or to the one of a seed file

  reg query KEY [/v NAME]   as Windows' reg.exe; reg add and reg delete work too
  show PATH                 a facility's document or a part of it: user, user/elevated
  set PATH VALUE            changes it; VALUE is JSON, and a text needs no quotes
  remove PATH

  calls [CALL]              what changed the machine, and the tools that were run
  calls clear
  faults                    the faults in force
  faults clear
  fault CALL fail CODE      let a call fail with a code: 5, 0x80070422
  fault CALL hang MS        let it wait first
  fault CALL kill before|after
                            end the process that makes the call

CALL is facility.call (registry.setValue, tools.cmd), a facility for all of its changes, or "any". A fault may end in
"with TEXT" (what has to occur in the call's arguments), "from N" (it strikes the N-th such call and all after it) or
"only N". Without these it strikes every time, and kills once.)";

ToolOutput plainOutput()
{
    return {stdout, stderr, "\n", [](const QString& text) { return text.toUtf8(); }};
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

int where(const QStringList&)
{
    plainOutput().line(SimulatedPc::machineFile());
    return 0;
}

int image(const QStringList& arguments)
{
    for (const QString& line : SimulatedPc::image()) {
        if (line.contains(arguments.value(0), Qt::CaseInsensitive))
            plainOutput().line(line);
    }
    return 0;
}

int reset(const QStringList& arguments)
{
    QString error;
    return SimulatedPc::reset(arguments.value(0), &error) ? 0 : fail(error);
}

int reg(const QStringList& arguments)
{
    return runReg({arguments, plainOutput()});
}

int show(const QStringList& arguments)
{
    const QJsonValue value = SimulatedPc::value(arguments.value(0));
    if (value.isUndefined())
        return fail("nothing is at "_L1 + arguments.value(0));
    if (value.isObject())
        plainOutput().line(QString::fromUtf8(QJsonDocument(value.toObject()).toJson()).trimmed());
    else if (value.isArray())
        plainOutput().line(QString::fromUtf8(QJsonDocument(value.toArray()).toJson()).trimmed());
    else
        plainOutput().line(value.toVariant().toString());
    return 0;
}

int set(const QStringList& arguments)
{
    if (arguments.size() != 2)
        return showUsage();
    const QJsonDocument json = QJsonDocument::fromJson("[" + arguments[1].toUtf8() + "]");
    const QJsonValue value = json.isNull() ? QJsonValue(arguments[1]) : json.array().at(0);
    return SimulatedPc::setValue(arguments[0], value) ? 0 : fail("there is no place for "_L1 + arguments[0]);
}

int remove(const QStringList& arguments)
{
    if (arguments.size() != 1)
        return showUsage();
    const bool isThere = !SimulatedPc::value(arguments[0]).isUndefined();
    return isThere && SimulatedPc::setValue(arguments[0], QJsonValue::Undefined)
        ? 0
        : fail("nothing to remove at "_L1 + arguments[0]);
}

int calls(const QStringList& arguments)
{
    if (arguments == QStringList{u"clear"_s}) {
        SimulatedPc::clearCalls();
        return 0;
    }
    for (const CallRecord& record : SimulatedPc::calls(arguments.value(0))) {
        plainOutput().line(u"%1  %2  %3  %4 %5"_s.arg(
            QDateTime::fromMSecsSinceEpoch(record.startedMs).toString(u"yyyy-MM-dd hh:mm:ss.zzz"),
            QString::number(record.processId), record.answer ? QString::number(*record.answer) : u"-"_s,
            record.call.name, record.call.argumentLine()));
    }
    return 0;
}

int faults(const QStringList& arguments)
{
    if (arguments == QStringList{u"clear"_s}) {
        SimulatedPc::clearFaults();
        return 0;
    }
    for (const QString& fault : SimulatedPc::faults())
        plainOutput().line(fault);
    return arguments.isEmpty() ? 0 : showUsage();
}

/// The words behind a fault. Absent if they aren't understood.
std::optional<Struck> readStruck(QStringList words)
{
    Struck struck;
    while (!words.isEmpty()) {
        const QString word = words.takeFirst();
        if (words.isEmpty())
            return std::nullopt;
        const QString text = words.takeFirst();
        if (word == "with"_L1) {
            struck.part = text;
        } else if ((word == "from"_L1 || word == "only"_L1) && text.toInt() > 0) {
            struck.n = text.toInt();
            struck.once = word == "only"_L1;
        } else {
            return std::nullopt;
        }
    }
    return struck;
}

/// Decimal, or hexadecimal as HRESULTs are written, which are signed.
std::optional<qint64> readCode(const QString& text)
{
    bool isNumber = false;
    const qint64 number = text.toLongLong(&isNumber, 0);
    if (!isNumber)
        return std::nullopt;
    return text.startsWith("0x"_L1) ? static_cast<qint32>(static_cast<quint32>(number)) : number;
}

int fault(const QStringList& arguments)
{
    const auto struck = readStruck(arguments.sliced(std::min(qsizetype(3), arguments.size())));
    if (arguments.size() < 3 || !struck)
        return showUsage();
    const QString call = arguments[0] == "any"_L1 ? QString() : arguments[0];
    const QString& effect = arguments[1];
    const QString& more = arguments[2];
    const auto code = readCode(more);
    if (effect == "fail"_L1 && code)
        SimulatedPc::fail(call, *code, *struck);
    else if (effect == "hang"_L1 && code)
        SimulatedPc::hang(call, static_cast<int>(*code), *struck);
    else if (effect == "kill"_L1 && (more == "before"_L1 || more == "after"_L1))
        SimulatedPc::kill(call, more == "before"_L1 ? CallMoment::Before : CallMoment::After, *struck);
    else
        return showUsage();
    return 0;
}

struct Command {
    QLatin1String name;
    int (*run)(const QStringList&);
};

constexpr std::array commands = {
    Command{"image"_L1, image}, Command{"reg"_L1, reg},       Command{"show"_L1, show},     Command{"set"_L1, set},
    Command{"calls"_L1, calls}, Command{"remove"_L1, remove}, Command{"faults"_L1, faults}, Command{"fault"_L1, fault},
};

} // namespace

int runInspector(const QStringList& arguments)
{
    QStringList rest = arguments;
    if (rest.value(0) == "--machine"_L1 && rest.size() >= 2) {
        SimulatedPc::setMachineFile(rest[1]);
        rest = rest.sliced(2);
    }
    const QString name = rest.isEmpty() ? QString() : rest.takeFirst();
    // These two have to work on any file.
    if (name == "where"_L1)
        return where(rest);
    if (name == "reset"_L1)
        return reset(rest);
    const auto command = std::ranges::find(commands, name, &Command::name);
    if (command == commands.end())
        return showUsage();
    return Store::current() ? command->run(rest) : 1;
}

} // namespace torvelane::platform::simulated
