#include "tweaks/EntryHolds.h"

#include "system/RegistryJson.h"
#include "tweaks/RegistryTweak.h"
#include "tweaks/TweakCatalog.h"

#include <utility>

namespace torvelane {

namespace {

HeldValue unknownOriginal(const RegistryOperation& operation)
{
    return {operation.place(), std::nullopt, operation.wish()};
}

} // namespace

void EntryHolds::update(ValueLedger& ledger)
{
    const std::optional<StoreVersion> version = m_store->version();
    if (!version) {
        distrustAll(ledger);
        return;
    }
    const StateStore::Changes changes = m_store->takeChanges();
    if (version != m_version || changes.orders) {
        m_version = version;
        reload(ledger);
        return;
    }
    for (const QString& id : changes.ids)
        reloadRow(ledger, id);
}

/// After a change by another process or thread. Most rows are as they were, and parsing takes the longest.
void EntryHolds::reload(ValueLedger& ledger)
{
    QList<StoredCapture> rows;
    QHash<QString, qint64> orders;
    if (!m_store->listHolders(rows) || !m_store->drawnOrders(orders)) {
        distrustAll(ledger);
        return;
    }
    ledger.setDrawnOrders(orders);
    QHash<QString, StoredCapture> gone = std::exchange(m_rows, {});
    for (const StoredCapture& row : std::as_const(rows)) {
        if (gone.take(row.id) != row)
            ledger.put(holderOf(row.id, row.state, row.order, StateStore::parseCapture(row.text)));
        m_rows.insert(row.id, row);
    }
    for (auto row = gone.cbegin(); row != gone.cend(); ++row)
        ledger.remove(row.key());
}

void EntryHolds::reloadRow(ValueLedger& ledger, const QString& id)
{
    StoredCapture row;
    bool isUnreadable = false;
    if (m_store->loadHolder(id, row, &isUnreadable)) {
        ledger.put(holderOf(id, row.state, row.order, StateStore::parseCapture(row.text)));
        m_rows.insert(id, row);
    } else if (isUnreadable) {
        distrustAll(ledger);
    } else {
        ledger.remove(id);
        m_rows.remove(id);
    }
}

void EntryHolds::distrustAll(ValueLedger& ledger)
{
    m_version.reset();
    const QList<TweakDefinition> definitions = m_catalog->definitions();
    for (const TweakDefinition& definition : definitions) {
        const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(m_catalog->implementation(definition.id));
        if (!tweak)
            continue;
        ValueHolder holder{definition.id, 0, {}};
        for (const RegistryOperation& operation : tweak->operations())
            holder.values.append(unknownOriginal(operation));
        // So that it goes with the next reading, if it isn't applied.
        m_rows.insert(definition.id, {});
        ledger.put(holder);
    }
}

ValueHolder EntryHolds::holderOf(const QString& id, TweakState state, qint64 order, const QJsonObject& capture) const
{
    ValueHolder holder{id, order, {}};
    const QString type = capture.value(captureTypeKey).toString();
    if (type == tweakTypeCommand)
        return holder;
    const auto tweak = std::dynamic_pointer_cast<RegistryTweak>(m_catalog->implementation(id));
    const QList<RegistryOperation> operations = tweak ? tweak->operations() : QList<RegistryOperation>();
    QHash<QString, RegistryValue> wishes;
    for (const RegistryOperation& operation : operations)
        wishes.insert(operation.place().key(), operation.wish());

    QList<CapturedValue> values;
    if (type == tweakTypeRegistry)
        values = RegistryTweak::capturedValues(capture);
    for (const CapturedValue& value : std::as_const(values)) {
        if (!value.isPlaceKnown)
            continue;
        HeldValue held{value.place, value.original, std::nullopt};
        if (state == TweakState::Unknown)
            held.original.reset();
        if (const auto wish = wishes.constFind(value.place.key()); wish != wishes.cend())
            held.wish = *wish;
        holder.values.append(held);
    }
    if (holder.values.isEmpty()) {
        for (const RegistryOperation& operation : operations)
            holder.values.append(unknownOriginal(operation));
    }
    return holder;
}

} // namespace torvelane
