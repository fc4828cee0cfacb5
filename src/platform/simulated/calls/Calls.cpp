#include "platform/simulated/calls/Calls.h"

#include "platform/simulated/store/FacilityDocuments.h"

#include <QCoreApplication>
#include <QDateTime>
#include <QMutex>
#include <QThread>

#include <atomic>
#include <csignal>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated::Calls {
namespace {

struct Observing {
    QMutex mutex;
    Observer observer;
    std::atomic<bool> isOn{false};
};

Observing& observing()
{
    static Observing instance;
    return instance;
}

void notifyObserver(CallMoment moment, const Call& call)
{
    if (!observing().isOn.load(std::memory_order_acquire))
        return;
    Observer observer;
    {
        const QMutexLocker lock(&observing().mutex);
        observer = observing().observer;
    }
    if (observer)
        observer(moment, call);
}

[[noreturn]] void killThisProcess()
{
    ::kill(::getpid(), SIGKILL);
    for (;;)
        ::pause();
}

/// Between a call's name and its arguments in the text of its record. Not JSON, since the registry's changes are many.
constexpr QChar separator(0x1f);

/// The number of the new record; 0 if it couldn't be written. Afterwards the conditions are those of the file: the
/// statement does nothing if they have changed, and so costs no look at them.
qint64 record(Store& store, const Call& call, std::optional<qint64> answer)
{
    const QString text = (QStringList{call.name} + call.arguments).join(separator);
    for (int attempt = 0; attempt < 2; ++attempt) {
        const Execution inserted(store.prepared(u"INSERT INTO call (startedMs, processId, call, answer)"
                                                u" SELECT ?, ?, ?, ? FROM machine WHERE generation = ?"),
                                 {QDateTime::currentMSecsSinceEpoch(), QCoreApplication::applicationPid(), text,
                                  answer ? QVariant(*answer) : QVariant(), store.conditions().generation});
        if (inserted.affectedRows() == 1)
            return inserted.insertedId();
        if (!inserted.isOk())
            return 0;
        store.refreshConditions();
    }
    return 0;
}

const QList<Fault>& upToDateFaults(Store& store)
{
    Execution generation(store.prepared(u"SELECT generation FROM machine"), {});
    store.isUpToDate(generation.next() ? generation.value(0).toLongLong() : -1);
    return store.conditions().faults;
}

void answerRecord(Store& store, qint64 recordId, qint64 answer)
{
    (void)Execution(store.prepared(u"UPDATE call SET answer = ? WHERE id = ?"), {answer, recordId});
}

/// The beginning of a call that faults may strike. Its count and its record, which is left out if nobody wants its
/// number, are in the file before it is struck.
Strike begin(Store& store, const Call& call, CallKind kind, qint64* recordId)
{
    Strike strike;
    {
        WriteTransaction transaction(store);
        if (recordId)
            *recordId = record(store, call, std::nullopt);
        strike = countStrikes(store, call, kind);
        if (!transaction.commit())
            return {};
    }
    if (strike.killBefore)
        killThisProcess();
    if (strike.hangMs > 0)
        QThread::msleep(static_cast<unsigned long>(strike.hangMs));
    return strike;
}

void end(Store& store, const Strike& strike, qint64 recordId, qint64 answer)
{
    if (recordId != 0)
        answerRecord(store, recordId, answer);
    if (strike.killAfter)
        killThisProcess();
}

/// The work in a transaction of its own, as `codes.unusable` if that failed.
qint64 workInTransaction(Store& store, const detail::CodeTraits& codes, const detail::Work& work)
{
    WriteTransaction transaction(store);
    if (!transaction.isOpen())
        return codes.unusable;
    const qint64 answer = work(store);
    return codes.isSuccess(answer) && !transaction.commit() ? codes.unusable : answer;
}

/// A call that no fault strikes: work and record in one transaction. Absent if it turns out that faults do strike it.
std::optional<qint64> changeUndisturbed(Store& store, const Call& call, const detail::CodeTraits& codes,
                                        const detail::Work& work)
{
    WriteTransaction transaction(store);
    if (!transaction.isOpen())
        return codes.unusable;
    const qint64 recordId = record(store, call, 0);
    if (recordId == 0)
        return codes.unusable;
    if (anyMatches(store.conditions().faults, call, CallKind::Change))
        return std::nullopt;
    const qint64 answer = work(store);
    if (answer != 0)
        answerRecord(store, recordId, answer);
    return answer == codes.unusable || !transaction.commit() ? codes.unusable : answer;
}

} // namespace

namespace detail {

qint64 change(const Call& call, const CodeTraits& codes, const Work& work)
{
    notifyObserver(CallMoment::Before, call);
    Store* const store = Store::current();
    if (!store)
        return codes.unusable;
    const std::optional<qint64> undisturbed = changeUndisturbed(*store, call, codes, work);
    qint64 answer = undisturbed.value_or(0);
    if (!undisturbed) {
        qint64 recordId = 0;
        const Strike strike = begin(*store, call, CallKind::Change, &recordId);
        answer = strike.answer ? *strike.answer : workInTransaction(*store, codes, work);
        end(*store, strike, recordId, answer);
    }
    if (codes.isSuccess(answer))
        notifyObserver(CallMoment::After, call);
    return answer;
}

qint64 changeDocument(const Call& call, const CodeTraits& codes, const DocumentWork& work)
{
    return change(call, codes, [&](Store& store) {
        const QJsonObject before = readDocument(store, call.facility());
        QJsonObject document = before;
        const qint64 answer = work(document);
        const bool hasChanged = codes.isSuccess(answer) && document != before;
        return hasChanged && !writeDocument(store, call.facility(), document) ? codes.unusable : answer;
    });
}

qint64 look(const Call& call, const CodeTraits& codes, Recorded recorded, const DocumentWork& work)
{
    Store* const store = Store::current();
    if (!store)
        return codes.unusable;
    qint64 recordId = 0;
    Strike strike;
    if (recorded == Recorded::Yes)
        strike = begin(*store, call, CallKind::Look, &recordId);
    else if (anyMatches(upToDateFaults(*store), call, CallKind::Look))
        strike = begin(*store, call, CallKind::Look, nullptr);
    qint64 answer = strike.answer.value_or(0);
    if (!strike.answer) {
        QJsonObject document = readDocument(*store, call.facility());
        answer = work(document);
    }
    end(*store, strike, recordId, answer);
    return answer;
}

} // namespace detail

std::optional<qint64> strikeLook(Store& store, const Call& call)
{
    if (!anyMatches(store.conditions().faults, call, CallKind::Look))
        return std::nullopt;
    const Strike strike = begin(store, call, CallKind::Look, nullptr);
    end(store, strike, 0, 0);
    return strike.answer;
}

Running::Running(Call call) : m_call(std::move(call))
{
    notifyObserver(CallMoment::Before, m_call);
    if (Store* const store = Store::current())
        m_strike = begin(*store, m_call, CallKind::Change, &m_recordId);
}

void Running::finish(qint64 answer)
{
    if (Store* const store = Store::current())
        end(*store, m_strike, m_recordId, answer);
    notifyObserver(CallMoment::After, m_call);
}

void setObserver(Observer observer)
{
    const QMutexLocker lock(&observing().mutex);
    observing().isOn = static_cast<bool>(observer);
    observing().observer = std::move(observer);
}

QList<CallRecord> records(Store& store)
{
    QList<CallRecord> records;
    Execution rows(store.prepared(u"SELECT call, startedMs, processId, answer FROM call ORDER BY id"), {});
    while (rows.next()) {
        CallRecord record;
        record.call.arguments = rows.value(0).toString().split(separator);
        record.call.name = record.call.arguments.takeFirst();
        record.startedMs = rows.value(1).toLongLong();
        record.processId = rows.value(2).toLongLong();
        if (!rows.value(3).isNull())
            record.answer = rows.value(3).toLongLong();
        records << record;
    }
    return records;
}

void clearRecords(Store& store)
{
    (void)store.run(u"DELETE FROM call"_s);
}

} // namespace torvelane::platform::simulated::Calls
