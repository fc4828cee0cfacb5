#include "optimizers/GamingMode.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/HeldValues.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/PowerPlanManager.h"
#include "optimizers/SnapshotFile.h"
#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

#include <QHash>
#include <QJsonArray>

#include <array>
#include <optional>

namespace torvelane::GamingMode {

namespace {

const QString category = QStringLiteral("gaming");

const QString keyActive = QStringLiteral("active");
const QString keyPowerPlan = QStringLiteral("powerPlanPrev");
const QString keyEntries = QStringLiteral("entries");
const QString keyHive = QStringLiteral("hive");
const QString keyKey = QStringLiteral("key");
const QString keyName = QStringLiteral("name");
const QString keySnap = QStringLiteral("snap");

struct Setting {
    RegistryHive hive;
    QLatin1String key;
    QLatin1String name;
    RegistryValueKind kind; ///< Dword or Sz.
    quint32 number;
    QLatin1String text;
};

constexpr Setting number(RegistryHive hive, QLatin1String key, QLatin1String name, quint32 number)
{
    return {hive, key, name, RegistryValueKind::Dword, number, {}};
}

constexpr Setting text(RegistryHive hive, QLatin1String key, QLatin1String name, QLatin1String text)
{
    return {hive, key, name, RegistryValueKind::Sz, 0, text};
}

constexpr auto machine = RegistryHive::LocalMachine;
constexpr auto user = RegistryHive::CurrentUser;
constexpr QLatin1String systemProfile("SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Multimedia\\SystemProfile");
constexpr QLatin1String games(
    "SOFTWARE\\Microsoft\\Windows NT\\CurrentVersion\\Multimedia\\SystemProfile\\Tasks\\Games");
constexpr QLatin1String priorityControl("SYSTEM\\CurrentControlSet\\Control\\PriorityControl");
constexpr QLatin1String graphicsDrivers("SYSTEM\\CurrentControlSet\\Control\\GraphicsDrivers");
constexpr QLatin1String gameBar("SOFTWARE\\Microsoft\\GameBar");
constexpr QLatin1String gameConfig("System\\GameConfigStore");
constexpr QLatin1String gameDvrPolicy("SOFTWARE\\Policies\\Microsoft\\Windows\\GameDVR");
constexpr QLatin1String mouse("Control Panel\\Mouse");
constexpr QLatin1String psched("SOFTWARE\\Policies\\Microsoft\\Windows\\Psched");
constexpr QLatin1String tcpip("SYSTEM\\CurrentControlSet\\Services\\Tcpip\\Parameters");

constexpr std::array settings{
    number(machine, systemProfile, QLatin1String("SystemResponsiveness"), 0),
    number(machine, systemProfile, QLatin1String("NetworkThrottlingIndex"), 0xFFFFFFFF),
    number(machine, games, QLatin1String("GPU Priority"), 8),
    number(machine, games, QLatin1String("Priority"), 6),
    text(machine, games, QLatin1String("Scheduling Category"), QLatin1String("High")),
    text(machine, games, QLatin1String("SFIO Priority"), QLatin1String("High")),
    number(machine, priorityControl, QLatin1String("Win32PrioritySeparation"), 0x26),
    number(machine, graphicsDrivers, QLatin1String("HwSchMode"), 2),
    number(user, gameBar, QLatin1String("AllowAutoGameMode"), 1),
    number(user, gameBar, QLatin1String("AutoGameModeEnabled"), 1),
    number(user, gameConfig, QLatin1String("GameDVR_Enabled"), 0),
    number(user, gameConfig, QLatin1String("GameDVR_FSEBehaviorMode"), 2),
    number(user, gameConfig, QLatin1String("GameDVR_HonorUserFSEBehaviorMode"), 1),
    number(user, gameConfig, QLatin1String("GameDVR_DXGIHonorFSEWindowsCompatible"), 1),
    number(machine, gameDvrPolicy, QLatin1String("AllowGameDVR"), 0),
    text(user, mouse, QLatin1String("MouseSpeed"), QLatin1String("0")),
    text(user, mouse, QLatin1String("MouseThreshold1"), QLatin1String("0")),
    text(user, mouse, QLatin1String("MouseThreshold2"), QLatin1String("0")),
    number(machine, psched, QLatin1String("NonBestEffortLimit"), 0),
    number(machine, tcpip, QLatin1String("TcpTimedWaitDelay"), 30),
};

ValuePlace placeOf(const Setting& setting)
{
    return {setting.hive, setting.key, setting.name};
}

RegistryValue wishOf(const Setting& setting)
{
    return {true, setting.kind, setting.number, setting.text, {}};
}

SnapshotFile stateFile()
{
    return {snapshotName, category};
}

bool isActiveIn(const QJsonObject& document)
{
    return document.value(keyActive).toBool();
}

/// The place of a value that can't be captured, since only an unreadable snapshot knows its original.
std::optional<ValuePlace> lostOriginal(const LedgerSession& session)
{
    for (const Setting& setting : settings) {
        if (session.isOriginalLost(placeOf(setting)))
            return placeOf(setting);
    }
    return std::nullopt;
}

QJsonArray captureAll(const LedgerSession& session)
{
    QJsonArray entries;
    for (const Setting& setting : settings) {
        // A value that can't be read is recorded as absent.
        RegistryValue value;
        std::ignore = session.readOriginal(placeOf(setting), value, nullptr);
        entries.append(QJsonObject{{keyHive, hiveName(setting.hive)},
                                   {keyKey, setting.key},
                                   {keyName, setting.name},
                                   {keySnap, numberedValueToJson(value)}});
    }
    return entries;
}

bool write(const Setting& setting)
{
    return setting.kind == RegistryValueKind::Dword
        ? writeDword(setting.hive, setting.key, setting.name, setting.number)
        : writeString(setting.hive, setting.key, setting.name, setting.text, false);
}

} // namespace

bool isActive()
{
    return isActiveIn(stateFile().read().value_or(QJsonObject()));
}

QList<ValueHolder> heldIn(const QJsonObject& document)
{
    ValueHolder holder{snapshotName, {}, {}};
    QHash<QString, RegistryValue> wishes;
    for (const Setting& setting : settings)
        wishes.insert(placeOf(setting).key(), wishOf(setting));
    const QJsonArray entries = isActiveIn(document) ? document.value(keyEntries).toArray() : QJsonArray();
    for (const QJsonValue& element : entries) {
        const QJsonObject entry = element.toObject();
        bool hiveKnown = false;
        HeldValue held{{parseHive(entry.value(keyHive).toString(), &hiveKnown), entry.value(keyKey).toString(),
                        entry.value(keyName).toString()},
                       numberedValueFromJson(entry.value(keySnap).toObject()),
                       std::nullopt};
        if (const auto wish = wishes.constFind(held.place.key()); wish != wishes.cend())
            held.wish = *wish;
        if (hiveKnown)
            holder.values.append(held);
    }
    return {holder};
}

GamingResult activate()
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    if (isActive())
        return {true, translate("GamingMode", "Gaming Mode is already active."), 0};
    std::optional<LedgerSession> session(std::in_place, ValueLedger::current(), snapshotName);
    if (const std::optional<ValuePlace> place = lostOriginal(*session))
        return {false, HeldValues::lostOriginal(*place), 0};
    const QJsonArray entries = captureAll(*session);
    const QString plan = PowerPlanManager::activeScheme();
    session->drawOrder();
    if (stateFile().write({{keyActive, true}, {keyPowerPlan, plan}, {keyEntries, entries}})
        == JsonFile::WriteError::CannotOpen)
        return {false, translate("GamingMode", "Could not save the Gaming Mode state file."), 0};

    int written = 0;
    int failed = 0;
    for (const Setting& setting : settings)
        ++(write(setting) ? written : failed);
    session.reset();
    const bool planApplied = PowerPlanManager::applyBestPlan().ok;
    const bool cpuApplied = PowerPlanManager::applyMaxCpu().ok;
    logMessage(LogLevel::Info, category,
               QStringLiteral("Gaming Mode ON: %1 written, %2 failed; plan=%3 cpu=%4")
                   .arg(written)
                   .arg(failed)
                   .arg(planApplied ? 1 : 0)
                   .arg(cpuApplied ? 1 : 0));
    QString message = translate("GamingMode", "Gaming Mode activated — %1 system settings tuned.").arg(written);
    if (failed > 0) {
        message += translate("GamingMode", " %1 setting(s) need administrator and were skipped.").arg(failed);
    }
    return {true, message, written};
}

GamingResult deactivate()
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    const SnapshotFile file = stateFile();
    const QJsonObject document = file.read().value_or(QJsonObject());
    if (!isActiveIn(document))
        return {true, translate("GamingMode", "Gaming Mode is not active."), 0};

    std::optional<LedgerSession> session(std::in_place, ValueLedger::current(), snapshotName);
    int restored = 0;
    const QJsonArray entries = document.value(keyEntries).toArray();
    for (const QJsonValue& element : entries) {
        const QJsonObject entry = element.toObject();
        bool hiveKnown = false;
        const RegistryHive hive = parseHive(entry.value(keyHive).toString(), &hiveKnown);
        const auto value = numberedValueFromJson(entry.value(keySnap).toObject());
        if (hiveKnown && value
            && session->putBack({hive, entry.value(keyKey).toString(), entry.value(keyName).toString()}, *value)) {
            ++restored;
        }
    }
    session->leave();
    session.reset();
    // Before the plan: restoring the processor's settings makes the performance plan active once more.
    std::ignore = PowerPlanManager::restoreCpu();
    if (const QString plan = document.value(keyPowerPlan).toString(); !plan.isEmpty())
        std::ignore = PowerPlanManager::activatePlan(plan);
    file.write({{keyActive, false}});
    logMessage(LogLevel::Info, category, QStringLiteral("Gaming Mode OFF: %1 setting(s) restored").arg(restored));
    return {true,
            translate("GamingMode", "Gaming Mode deactivated — %1 setting(s) restored to defaults.").arg(restored),
            restored};
}

} // namespace torvelane::GamingMode
