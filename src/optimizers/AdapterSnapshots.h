#pragma once

#include "optimizers/NetAdapters.h"
#include "optimizers/SnapshotFile.h"
#include "system/ValueLedger.h"

#include <QHash>
#include <QJsonArray>

namespace torvelane {

/// What an optimiser of network adapters found on one adapter before it changed it.
struct AdapterSnapshot {
    QString regSubKey;   ///< The adapter's class key below HKLM.
    QString pnpDeviceId; ///< The device to restart when the values are back.
    QString name;        ///< For messages and the log.
    QJsonArray values;   ///< Captured values, in the order in which they were captured.
};

/// The adapters that one optimiser has changed, by the adapter's GUID, kept in one snapshot file. One worker at a time.
class AdapterSnapshots {
public:
    using Entries = QHash<QString, AdapterSnapshot>;

    /// Reads the file; a missing or broken one holds nothing.
    AdapterSnapshots(const QString& fileName, const QString& category);

    /// As the ledger knows an adapter's entry.
    [[nodiscard]] QString holder(const QString& guid) const { return m_fileName + QLatin1Char('/') + guid; }

    /// What the adapters of a document hold. `wish` is what all of their values become, where that is known.
    [[nodiscard]] static QList<ValueHolder> heldIn(const QString& fileName, const QJsonObject& document,
                                                   const std::optional<RegistryValue>& wish);

    /// Writes every captured value of an adapter back and forgets it, which writes the file. @return how many values could
    /// be written
    [[nodiscard]] int restore(const QString& guid, const AdapterSnapshot& entry);

    /// Takes over what another process has written since. Under the lock, before anything is decided.
    void refresh();

    [[nodiscard]] bool contains(const QString& guid) const { return m_entries.contains(guid); }
    [[nodiscard]] qsizetype count() const { return m_entries.size(); }

    /// A copy that may be walked while entries go.
    [[nodiscard]] Entries entries() const { return m_entries; }

    /// Remembers an adapter and writes the file. `values` were captured from it.
    void insert(const NetAdapter& adapter, const QJsonArray& values);

private:
    void take(const QJsonObject& document);
    void save();

    QString m_fileName;
    SnapshotFile m_file;
    Entries m_entries;
    bool m_isSaved = true; ///< Otherwise the file is older than the entries.
};

/// The name that messages and the log use: the connection's, or the adapter's if that has none.
[[nodiscard]] QString displayName(const NetAdapter& adapter);

} // namespace torvelane
