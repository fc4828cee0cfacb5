#pragma once

#include "optimizers/AdapterSnapshots.h"
#include "optimizers/NetAdapters.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace torvelane {

/// How large the buffers of the network adapters are to be.
enum class BufferbloatMode {
    Normal = 0,   ///< as they were
    UltraLow = 1, ///< as small as the driver allows
};

/// What became of an operation on adapter buffers.
struct BufferbloatResult {
    bool ok = false;
    QString message;     ///< For the user, in their language.
    qint32 adapters = 0; ///< How many adapters were changed.
};

/// Shrinks the send and receive buffers of the active network adapters to the smallest size that their drivers declare,
/// which cuts the delay that builds up under load, and puts every value back. What was there is in bufferbloat_opt.json
/// (SnapshotFile says how snapshots work), read when the object is made.
///
/// One worker at a time. Everything but the plain questions blocks, changes HKLM and restarts adapters, which needs
/// administrator rights and drops their connection.
class BufferbloatOptimizer {
public:
    static constexpr QLatin1String snapshotName{"bufferbloat_opt.json"};

    BufferbloatOptimizer();

    /// What the adapters of a snapshot hold.
    [[nodiscard]] static QList<ValueHolder> heldIn(const QJsonObject& document);

    /// The driver settings that are changed, in their order.
    [[nodiscard]] static QStringList bufferSettingNames();

    /// How many adapters are changed at present.
    [[nodiscard]] qsizetype snapshotCount() const { return m_snapshots.count(); }

    /// Every enabled adapter that isn't changed yet. Fails if there is none whose driver declares smallest sizes, also
    /// when all of them are changed already.
    [[nodiscard]] BufferbloatResult applyAll(const QList<NetAdapter>& adapters);

    /// Every adapter with a snapshot.
    [[nodiscard]] BufferbloatResult restoreAll();

private:
    [[nodiscard]] BufferbloatResult apply(const NetAdapter& adapter);
    [[nodiscard]] BufferbloatResult restore(const QString& guid, const AdapterSnapshot& snapshot);

    AdapterSnapshots m_snapshots;
};

} // namespace torvelane
