#pragma once

#include "system/ValueLedger.h"

#include <QJsonObject>
#include <QString>

namespace torvelane {

/// What became of switching Gaming Mode.
struct GamingResult {
    bool ok = false;
    QString message;  ///< For the user, in their language.
    qint32 count = 0; ///< How many registry values were written or restored.
};

/// One switch that sets twenty registry values for low latency, makes the best performance plan the active one and
/// applies the processor bundle of PowerPlanManager; and puts all of it back. What was there, absent values included, is
/// in gaming_mode.json (SnapshotFile says how snapshots work), which is the only state.
///
/// One worker at a time; isActive may be asked anywhere and reads one small file. Switching blocks, for up to two minutes
/// if powercfg.exe hangs. Values below HKLM need administrator rights; without them only the others are written.
namespace GamingMode {

inline constexpr QLatin1String snapshotName{"gaming_mode.json"};

[[nodiscard]] bool isActive();

/// What a snapshot holds.
[[nodiscard]] QList<ValueHolder> heldIn(const QJsonObject& document);

/// Fails, and changes nothing, only if the snapshot can't be opened for writing, if another process is changing the machine,
/// or if the original of one of the values is in a snapshot that can't be read.
[[nodiscard]] GamingResult activate();

/// Always a success: what could not be put back is missing from the count.
[[nodiscard]] GamingResult deactivate();

} // namespace GamingMode

} // namespace torvelane
