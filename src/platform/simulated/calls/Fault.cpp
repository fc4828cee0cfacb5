#include "platform/simulated/calls/Fault.h"

#include "platform/simulated/store/Store.h"

#include <algorithm>

using namespace Qt::StringLiterals;

namespace torvelane::platform::simulated {

bool Fault::matches(const Call& struck, CallKind kind) const
{
    // Looking is struck by its full name only: a sweep over a facility's changes isn't to count its queries.
    const bool isMeant =
        call == struck.name || (kind == CallKind::Change && (call.isEmpty() || call == struck.facility()));
    return isMeant && (part.isEmpty() || struck.argumentLine().contains(part, Qt::CaseInsensitive));
}

QString Fault::describe() const
{
    QString text = call.isEmpty() ? u"every change"_s : call;
    if (!part.isEmpty())
        text += " with \""_L1 % part % u'"';
    if (once)
        text += ", number "_L1 % QString::number(n);
    else if (n > 1)
        text += ", from number "_L1 % QString::number(n) % " on"_L1;
    switch (effect) {
    case Effect::Fail:
        return text % ": answers "_L1 % QString::number(code);
    case Effect::Hang:
        return text % ": hangs for "_L1 % QString::number(code) % " ms"_L1;
    case Effect::KillBefore:
        return text % ": kills before it"_L1;
    case Effect::KillAfter:
        return text % ": kills after it"_L1;
    }
    Q_UNREACHABLE();
}

bool anyMatches(const QList<Fault>& faults, const Call& call, CallKind kind)
{
    return std::ranges::any_of(faults, [&](const Fault& fault) { return fault.matches(call, kind); });
}

Strike countStrikes(Store& store, const Call& call, CallKind kind)
{
    Strike strike;
    for (const Fault& fault : store.conditions().faults) {
        if (!fault.matches(call, kind))
            continue;
        const Execution counted(store.prepared(u"UPDATE fault SET seen = seen + 1 WHERE id = ?"), {fault.id});
        Execution seen(store.prepared(u"SELECT seen FROM fault WHERE id = ?"), {fault.id});
        const int number = seen.next() ? seen.value(0).toInt() : 0;
        if (fault.once ? number != fault.n : number < fault.n)
            continue;
        switch (fault.effect) {
        case Fault::Effect::Fail:
            strike.answer = fault.code;
            break;
        case Fault::Effect::Hang:
            strike.hangMs += static_cast<int>(fault.code);
            break;
        case Fault::Effect::KillBefore:
            strike.killBefore = true;
            break;
        case Fault::Effect::KillAfter:
            strike.killAfter = true;
        }
    }
    return strike;
}

QList<Fault> readFaults(Store& store)
{
    QList<Fault> faults;
    Execution rows(store.prepared(u"SELECT id, effect, call, part, n, once, code FROM fault ORDER BY id"), {});
    while (rows.next()) {
        faults << Fault{.id = rows.value(0).toLongLong(),
                        .effect = static_cast<Fault::Effect>(rows.value(1).toInt()),
                        .call = rows.value(2).toString(),
                        .part = rows.value(3).toString(),
                        .n = rows.value(4).toInt(),
                        .once = rows.value(5).toBool(),
                        .code = rows.value(6).toLongLong()};
    }
    return faults;
}

bool addFault(Store& store, const Fault& fault)
{
    WriteTransaction transaction(store);
    const Execution inserted(
        store.prepared(u"INSERT INTO fault (effect, call, part, n, once, code) VALUES (?, ?, ?, ?, ?, ?)"),
        {static_cast<int>(fault.effect), notNull(fault.call), notNull(fault.part), fault.n, fault.once, fault.code});
    return inserted.isOk() && store.run(raiseGeneration.toString()) && transaction.commit();
}

bool clearFaults(Store& store)
{
    WriteTransaction transaction(store);
    return store.run(u"DELETE FROM fault"_s) && store.run(raiseGeneration.toString()) && transaction.commit();
}

} // namespace torvelane::platform::simulated
