#include "platform/simulated/SimulatedPc.h"

#include "platform/simulated/Image.h"
#include "platform/simulated/calls/Calls.h"
#include "platform/simulated/files/Drive.h"
#include "platform/simulated/store/FacilityDocuments.h"
#include "platform/simulated/store/Seed.h"
#include "platform/simulated/store/Store.h"

#include <QJsonArray>

using namespace Qt::StringLiterals;

namespace torvelane::platform {

using namespace simulated;

namespace {

void add(const Fault& fault)
{
    Store* const store = Store::current();
    if (store && addFault(*store, fault))
        store->refreshConditions();
}

Fault faultOn(const QString& call, Fault::Effect effect, const Struck& struck, qint64 code)
{
    return {.effect = effect, .call = call, .part = struck.part, .n = struck.n, .once = struck.once, .code = code};
}

/// The steps below a facility's document, unescaped.
QStringList steps(const QString& path)
{
    QStringList steps = path.split(u'/');
    for (QString& step : steps)
        step.replace("~1"_L1, "/"_L1).replace("~0"_L1, "~"_L1);
    return steps;
}

QJsonValue child(const QJsonValue& parent, const QString& step)
{
    return parent.isArray() ? parent.toArray().at(step.toInt()) : parent.toObject().value(step);
}

/// `parent` with `value` put where the steps lead; absent if they lead nowhere.
std::optional<QJsonValue> withValue(const QJsonValue& parent, QStringList steps, const QJsonValue& value)
{
    if (steps.isEmpty())
        return value;
    const QString step = steps.takeFirst();
    bool isNumber = true;
    const qsizetype index = step == u'-' ? parent.toArray().size() : step.toInt(&isNumber);
    const bool isHere =
        parent.isArray() ? isNumber && index >= 0 && index <= parent.toArray().size() : parent.isObject();
    const auto changed = isHere ? withValue(child(parent, step), steps, value) : std::nullopt;
    if (!changed)
        return std::nullopt;
    if (parent.isObject()) {
        QJsonObject object = parent.toObject();
        object.insert(step, *changed); // an undefined value removes
        return object;
    }
    QJsonArray array = parent.toArray();
    if (index == array.size())
        array.append(*changed);
    else if (changed->isUndefined())
        array.removeAt(index);
    else
        array.replace(index, *changed);
    return array;
}

} // namespace

QString SimulatedPc::machineFile()
{
    return Store::file();
}

void SimulatedPc::setMachineFile(const QString& path)
{
    Store::setFile(path);
}

bool SimulatedPc::reset(const QString& seedFile, QString* error)
{
    QString reason;
    const auto seed = readSeed(seedFile, &reason);
    const bool isReset = seed && Store::reset(*seed);
    if (isReset)
        discardDrive(machineFile());
    if (!isReset && error)
        *error = seed ? u"Can't write %1"_s.arg(machineFile()) : reason;
    return isReset;
}

bool SimulatedPc::copyTo(const QString& path)
{
    Store* const store = Store::current();
    return store && Execution(store->prepared(u"VACUUM INTO ?"), {path}).isOk();
}

QStringList SimulatedPc::image()
{
    Store* const store = Store::current();
    return store ? machineImage(*store) : QStringList();
}

QJsonValue SimulatedPc::value(const QString& path)
{
    Store* const store = Store::current();
    if (!store)
        return QJsonValue::Undefined;
    const QStringList way = steps(path);
    QJsonValue value = readDocument(*store, way.constFirst());
    for (const QString& step : way.sliced(1))
        value = child(value, step);
    return value;
}

bool SimulatedPc::setValue(const QString& path, const QJsonValue& value)
{
    Store* const store = Store::current();
    if (!store)
        return false;
    const QStringList way = steps(path);
    WriteTransaction transaction(*store);
    const auto document = withValue(readDocument(*store, way.constFirst()), way.sliced(1), value);
    const bool isSet = document && document->isObject() && writeDocument(*store, way.constFirst(), document->toObject())
        && store->run(raiseGeneration.toString()) && transaction.commit();
    store->refreshConditions();
    return isSet;
}

QList<CallRecord> SimulatedPc::calls(const QString& call)
{
    Store* const store = Store::current();
    QList<CallRecord> records = store ? Calls::records(*store) : QList<CallRecord>();
    records.removeIf([&call](const CallRecord& record) {
        return !call.isEmpty() && call != record.call.name && call != record.call.facility();
    });
    return records;
}

void SimulatedPc::clearCalls()
{
    if (Store* const store = Store::current())
        Calls::clearRecords(*store);
}

void SimulatedPc::failWith(const QString& call, qint64 code, const Struck& struck)
{
    add(faultOn(call, Fault::Effect::Fail, struck, code));
}

void SimulatedPc::hang(const QString& call, int durationMs, const Struck& struck)
{
    add(faultOn(call, Fault::Effect::Hang, struck, durationMs));
}

void SimulatedPc::kill(const QString& call, CallMoment moment, const Struck& struck)
{
    const bool isBefore = moment == CallMoment::Before;
    Struck onceOnly = struck;
    onceOnly.once = true;
    add(faultOn(call, isBefore ? Fault::Effect::KillBefore : Fault::Effect::KillAfter, onceOnly, 0));
}

void SimulatedPc::clearFaults()
{
    Store* const store = Store::current();
    if (store && simulated::clearFaults(*store))
        store->refreshConditions();
}

QStringList SimulatedPc::faults()
{
    QStringList lines;
    if (Store* const store = Store::current()) {
        for (const Fault& fault : readFaults(*store))
            lines << fault.describe();
    }
    return lines;
}

void SimulatedPc::setObserver(std::function<void(CallMoment, const Call&)> observer)
{
    Calls::setObserver(std::move(observer));
}

} // namespace torvelane::platform
