#include "system/ValueLedger.h"

#include "system/RegistryAccess.h"

#include <QSet>

#include <algorithm>
#include <utility>

namespace torvelane {

namespace {

ValueLedger*& currentLedger()
{
    static ValueLedger* ledger = nullptr;
    return ledger;
}

} // namespace

QString ValuePlace::key() const
{
    return hiveName(hive) + QLatin1Char('|') + path.toLower() + QLatin1Char('|') + name.toLower();
}

QString placeText(const ValuePlace& place)
{
    return QStringLiteral("%1\\%2 [%3]").arg(hiveName(place.hive), place.path, place.name);
}

ValueLedger& ValueLedger::current()
{
    static ValueLedger nobody;
    return currentLedger() ? *currentLedger() : nobody;
}

void ValueLedger::setCurrent(ValueLedger* ledger)
{
    currentLedger() = ledger;
}

void ValueLedger::attach(HolderSource* source)
{
    const std::scoped_lock locker(m_mutex);
    m_sources.append(source);
}

void ValueLedger::detach(HolderSource* source)
{
    const std::scoped_lock locker(m_mutex);
    m_sources.removeOne(source);
}

void ValueLedger::setOrderDrawer(OrderDrawer drawer)
{
    const std::scoped_lock locker(m_mutex);
    m_drawOrder = std::move(drawer);
}

void ValueLedger::setChangeListener(std::function<void()> listener)
{
    const std::scoped_lock locker(m_mutex);
    m_changeListener = std::move(listener);
}

ValueLedger::Batch::~Batch()
{
    const std::scoped_lock locker(m_ledger.m_mutex);
    if (m_ledger.m_changeListener)
        m_ledger.m_changeListener();
}

void ValueLedger::put(const ValueHolder& holder)
{
    remove(holder.id);
    if (holder.order)
        m_orders.insert(holder.id, *holder.order);
    QStringList& keys = m_keys[holder.id];
    for (const HeldValue& value : holder.values) {
        const QString key = value.place.key();
        keys.append(key);
        m_holds[key].append({holder.id, value});
    }
}

void ValueLedger::remove(const QString& holder)
{
    m_orders.remove(holder);
    const QStringList keys = m_keys.take(holder);
    for (const QString& key : keys) {
        const auto holds = m_holds.find(key);
        if (holds == m_holds.end())
            continue;
        holds->removeIf([&holder](const Hold& hold) { return hold.holder == holder; });
        if (holds->isEmpty())
            m_holds.erase(holds);
    }
}

void ValueLedger::update()
{
    for (HolderSource* source : std::as_const(m_sources))
        source->update(*this);
}

qint64 ValueLedger::orderOf(const QString& holder) const
{
    const auto own = m_orders.constFind(holder);
    return own != m_orders.cend() ? *own : m_drawnOrders.value(holder);
}

/// The latest last.
QList<const ValueLedger::Hold*> ValueLedger::holdsOf(const QString& key) const
{
    QList<const Hold*> sorted;
    const auto holds = m_holds.constFind(key);
    if (holds == m_holds.cend())
        return sorted;
    for (const Hold& hold : *holds)
        sorted.append(&hold);
    std::ranges::stable_sort(sorted, {}, [this](const Hold* hold) { return orderOf(hold->holder); });
    return sorted;
}

QList<ValueLedger::Held> ValueLedger::heldValues()
{
    const std::scoped_lock locker(m_mutex);
    update();
    QList<Held> values;
    values.reserve(m_holds.size());
    for (auto entry = m_holds.cbegin(); entry != m_holds.cend(); ++entry) {
        Held held;
        const QList<const Hold*> holds = holdsOf(entry.key());
        for (const Hold* hold : holds) {
            if (!held.original)
                held.original = hold->value.original;
            held.holders.append(hold->holder);
        }
        held.place = holds.first()->value.place;
        held.wish = holds.last()->value.wish;
        values.append(held);
    }
    return values;
}

QHash<QString, ValueLedger::Drift> ValueLedger::drift(const QStringList& holders)
{
    const QSet<QString> asked(holders.begin(), holders.end());
    QHash<QString, Drift> drifts;
    const QList<Held> values = heldValues();
    for (const Held& held : values) {
        const auto isAsked = [&asked](const QString& holder) { return asked.contains(holder); };
        if (std::ranges::none_of(held.holders, isAsked))
            continue;
        // Only the last holder's wish is there.
        RegistryValue present;
        const bool isChanged =
            held.wish && readValue(held.place.hive, held.place.path, held.place.name, present) && present != *held.wish;
        for (const QString& holder : held.holders) {
            drifts[holder].changed += isChanged ? 1 : 0;
            ++drifts[holder].total;
        }
    }
    drifts.removeIf([&asked](QHash<QString, Drift>::iterator drift) {
        return drift->changed == 0 || !asked.contains(drift.key());
    });
    return drifts;
}

LedgerSession::LedgerSession(ValueLedger& ledger, QString holder)
    : m_ledger(ledger)
    , m_holder(std::move(holder))
    , m_locker(ledger.m_mutex)
{
    m_ledger.update();
}

const ValueLedger::Hold* LedgerSession::lastOther(const ValuePlace& place) const
{
    const ValueLedger::Hold* last = nullptr;
    const auto holds = m_ledger.m_holds.constFind(place.key());
    if (holds == m_ledger.m_holds.cend())
        return nullptr;
    for (const ValueLedger::Hold& hold : *holds) {
        if (hold.holder == m_holder || !hold.value.original)
            continue;
        if (!last || m_ledger.orderOf(hold.holder) >= m_ledger.orderOf(last->holder))
            last = &hold;
    }
    return last;
}

bool LedgerSession::readOriginal(const ValuePlace& place, RegistryValue& out, QString* error) const
{
    // They agree, unless a version without a ledger has captured what another one had written: then the first is right.
    const QList<const ValueLedger::Hold*> holds = m_ledger.holdsOf(place.key());
    QString unreadable;
    for (const ValueLedger::Hold* hold : holds) {
        if (hold->holder == m_holder)
            continue;
        if (hold->value.original) {
            out = *hold->value.original;
            return true;
        }
        unreadable = hold->holder;
    }
    if (unreadable.isEmpty() && readValue(place.hive, place.path, place.name, out))
        return true;
    if (error) {
        *error = unreadable.isEmpty()
            ? QStringLiteral("Failed to read %1").arg(placeText(place))
            : QStringLiteral("The original of %1 is held by %2 and can't be read").arg(placeText(place), unreadable);
    }
    return false;
}

bool LedgerSession::isOriginalLost(const ValuePlace& place) const
{
    const QList<const ValueLedger::Hold*> holds = m_ledger.holdsOf(place.key());
    const auto isOther = [this](const ValueLedger::Hold* hold) { return hold->holder != m_holder; };
    return std::ranges::any_of(holds, isOther) && !lastOther(place);
}

bool LedgerSession::putBack(const ValuePlace& place, const RegistryValue& original) const
{
    const ValueLedger::Hold* last = lastOther(place);
    if (!last)
        return writeValue(place.hive, place.path, place.name, original);
    const std::optional<RegistryValue>& wish = last->value.wish;
    RegistryValue present;
    if (!wish || (readValue(place.hive, place.path, place.name, present) && present == *wish))
        return true;
    return writeValue(place.hive, place.path, place.name, *wish);
}

void LedgerSession::drawOrder() const
{
    if (m_ledger.m_drawOrder)
        std::ignore = m_ledger.m_drawOrder(m_holder);
}

} // namespace torvelane
