#include "optimizers/PowerPlanManager.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/PowercfgOutput.h"
#include "optimizers/SnapshotFile.h"
#include "platform/ChildProcess.h"
#include "platform/ConsoleText.h"

#include <QJsonArray>

#include <algorithm>
#include <array>
#include <span>

namespace torvelane::PowerPlanManager {

namespace {

const QString category = QStringLiteral("power");
constexpr int limitMs = 8000;

// https://learn.microsoft.com/windows-hardware/customize/power-settings/configure-power-settings
const QString ultimatePerformance = QStringLiteral("e9a42b02-d5df-448d-aa00-03f14749eb61");
const QString highPerformance = QStringLiteral("8c5e7fda-e8bf-4a96-9a85-a6e23a8c635c");
const QString currentScheme = QStringLiteral("SCHEME_CURRENT");

struct BundleSetting {
    QLatin1String guid;
    int value; ///< On mains and on battery.
};

/// Settings of one subgroup that go together, and the words for them.
struct Bundle {
    QLatin1String fileName;
    QLatin1String subgroup;
    std::span<const BundleSetting> settings;
    const char* noneFound;
    const char* applied;
    QLatin1String appliedLog;
    const char* restored;
    QLatin1String restoredLog;
    const char* alreadyDefault;
};

constexpr std::array cpuSettings{
    BundleSetting{QLatin1String("893dee8e-2bef-41e0-89c6-b55d0929964c"), 100}, // minimum processor state, percent
    BundleSetting{QLatin1String("bc5038f7-23e0-4960-96da-33abaf5935ec"), 100}, // maximum processor state, percent
    BundleSetting{QLatin1String("0cc5b647-c1df-4637-891a-dec35c318583"), 100}, // cores that are never parked, percent
    BundleSetting{QLatin1String("5d76a2ca-e8c0-402f-a133-2158492d58ad"), 1},   // processor idle disabled
    BundleSetting{QLatin1String("36687f9e-e3a5-4dbf-b1dc-15eb381c6863"), 0},   // energy performance preference
};

constexpr std::array diskSettings{
    BundleSetting{QLatin1String("6738e2c4-e8a5-4a42-b16a-e040e769756e"), 0}, // turn off hard disk after
    BundleSetting{QLatin1String("0b2d69d7-a2a1-449c-9680-f91c70521c60"), 0}, // AHCI link power, HIPM and DIPM
    BundleSetting{QLatin1String("dab60367-53fe-4fbc-825e-521d069d2456"), 0}, // AHCI link power, adaptive
};

constexpr Bundle cpuBundle{
    .fileName = QLatin1String("cpu_perf.json"),
    .subgroup = QLatin1String("54533251-82be-4824-96c1-47b60b740d00"),
    .settings = cpuSettings,
    .noneFound = QT_TRANSLATE_NOOP("PowerPlanManager", "No adjustable processor power settings were found."),
    .applied =
        QT_TRANSLATE_NOOP("PowerPlanManager", "Max CPU performance applied (100% state, no parking, C-states off)."),
    .appliedLog = QLatin1String("Applied max CPU performance"),
    .restored = QT_TRANSLATE_NOOP("PowerPlanManager", "CPU power settings restored to their previous values."),
    .restoredLog = QLatin1String("Restored CPU default power settings"),
    .alreadyDefault = QT_TRANSLATE_NOOP("PowerPlanManager", "CPU is already on default settings."),
};

constexpr Bundle diskBundle{
    .fileName = QLatin1String("disk_perf.json"),
    .subgroup = QLatin1String("0012ee47-9041-4b5d-9b77-535fba8b1442"),
    .settings = diskSettings,
    .noneFound = QT_TRANSLATE_NOOP("PowerPlanManager", "No adjustable disk power settings were found."),
    .applied =
        QT_TRANSLATE_NOOP("PowerPlanManager", "Max disk performance applied (no HDD spindown, AHCI link power off)."),
    .appliedLog = QLatin1String("Applied max disk performance"),
    .restored = QT_TRANSLATE_NOOP("PowerPlanManager", "Disk power settings restored to their previous values."),
    .restoredLog = QLatin1String("Restored disk default power settings"),
    .alreadyDefault = QT_TRANSLATE_NOOP("PowerPlanManager", "Disk is already on default settings."),
};

platform::ChildProcessResult powercfg(const QStringList& arguments)
{
    return platform::runChildProcess({platform::systemToolPath(QStringLiteral("powercfg.exe")), arguments, {}},
                                     {.finishTimeoutMs = limitMs}, platform::ErrorOutput::Separate);
}

bool succeeded(const platform::ChildProcessResult& run)
{
    return run.outcome == platform::ChildProcessResult::Outcome::Finished && run.exitCode == 0;
}

SnapshotFile fileOf(const Bundle& bundle)
{
    return {bundle.fileName, category};
}

void setIndices(const QString& subgroup, const QString& setting, int ac, int dc)
{
    powercfg({QStringLiteral("/setacvalueindex"), currentScheme, subgroup, setting, QString::number(ac)});
    powercfg({QStringLiteral("/setdcvalueindex"), currentScheme, subgroup, setting, QString::number(dc)});
}

/// What changed in the active plan takes effect when the plan is made active again.
void setActive(const QString& scheme)
{
    powercfg({QStringLiteral("/setactive"), scheme});
}

PowerPlanResult applyBundle(const Bundle& bundle)
{
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    const QString scheme = activeScheme();
    if (scheme.isEmpty())
        return {false, translate("PowerPlanManager", "Could not read the active power plan.")};
    QJsonArray settings;
    for (const BundleSetting& setting : bundle.settings) {
        const PowerSettingValue value = querySetting(bundle.subgroup, setting.guid);
        if (value.ac < 0)
            continue;
        settings.append(QJsonObject{{QStringLiteral("guid"), setting.guid},
                                    {QStringLiteral("ac"), value.ac},
                                    {QStringLiteral("dc"), value.dc}});
        setIndices(bundle.subgroup, setting.guid, setting.value, setting.value);
    }
    if (settings.isEmpty())
        return {false, translate("PowerPlanManager", bundle.noneFound)};
    fileOf(bundle).write({{QStringLiteral("scheme"), scheme}, {QStringLiteral("settings"), settings}});
    setActive(scheme);
    logMessage(LogLevel::Info, category, bundle.appliedLog);
    return {true, translate("PowerPlanManager", bundle.applied)};
}

PowerPlanResult restoreBundle(const Bundle& bundle)
{
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    const SnapshotFile file = fileOf(bundle);
    const std::optional<QJsonObject> document = file.read();
    if (!document)
        return {true, translate("PowerPlanManager", bundle.alreadyDefault)};
    const QString scheme = document->value(QStringLiteral("scheme")).toString();
    const QJsonArray settings = document->value(QStringLiteral("settings")).toArray();
    for (const QJsonValue& element : settings) {
        const QJsonObject setting = element.toObject();
        setIndices(bundle.subgroup, setting.value(QStringLiteral("guid")).toString(),
                   setting.value(QStringLiteral("ac")).toInt(), setting.value(QStringLiteral("dc")).toInt());
    }
    if (!scheme.isEmpty())
        setActive(scheme);
    file.remove();
    logMessage(LogLevel::Info, category, bundle.restoredLog);
    return {true, translate("PowerPlanManager", bundle.restored)};
}

} // namespace

QString runPowercfg(const QStringList& arguments, bool* ok)
{
    const platform::ChildProcessResult run = powercfg(arguments);
    if (ok)
        *ok = succeeded(run);
    return platform::decodeConsoleText(run.output) + platform::decodeConsoleText(run.errorOutput);
}

QString activeScheme()
{
    bool ok = false;
    const QString output = runPowercfg({QStringLiteral("/getactivescheme")}, &ok);
    return ok ? PowercfgOutput::firstGuid(output) : QString();
}

QList<PowerPlan> listPlans()
{
    bool ok = false;
    const QString output = runPowercfg({QStringLiteral("/list")}, &ok);
    return ok ? PowercfgOutput::plans(output) : QList<PowerPlan>();
}

PowerSettingValue querySetting(const QString& subgroup, const QString& setting)
{
    const platform::ChildProcessResult run = powercfg({QStringLiteral("/query"), currentScheme, subgroup, setting});
    if (run.outcome == platform::ChildProcessResult::Outcome::TimedOut)
        return {};
    return PowercfgOutput::settingValue(platform::decodeConsoleText(run.output));
}

PowerPlanResult activatePlan(const QString& guid)
{
    if (guid.isEmpty())
        return {false, translate("PowerPlanManager", "No power plan selected.")};
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    bool ok = false;
    const QString output = runPowercfg({QStringLiteral("/setactive"), guid}, &ok);
    if (!ok)
        return {false, QStringLiteral("powercfg failed: %1").arg(output.trimmed())};
    logMessage(LogLevel::Info, category, QStringLiteral("Activated power plan ") + guid);
    return {true, translate("PowerPlanManager", "Power plan activated.")};
}

PowerPlanResult applyBestPlan()
{
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    const QList<PowerPlan> plans = listPlans();
    const auto isListed = [&plans](const QString& guid) {
        return std::ranges::find(plans, guid, &PowerPlan::guid) != plans.end();
    };
    QString choice;
    bool isUltimate = false;
    if (isListed(ultimatePerformance)) {
        choice = ultimatePerformance;
        isUltimate = true;
    } else if (!isListed(highPerformance)) {
        bool ok = false;
        const QString output = runPowercfg({QStringLiteral("-duplicatescheme"), ultimatePerformance}, &ok);
        if (ok)
            choice = PowercfgOutput::firstGuid(output);
        isUltimate = !choice.isEmpty();
    }
    if (choice.isEmpty())
        choice = highPerformance;
    const PowerPlanResult activated = activatePlan(choice);
    if (!activated.ok)
        return activated;
    return {true,
            isUltimate ? translate("PowerPlanManager", "Applied Ultimate Performance power plan.")
                       : translate("PowerPlanManager", "Applied High Performance power plan.")};
}

PowerPlanResult applyMaxCpu()
{
    return applyBundle(cpuBundle);
}

PowerPlanResult restoreCpu()
{
    return restoreBundle(cpuBundle);
}

bool isMaxCpuApplied()
{
    return fileOf(cpuBundle).exists();
}

PowerPlanResult applyMaxDisk()
{
    return applyBundle(diskBundle);
}

PowerPlanResult restoreDisk()
{
    return restoreBundle(diskBundle);
}

bool isMaxDiskApplied()
{
    return fileOf(diskBundle).exists();
}

} // namespace torvelane::PowerPlanManager
