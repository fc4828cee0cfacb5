#include "platform/simulated/SimulatedPc.h"

#include "platform/simulated/Machine.h"
#include "platform/simulated/RegistryPath.h"
#include "platform/simulated/RegistryText.h"

#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace torvelane::platform {

using namespace simulated;

namespace {

/// Stored path of a key that a person or a test named. Empty if it names none.
QString storedPath(Machine& machine, const QString& keyPath)
{
    const auto key = parseKeyName(keyPath);
    if (!key) {
        qWarning("Simulated PC: %ls isn't the path of a key", qUtf16Printable(keyPath));
        return {};
    }
    const StoredPaths paths = storedPaths(key->root, key->path, machine.conditions().userSid);
    if (paths.second.isEmpty() || machine.findKey(paths.first) != 0)
        return paths.first;
    return paths.second;
}

QString faultPath(Machine& machine, const QString& keyPath)
{
    return folded(storedPath(machine, keyPath));
}

void addFault(const Fault& fault)
{
    if (Machine* const machine = Machine::current())
        machine->addFault(fault);
}

void addPathFault(FaultKind kind, const QString& keyPath, const QString& name = {},
                  Win32Error code = Win32Error::AccessDenied)
{
    if (Machine* const machine = Machine::current())
        machine->addFault({kind, faultPath(*machine, keyPath), folded(name), 0, static_cast<int>(code), false});
}

/// The order of a snapshot, and what makes two values the same one.
std::pair<QString, QString> place(const SimulatedValue& value)
{
    return {folded(value.keyPath), folded(value.name)};
}

QString describe(const SimulatedValue& value)
{
    const QString text = dataText(value.type, value.data);
    // Bytes that the text doesn't tell, such as a second terminator, have to show in a difference.
    const bool isWhole = dataFromText(value.type, text) == value.data;
    const QString bytes = isWhole ? QString() : QString(" ("_L1 % QString::fromLatin1(value.data.toHex()) % u')');
    return value.keyPath % " ["_L1 % (value.name.isEmpty() ? u"(Default)"_s : value.name) % "] "_L1
        % typeName(value.type) % u' ' % text % bytes;
}

QString describe(const Fault& fault)
{
    const QString code = QString::number(fault.code);
    const QString number = QString::number(fault.n);
    switch (fault.kind) {
    case FaultKind::DenyReads:
        return "deny-reads "_L1 % fault.subject;
    case FaultKind::DenyWrites:
        return "deny-writes "_L1 % fault.subject;
    case FaultKind::FailQuerySize:
        return "fail-query "_L1 % fault.subject % " ["_L1 % fault.name % "] size "_L1 % code;
    case FaultKind::FailQueryData:
        return "fail-query "_L1 % fault.subject % " ["_L1 % fault.name % "] data "_L1 % code;
    case FaultKind::FailChange:
        return "fail-change "_L1 % number % u' ' % code % (fault.andAllAfter ? " and all after"_L1 : ""_L1);
    case FaultKind::KillBeforeChange:
        return "kill "_L1 % number % " before"_L1;
    case FaultKind::KillAfterChange:
        return "kill "_L1 % number % " after"_L1;
    case FaultKind::HangTool:
        return "hang-tool \""_L1 % fault.subject % "\" "_L1 % code % " ms"_L1;
    case FaultKind::FailTool:
        return "fail-tool \""_L1 % fault.subject % "\" "_L1 % code;
    }
    Q_UNREACHABLE();
}

} // namespace

QString SimulatedPc::machineFile()
{
    return Machine::file();
}

void SimulatedPc::setMachineFile(const QString& path)
{
    Machine::setFile(path);
}

bool SimulatedPc::reset(const QString& seedFile, QString* error)
{
    const auto fail = [error](const QString& reason) {
        if (error)
            *error = reason;
        return false;
    };
    QString reason;
    const auto seed = readMachineSeed(seedFile, &reason);
    if (!seed)
        return fail(reason);
    Machine* const machine = Machine::current();
    if (!machine)
        return fail(u"Can't open %1"_s.arg(machineFile()));

    WriteTransaction transaction(machine->database());
    const bool isSeeded = transaction.isOpen() && machine->seed(*seed) && transaction.commit();
    machine->refreshConditions();
    return isSeeded || fail(u"Can't write %1"_s.arg(machineFile()));
}

bool SimulatedPc::copyTo(const QString& path)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return false;
    QSqlQuery copy(machine->database());
    copy.prepare(u"VACUUM INTO ?"_s);
    return Execution(copy, {path}).isOk();
}

QString SimulatedPc::canonicalKeyPath(const QString& keyPath)
{
    Machine* const machine = Machine::current();
    return machine ? storedPath(*machine, keyPath) : QString();
}

MachineSnapshot SimulatedPc::snapshot()
{
    Machine* const machine = Machine::current();
    if (!machine)
        return {};
    QSqlQuery query(machine->database());
    query.setForwardOnly(true);
    query.exec(u"SELECT k.folded, v.folded, k.path, v.name, v.type, v.data"
               u" FROM registryValue v JOIN registryKey k ON k.id = v.keyId"_s);
    QList<std::pair<std::pair<QString, QString>, SimulatedValue>> rows;
    while (query.next()) {
        rows.emplaceBack(std::pair(query.value(0).toString(), query.value(1).toString()),
                         SimulatedValue{query.value(2).toString(), query.value(3).toString(), query.value(4).toUInt(),
                                        query.value(5).toByteArray()});
    }
    std::ranges::sort(
        rows, {}, [](const auto& row) -> const auto& { return row.first; });

    MachineSnapshot values;
    values.reserve(rows.size());
    for (auto& row : rows)
        values << std::move(row.second);
    return values;
}

QStringList SimulatedPc::differences(const MachineSnapshot& before, const MachineSnapshot& after)
{
    QStringList lines;
    auto a = before.begin();
    auto b = after.begin();
    while (a != before.end() || b != after.end()) {
        const bool isGone = b == after.end() || (a != before.end() && place(*a) < place(*b));
        const bool isNew = !isGone && (a == before.end() || place(*b) < place(*a));
        if (isGone) {
            lines << QString("- "_L1 % describe(*a++));
        } else if (isNew) {
            lines << QString("+ "_L1 % describe(*b++));
        } else {
            // Names stay as they were first written, so that the case counts as well.
            if (!(*a == *b))
                lines << QString("- "_L1 % describe(*a)) << QString("+ "_L1 % describe(*b));
            ++a;
            ++b;
        }
    }
    return lines;
}

std::optional<SimulatedValue> SimulatedPc::value(const QString& keyPath, const QString& name)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return std::nullopt;
    const QString path = storedPath(*machine, keyPath);
    Execution found(machine->prepared(Statement::FindValue), {machine->findKey(path), folded(name)});
    if (!found.next() || found.value(1).isNull())
        return std::nullopt;
    return SimulatedValue{path, name, found.value(1).toUInt(), found.value(2).toByteArray()};
}

bool SimulatedPc::keyExists(const QString& keyPath)
{
    Machine* const machine = Machine::current();
    return machine && machine->findKey(storedPath(*machine, keyPath)) != 0;
}

void SimulatedPc::putValue(const QString& keyPath, const QString& name, quint32 type, const QByteArray& data)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return;
    const QString path = storedPath(*machine, keyPath);
    WriteTransaction transaction(machine->database());
    if (!transaction.isOpen() || !machine->storeValue(machine->ensureKey(path), name, type, data)
        || !transaction.commit())
        qWarning("Simulated PC: can't put a value below %ls", qUtf16Printable(keyPath));
}

void SimulatedPc::putDword(const QString& keyPath, const QString& name, quint32 number)
{
    putValue(keyPath, name, regDword, dwordData(number));
}

void SimulatedPc::putString(const QString& keyPath, const QString& name, const QString& text)
{
    putValue(keyPath, name, regSz, stringData(text));
}

void SimulatedPc::removeValue(const QString& keyPath, const QString& name)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return;
    const qint64 keyId = machine->findKey(storedPath(*machine, keyPath));
    const Execution erased(machine->prepared(Statement::EraseValue), {keyId, folded(name), -1});
}

void SimulatedPc::removeKey(const QString& keyPath)
{
    Machine* const machine = Machine::current();
    if (!machine)
        return;
    const qint64 keyId = machine->findKey(storedPath(*machine, keyPath));
    WriteTransaction transaction(machine->database());
    if (!transaction.isOpen() || !machine->eraseKeyTree(keyId) || !transaction.commit())
        qWarning("Simulated PC: can't remove %ls", qUtf16Printable(keyPath));
}

void SimulatedPc::setElevated(bool elevated)
{
    if (Machine* const machine = Machine::current())
        machine->setElevated(elevated);
}

QList<ToolCall> SimulatedPc::journal()
{
    QList<ToolCall> calls;
    Machine* const machine = Machine::current();
    if (!machine)
        return calls;
    QSqlQuery query(machine->database());
    query.setForwardOnly(true);
    query.exec(u"SELECT startedMs, processId, tool, arguments, exitCode FROM toolCall ORDER BY id"_s);
    while (query.next()) {
        QStringList arguments;
        for (const QJsonValue& argument : QJsonDocument::fromJson(query.value(3).toString().toUtf8()).array())
            arguments << argument.toString();
        const std::optional<int> exitCode =
            query.value(4).isNull() ? std::nullopt : std::optional(query.value(4).toInt());
        calls << ToolCall{query.value(0).toLongLong(), query.value(1).toLongLong(), query.value(2).toString(),
                          arguments, exitCode};
    }
    return calls;
}

void SimulatedPc::clearJournal()
{
    if (Machine* const machine = Machine::current())
        QSqlQuery(machine->database()).exec(u"DELETE FROM toolCall"_s);
}

void SimulatedPc::denyReads(const QString& keyPath)
{
    addPathFault(FaultKind::DenyReads, keyPath);
}

void SimulatedPc::denyWrites(const QString& keyPath)
{
    addPathFault(FaultKind::DenyWrites, keyPath);
}

void SimulatedPc::failChange(int n, Win32Error code, bool andAllAfter)
{
    addFault({FaultKind::FailChange, {}, {}, n, static_cast<int>(code), andAllAfter});
}

void SimulatedPc::killAtChange(int n, ChangeMoment moment)
{
    const bool isBefore = moment == ChangeMoment::Before;
    addFault({isBefore ? FaultKind::KillBeforeChange : FaultKind::KillAfterChange, {}, {}, n, 0, false});
}

void SimulatedPc::failQuery(const QString& keyPath, const QString& name, QueryStage stage, Win32Error code)
{
    addPathFault(stage == QueryStage::Size ? FaultKind::FailQuerySize : FaultKind::FailQueryData, keyPath, name, code);
}

void SimulatedPc::hangTool(const QString& part, int durationMs)
{
    addFault({FaultKind::HangTool, part, {}, 0, durationMs, false});
}

void SimulatedPc::failTool(const QString& part, int exitCode)
{
    addFault({FaultKind::FailTool, part, {}, 0, exitCode, false});
}

void SimulatedPc::clearFaults()
{
    if (Machine* const machine = Machine::current())
        machine->clearFaults();
}

QStringList SimulatedPc::faults()
{
    QStringList lines;
    if (Machine* const machine = Machine::current()) {
        machine->refreshConditions();
        for (const Fault& fault : machine->conditions().faults)
            lines << describe(fault);
    }
    return lines;
}

void SimulatedPc::setChangeObserver(std::function<void(ChangeMoment, const RegistryChange&)> observer)
{
    Machine::setObserver(std::move(observer));
}

} // namespace torvelane::platform
