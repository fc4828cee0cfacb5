#include "optimizers/NetAdapters.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "platform/NetDevices.h"
#include "platform/Registry.h"
#include "system/WmiSession.h"

#include <QHash>

#include <array>

namespace torvelane {

namespace {

using platform::KeyAccess;
using platform::RegistryKey;
using platform::RootKey;
using platform::Win32Error;

const QString category = QStringLiteral("net");

/// The class key of network adapters: one subkey a driver instance.
/// https://learn.microsoft.com/windows-hardware/drivers/install/system-defined-device-setup-classes-available-to-vendors
const QString classKey =
    QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e972-e325-11ce-bfc1-08002be10318}");
constexpr qsizetype longestSubkeyName = 16; ///< Those of adapters are four digits.
constexpr std::size_t textBufferBytes = 1024;

// Interface types: https://www.iana.org/assignments/ianaiftype-mib
constexpr int ifTypeEthernet = 6;
constexpr int ifTypeWiFi = 71;

struct ClassEntry {
    QString regSubKey;
    int ifType = 0;
};

/// The value's bytes as text, whatever its type, up to the first NUL and trimmed; empty if it can't be read.
QString readAsText(const RegistryKey& key, const QString& name)
{
    std::array<char16_t, textBufferBytes / sizeof(char16_t)> units{};
    quint32 type = 0;
    quint32 sizeBytes = 0;
    if (key.query(name, std::as_writable_bytes(std::span(units)), type, sizeBytes) != Win32Error::Success)
        return {};
    const QStringView text(units.data(), std::min<qsizetype>(sizeBytes / 2, static_cast<qsizetype>(units.size())));
    const qsizetype end = text.indexOf(QChar::Null);
    return (end < 0 ? text : text.first(end)).trimmed().toString();
}

/// The driver settings of each adapter, by its upper-cased GUID.
QHash<QString, ClassEntry> readClassMap()
{
    QHash<QString, ClassEntry> map;
    RegistryKey root;
    QStringList names;
    if (RegistryKey::open(RootKey::LocalMachine, classKey, KeyAccess::Read, root) != Win32Error::Success
        || root.subkeyNames(names) != Win32Error::Success) {
        return map;
    }
    for (const QString& name : std::as_const(names)) {
        if (name.size() > longestSubkeyName)
            break;
        const QString subKey = classKey + QLatin1Char('\\') + name;
        RegistryKey key;
        if (RegistryKey::open(RootKey::LocalMachine, subKey, KeyAccess::Read, key) != Win32Error::Success)
            continue;
        const QString instanceId = readAsText(key, QStringLiteral("NetCfgInstanceId")).toUpper();
        if (!instanceId.isEmpty())
            map.insert(instanceId, {subKey, readAsText(key, QStringLiteral("*IfType")).toInt()});
    }
    return map;
}

AdapterKind kindOf(int ifType)
{
    switch (ifType) {
    case ifTypeEthernet:
        return AdapterKind::Ethernet;
    case ifTypeWiFi:
        return AdapterKind::WiFi;
    default:
        return AdapterKind::Other;
    }
}

QString textOf(const WmiRow& row, const QString& property)
{
    return row.value(property).toString().trimmed();
}

bool isTrue(const WmiRow& row, const QString& property)
{
    return row.value(property).toString().compare(QLatin1String("true"), Qt::CaseInsensitive) == 0;
}

} // namespace

QList<NetAdapter> listNetAdapters()
{
    WmiSession session;
    QString error;
    if (!session.connect(QStringLiteral("ROOT\\CIMV2"), &error)) {
        logMessage(LogLevel::Warn, category, QStringLiteral("WMI unavailable for adapter enumeration: %1").arg(error));
        return {};
    }
    const QHash<QString, ClassEntry> classMap = readClassMap();
    const QList<WmiRow> rows = session.query(
        QStringLiteral("SELECT GUID,Name,NetConnectionID,PNPDeviceID,NetEnabled,PhysicalAdapter,MACAddress "
                       "FROM Win32_NetworkAdapter"),
        nullptr);
    QList<NetAdapter> adapters;
    for (const WmiRow& row : rows) {
        const QString guid = textOf(row, QStringLiteral("GUID"));
        if (!isTrue(row, QStringLiteral("PhysicalAdapter")) || textOf(row, QStringLiteral("MACAddress")).isEmpty()
            || guid.isEmpty()) {
            continue;
        }
        const ClassEntry entry = classMap.value(guid.toUpper());
        if (entry.regSubKey.isEmpty())
            continue;
        adapters.append({.guid = guid,
                         .name = textOf(row, QStringLiteral("Name")),
                         .connectionName = textOf(row, QStringLiteral("NetConnectionID")),
                         .pnpDeviceId = textOf(row, QStringLiteral("PNPDeviceID")),
                         .regSubKey = entry.regSubKey,
                         .kind = kindOf(entry.ifType),
                         .netEnabled = isTrue(row, QStringLiteral("NetEnabled"))});
    }
    return adapters;
}

namespace {

/// Null if the device was told to restart, and otherwise why not.
const char* restartDevice(const QString& pnpDeviceId)
{
    if (pnpDeviceId.isEmpty())
        return QT_TRANSLATE_NOOP("NetAdapters", "Missing device instance id");
    platform::NetDeviceList devices;
    if (devices.open() != Win32Error::Success)
        return QT_TRANSLATE_NOOP("NetAdapters", "SetupDiGetClassDevs failed");
    for (quint32 index = 0; devices.select(index); ++index) {
        const std::optional<QString> id = devices.instanceId();
        if (!id || id->compare(pnpDeviceId, Qt::CaseInsensitive) != 0)
            continue;
        if (devices.restart() == Win32Error::Success)
            return nullptr;
        break;
    }
    return QT_TRANSLATE_NOOP("NetAdapters", "Could not restart adapter (changes apply after a reboot)");
}

} // namespace

bool restartAdapter(const NetAdapter& adapter, QString* error)
{
    const char* const failure = restartDevice(adapter.pnpDeviceId);
    if (!failure)
        return true;
    logMessage(LogLevel::Warn, category, QStringLiteral("restart failed: %1").arg(QLatin1String(failure)));
    if (error)
        *error = translate("NetAdapters", failure);
    return false;
}

} // namespace torvelane
