#include "optimizers/BufferbloatOptimizer.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "optimizers/OptimizerLock.h"
#include "optimizers/SnapshotValue.h"
#include "system/RegistryAccess.h"

#include <QHash>

namespace torvelane {

namespace {

const QString category = QStringLiteral("bufferbloat");

/// The smallest size that the driver declares for a setting, as it wrote it; empty if it declares none, or none as text.
/// https://learn.microsoft.com/windows-hardware/drivers/network/specifying-configuration-parameters-for-the-advanced-properties-page
QString declaredMinimum(const QString& adapterKey, const QString& setting)
{
    RegistryValue value;
    const QString parameterKey = adapterKey + QStringLiteral("\\Ndi\\params\\") + setting;
    if (!readValue(RegistryHive::LocalMachine, parameterKey, QStringLiteral("min"), value) || !value.exists)
        return {};
    return value.text.trimmed();
}

} // namespace

BufferbloatOptimizer::BufferbloatOptimizer() : m_snapshots(snapshotName, category) { }

QList<ValueHolder> BufferbloatOptimizer::heldIn(const QJsonObject& document)
{
    // What an adapter was told isn't stored, and is its driver's business.
    return AdapterSnapshots::heldIn(snapshotName, document, std::nullopt);
}

QStringList BufferbloatOptimizer::bufferSettingNames()
{
    return {QStringLiteral("*TransmitBuffers"), QStringLiteral("*ReceiveBuffers")};
}

BufferbloatResult BufferbloatOptimizer::apply(const NetAdapter& adapter)
{
    std::optional<LedgerSession> session(std::in_place, ValueLedger::current(), m_snapshots.holder(adapter.guid));
    QHash<QString, QString> minimums;
    QJsonArray captured;
    const QStringList settings = bufferSettingNames();
    for (const QString& setting : settings) {
        RegistryValue value;
        if (!session->readOriginal({RegistryHive::LocalMachine, adapter.regSubKey, setting}, value, nullptr)
            || !value.exists) {
            continue;
        }
        const QString minimum = declaredMinimum(adapter.regSubKey, setting);
        if (minimum.isEmpty())
            continue;
        minimums.insert(setting, minimum);
        captured.append(capturedValueToJson(setting, value));
    }
    if (minimums.isEmpty())
        return {false, translate("BufferbloatOptimizer", "no adjustable buffers"), 0};
    session->drawOrder();
    m_snapshots.insert(adapter, captured);

    int written = 0;
    for (auto minimum = minimums.begin(); minimum != minimums.end(); ++minimum) {
        if (writeString(RegistryHive::LocalMachine, adapter.regSubKey, minimum.key(), minimum.value(), false))
            ++written;
    }
    session.reset();
    logMessage(
        LogLevel::Info, category,
        QStringLiteral("Ultra-low on %1: %2 buffer setting(s)").arg(displayName(adapter), QString::number(written)));

    QString error;
    if (restartAdapter(adapter, &error))
        return {true, {}, 1};
    return {true, translate("BufferbloatOptimizer", "%1 — a reboot will finalize the changes.").arg(error), 1};
}

BufferbloatResult BufferbloatOptimizer::applyAll(const QList<NetAdapter>& adapters)
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    m_snapshots.refresh();
    BufferbloatResult all;
    QString note;
    for (const NetAdapter& adapter : adapters) {
        if (!adapter.netEnabled || m_snapshots.contains(adapter.guid))
            continue;
        const BufferbloatResult one = apply(adapter);
        if (one.ok && one.adapters >= 1)
            ++all.adapters;
        if (!one.message.isEmpty())
            note = one.message;
    }
    all.ok = all.adapters > 0;
    if (all.ok) {
        all.message =
            translate("BufferbloatOptimizer", "Ultra-low bufferbloat applied to %1 adapter(s).").arg(all.adapters);
    } else {
        all.message = translate("BufferbloatOptimizer", "No active adapter exposes adjustable buffer sizes")
            + (note.isEmpty() ? QStringLiteral(".") : QStringLiteral(" (%1).").arg(note));
    }
    return all;
}

BufferbloatResult BufferbloatOptimizer::restore(const QString& guid, const AdapterSnapshot& snapshot)
{
    const int restored = m_snapshots.restore(guid, snapshot);
    logMessage(LogLevel::Info, category,
               QStringLiteral("Restored %1: %2 buffer setting(s)").arg(snapshot.name, QString::number(restored)));

    NetAdapter adapter;
    adapter.pnpDeviceId = snapshot.pnpDeviceId;
    BufferbloatResult result{true, {}, 1};
    std::ignore = restartAdapter(adapter, &result.message);
    return result;
}

BufferbloatResult BufferbloatOptimizer::restoreAll()
{
    const ValueLedger::Batch batch(ValueLedger::current());
    const OptimizerLock lock(category);
    if (lock.isRefused())
        return {false, OptimizerLock::refusal(), 0};
    m_snapshots.refresh();
    BufferbloatResult all{true, {}, 0};
    const AdapterSnapshots::Entries entries = m_snapshots.entries();
    for (auto entry = entries.begin(); entry != entries.end(); ++entry) {
        if (restore(entry.key(), entry.value()).ok)
            ++all.adapters;
    }
    all.message = all.adapters > 0
        ? translate("BufferbloatOptimizer", "Normal mode restored on %1 adapter(s).").arg(all.adapters)
        : translate("BufferbloatOptimizer", "Already on normal mode.");
    return all;
}

} // namespace torvelane
