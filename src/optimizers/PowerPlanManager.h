#pragma once

#include <QList>
#include <QString>
#include <QStringList>

namespace torvelane {

/// What became of an operation on power plans.
struct PowerPlanResult {
    bool ok = false;
    QString message; ///< For the user, in their language.
};

/// One power plan.
struct PowerPlan {
    QString guid; ///< In lower case.
    QString name; ///< In the system's language.
    bool active = false;
};

/// The indices of one setting of the active plan, on mains and on battery; both -1 if they can't be told.
struct PowerSettingValue {
    qint32 ac = -1;
    qint32 dc = -1;
};

/// Windows' power plans, through powercfg.exe alone: every read and write is one run of it, of up to 8 seconds. The two
/// bundles of settings are remembered in cpu_perf.json and disk_perf.json (SnapshotFile says how snapshots work), but
/// each file is written after its settings: a crash in between leaves settings that no file remembers.
///
/// No shared state. Every function blocks: never on the GUI thread, but for the two questions whether a bundle is
/// applied. Changing plans needs no administrator rights unless a policy says so.
namespace PowerPlanManager {

/// Runs powercfg.exe. `ok`, which may be null, becomes whether it ended in time with exit code 0.
/// @return its standard output, and then its standard error
[[nodiscard]] QString runPowercfg(const QStringList& arguments, bool* ok);

/// GUID of the active plan in lower case; empty if it is unknown.
[[nodiscard]] QString activeScheme();

/// In the order of powercfg; empty if it failed. A name is cut at its first closing bracket.
[[nodiscard]] QList<PowerPlan> listPlans();

/// A setting of the active plan. What powercfg hides, as it does with most processor settings on most machines, can't be
/// told.
[[nodiscard]] PowerSettingValue querySetting(const QString& subgroup, const QString& setting);

[[nodiscard]] PowerPlanResult activatePlan(const QString& guid);

/// Ultimate Performance, or else High Performance, or else a new copy of Ultimate Performance.
[[nodiscard]] PowerPlanResult applyBestPlan();

/// A second call would take the tuned values for the originals: ask isMaxCpuApplied first.
[[nodiscard]] PowerPlanResult applyMaxCpu();
[[nodiscard]] PowerPlanResult restoreCpu();
[[nodiscard]] bool isMaxCpuApplied();

/// The same for the disk.
[[nodiscard]] PowerPlanResult applyMaxDisk();
[[nodiscard]] PowerPlanResult restoreDisk();
[[nodiscard]] bool isMaxDiskApplied();

} // namespace PowerPlanManager

} // namespace torvelane
