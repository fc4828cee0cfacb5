#pragma once

#include "optimizers/AdapterSnapshots.h"
#include "optimizers/NetAdapters.h"

#include <QList>
#include <QString>

namespace torvelane {

/// What became of an operation on network adapters.
struct NicOptResult {
    bool ok = false;
    QString message; ///< For the user, in their language.
};

/// Switches off what network drivers do for the sake of power or throughput and at the cost of latency, and puts every
/// value back. What was there is in network_opt.json (SnapshotFile says how snapshots work); it is read when the object
/// is made, so that the state outlives the program.
///
/// One worker at a time may use an object; isOptimized may be asked on another thread while none does. Everything but
/// that blocks, changes HKLM and restarts adapters, which needs administrator rights and drops their connection.
class NetworkOptimizer {
public:
    static constexpr QLatin1String snapshotName{"network_opt.json"};

    NetworkOptimizer();

    /// What the adapters of a snapshot hold.
    [[nodiscard]] static QList<ValueHolder> heldIn(const QJsonObject& document);

    [[nodiscard]] bool isOptimized(const QString& guid) const { return m_snapshots.contains(guid); }
    [[nodiscard]] bool hasSnapshots() const { return m_snapshots.count() > 0; }

    /// One adapter, and its restart. Fails only if its driver has none of the settings.
    [[nodiscard]] NicOptResult apply(const NetAdapter& adapter);

    /// Every enabled adapter that isn't optimised yet, one after the other.
    [[nodiscard]] NicOptResult applyAll(const QList<NetAdapter>& adapters);

    /// One adapter by its snapshot alone, and its restart. The snapshot goes, whatever could be written back.
    [[nodiscard]] NicOptResult restore(const QString& guid, const AdapterSnapshot& snapshot);

    /// Every adapter with a snapshot, also one that is no longer there.
    [[nodiscard]] NicOptResult restoreAll();

private:
    AdapterSnapshots m_snapshots;
};

} // namespace torvelane
