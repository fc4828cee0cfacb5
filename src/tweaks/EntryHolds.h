#pragma once

#include "system/ValueLedger.h"
#include "tweaks/StateStore.h"

#include <QHash>

namespace torvelane {

class TweakCatalog;

/// What the catalogue's entries hold: the rows of the store that wait for their revert. What an entry writes is taken from
/// the catalogue, so that of one that has left the catalogue only the originals are known.
///
/// A row that can't be read, or that only a later version understands, holds what the catalogue says that the entry
/// writes, with an original that isn't known. In a store that can't be read that goes for all entries.
class EntryHolds : public HolderSource {
public:
    /// Neither is owned; both outlive the object. Nobody else takes the store's changes.
    EntryHolds(const TweakCatalog* catalog, StateStore* store) : m_catalog(catalog), m_store(store) { }

    void update(ValueLedger& ledger) override;

private:
    void reload(ValueLedger& ledger);
    void reloadRow(ValueLedger& ledger, const QString& id);
    void distrustAll(ValueLedger& ledger);
    [[nodiscard]] ValueHolder holderOf(const QString& id, TweakState state, qint64 order,
                                       const QJsonObject& capture) const;

    const TweakCatalog* m_catalog;
    StateStore* m_store;
    std::optional<StoreVersion> m_version; ///< Of the store when it was read.
    QHash<QString, StoredCapture> m_rows;  ///< As they are in the ledger.
};

} // namespace torvelane
