#include "optimizers/NetworkOptimizer.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

#include <span>

namespace torvelane {

namespace {

const QString category = QStringLiteral("net");

/// Every setting is switched off by the same text.
const QString off = QStringLiteral("0");

// Standardised keywords of network drivers, and those of common vendors:
// https://learn.microsoft.com/windows-hardware/drivers/network/standardized-inf-keywords-for-network-devices
constexpr QLatin1String wifiSettings[] = {
    QLatin1String("*WakeOnMagicPacket"), QLatin1String("*WakeOnPattern"), QLatin1String("*PMARPOffload"),
    QLatin1String("*PMNSOffload"),       QLatin1String("PowerSaveMode"),  QLatin1String("uAPSDSupport"),
};
constexpr QLatin1String wiredSettings[] = {
    QLatin1String("*EEE"),
    QLatin1String("EnableGreenEthernet"),
    QLatin1String("*InterruptModeration"),
    QLatin1String("*FlowControl"),
    QLatin1String("*LsoV2IPv4"),
    QLatin1String("*LsoV2IPv6"),
    QLatin1String("*WakeOnMagicPacket"),
    QLatin1String("*WakeOnPattern"),
    QLatin1String("*PMARPOffload"),
    QLatin1String("*PMNSOffload"),
};

std::span<const QLatin1String> settingsFor(AdapterKind kind)
{
    if (kind == AdapterKind::WiFi)
        return wifiSettings;
    return wiredSettings;
}

} // namespace

NetworkOptimizer::NetworkOptimizer() : m_snapshots(snapshotName, category) { }

QList<ValueHolder> NetworkOptimizer::heldIn(const QJsonObject& document)
{
    return AdapterSnapshots::heldIn(snapshotName, document, RegistryValue{true, RegistryValueKind::Sz, 0, off, {}});
}

NicOptResult NetworkOptimizer::apply(const NetAdapter& adapter)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    m_snapshots.refresh();
    if (isOptimized(adapter.guid))
        return {true, translate("NetworkOptimizer", "Already optimized.")};

    std::optional<LedgerSession> session(std::in_place, ValueLedger::current(), m_snapshots.holder(adapter.guid));
    QStringList names;
    QJsonArray captured;
    for (const QLatin1String setting : settingsFor(adapter.kind)) {
        RegistryValue value;
        if (!session->readOriginal({RegistryHive::LocalMachine, adapter.regSubKey, setting}, value, nullptr)
            || !value.exists) {
            continue;
        }
        names.append(setting);
        captured.append(capturedValueToJson(setting, value));
    }
    if (names.isEmpty())
        return {false, translate("NetworkOptimizer", "This adapter exposes none of the optimizable settings.")};
    session->drawOrder();
    m_snapshots.insert(adapter, captured);

    int written = 0;
    for (const QString& name : std::as_const(names)) {
        if (writeString(RegistryHive::LocalMachine, adapter.regSubKey, name, off, false))
            ++written;
    }
    session.reset();
    logMessage(LogLevel::Info, category,
               QStringLiteral("Optimized %1: %2 setting(s)").arg(displayName(adapter), QString::number(written)));

    QString error;
    if (restartAdapter(adapter, &error))
        return {true, translate("NetworkOptimizer", "Applied %1 optimization(s).").arg(written)};
    return {true, translate("NetworkOptimizer", "Applied. %1 — a reboot will finalize the changes.").arg(error)};
}

NicOptResult NetworkOptimizer::applyAll(const QList<NetAdapter>& adapters)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    m_snapshots.refresh();
    int optimized = 0;
    for (const NetAdapter& adapter : adapters) {
        if (!adapter.netEnabled)
            continue;
        if (!isOptimized(adapter.guid))
            std::ignore = apply(adapter);
        if (isOptimized(adapter.guid))
            ++optimized;
    }
    if (optimized == 0)
        return {false, translate("NetworkOptimizer", "No eligible network adapter to optimize.")};
    return {true, translate("NetworkOptimizer", "Optimized %1 adapter(s).").arg(optimized)};
}

NicOptResult NetworkOptimizer::restore(const QString& guid, const AdapterSnapshot& snapshot)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    m_snapshots.refresh();
    const int restored = m_snapshots.restore(guid, snapshot);
    logMessage(LogLevel::Info, category,
               QStringLiteral("Restored %1: %2 setting(s)").arg(snapshot.name, QString::number(restored)));

    NetAdapter adapter;
    adapter.pnpDeviceId = snapshot.pnpDeviceId;
    QString error;
    if (restartAdapter(adapter, &error))
        return {true, translate("NetworkOptimizer", "Restored %1 setting(s).").arg(restored)};
    return {true, translate("NetworkOptimizer", "Restored. %1 — a reboot will finalize the changes.").arg(error)};
}

NicOptResult NetworkOptimizer::restoreAll()
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal()};
    m_snapshots.refresh();
    const AdapterSnapshots::Entries entries = m_snapshots.entries();
    if (entries.isEmpty())
        return {true, translate("NetworkOptimizer", "Nothing to restore.")};
    for (auto entry = entries.begin(); entry != entries.end(); ++entry)
        std::ignore = restore(entry.key(), entry.value());
    return {true, translate("NetworkOptimizer", "Restored %1 adapter(s).").arg(entries.size())};
}

} // namespace torvelane
