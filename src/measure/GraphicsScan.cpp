#include "measure/GraphicsScan.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "measure/HardwareText.h"
#include "platform/GraphicsAdapters.h"
#include "platform/Registry.h"

#include <QRegularExpression>
#include <QtEndian>

#include <algorithm>
#include <array>

namespace torvelane {

namespace {

using namespace HardwareText;
using platform::GraphicsAdapter;
using platform::KeyAccess;
using platform::RegistryKey;
using platform::RootKey;
using platform::Win32Error;

const QString category = QStringLiteral("scan/gpu");

constexpr quint32 vendorAmd = 0x1002;
constexpr quint32 vendorAmdProcessors = 0x1022;
constexpr quint32 vendorNvidia = 0x10DE;
constexpr quint32 vendorMicrosoft = 0x1414;
constexpr quint32 vendorIntel = 0x8086;

struct ModelName {
    quint32 deviceId;
    const char* name;
};

// For machines on which neither the driver nor DXGI gives a name with a number. Ids: https://pci-ids.ucw.cz
constexpr std::array nvidiaModels{
    ModelName{0x2684, "GeForce RTX 4090"},       ModelName{0x2704, "GeForce RTX 4080"},
    ModelName{0x2705, "GeForce RTX 4080 SUPER"}, ModelName{0x2782, "GeForce RTX 4070 Ti"},
    ModelName{0x2783, "GeForce RTX 4070 SUPER"}, ModelName{0x2786, "GeForce RTX 4070"},
    ModelName{0x2803, "GeForce RTX 4060 Ti"},    ModelName{0x2805, "GeForce RTX 4060 Ti"},
    ModelName{0x2882, "GeForce RTX 4060"},       ModelName{0x2203, "GeForce RTX 3090 Ti"},
    ModelName{0x2204, "GeForce RTX 3090"},       ModelName{0x2208, "GeForce RTX 3080 Ti"},
    ModelName{0x2206, "GeForce RTX 3080"},       ModelName{0x2216, "GeForce RTX 3080"},
    ModelName{0x2482, "GeForce RTX 3070 Ti"},    ModelName{0x2484, "GeForce RTX 3070"},
};
constexpr std::array amdModels{
    ModelName{0x744C, "Radeon RX 7900 XTX / XT"},
    ModelName{0x73BF, "Radeon RX 6800 XT / 6900 XT"},
};

/// What the driver of a display adapter has left in the registry.
struct GpuRegistryInfo {
    QString driverDesc;
    quint64 memorySize = 0; ///< Bytes.
    bool found = false;
};

QString vendorName(quint32 id)
{
    switch (id) {
    case vendorAmd:
    case vendorAmdProcessors:
        return QStringLiteral("AMD");
    case vendorNvidia:
        return QStringLiteral("NVIDIA");
    case vendorMicrosoft:
        return QStringLiteral("Microsoft");
    case vendorIntel:
        return QStringLiteral("Intel");
    default:
        return {};
    }
}

/// The vendor's model with this device id, after the vendor's name; empty if the table hasn't got it.
QString tableName(quint32 vendorId, quint32 deviceId)
{
    std::span<const ModelName> models;
    if (vendorId == vendorNvidia)
        models = nvidiaModels;
    else if (vendorId == vendorAmd || vendorId == vendorAmdProcessors)
        models = amdModels;
    const auto row = std::ranges::find(models, deviceId, &ModelName::deviceId);
    if (row == models.end())
        return {};
    return vendorName(vendorId) + QLatin1Char(' ') + QLatin1String(row->name);
}

/// A name without a digit is one of a generic adapter, not of a model.
bool hasDigit(const QString& name)
{
    return std::ranges::any_of(name, [](QChar c) { return c.isDigit(); });
}

/// The four hexadecimal digits behind `tag` in an upper-cased text.
std::optional<quint32> idBehind(const QString& text, QLatin1String tag)
{
    const qsizetype at = text.indexOf(tag);
    if (at < 0)
        return std::nullopt;
    bool ok = false;
    const quint32 id = QStringView(text).mid(at + tag.size(), 4).toUInt(&ok, 16);
    return ok ? std::optional(id) : std::nullopt;
}

struct DeviceIds {
    quint32 vendor = 0;
    quint32 device = 0;
};

std::optional<DeviceIds> parseVenDev(const QString& text)
{
    const QString upper = text.toUpper();
    const auto vendor = idBehind(upper, QLatin1String("VEN_"));
    const auto device = idBehind(upper, QLatin1String("DEV_"));
    if (!vendor || !device)
        return std::nullopt;
    return DeviceIds{*vendor, *device};
}

/// A value's bytes as text up to the first NUL, trimmed; empty if it can't be read or is longer than `maximumBytes`.
QString readText(const RegistryKey& key, const QString& name, std::size_t maximumBytes)
{
    std::array<char16_t, 512> units{};
    quint32 type = 0;
    quint32 sizeBytes = 0;
    const auto buffer = std::as_writable_bytes(std::span(units)).first(maximumBytes);
    if (key.query(name, buffer, type, sizeBytes) != Win32Error::Success)
        return {};
    const QStringView text(units.data(), static_cast<qsizetype>(sizeBytes / sizeof(char16_t)));
    const qsizetype end = text.indexOf(QChar::Null);
    return (end < 0 ? text : text.first(end)).trimmed().toString();
}

quint64 readMemorySize(const RegistryKey& key)
{
    std::array<std::byte, sizeof(quint64)> bytes{};
    quint32 type = 0;
    quint32 sizeBytes = 0;
    if (key.query(QStringLiteral("HardwareInformation.qwMemorySize"), bytes, type, sizeBytes) != Win32Error::Success)
        return 0;
    return qFromLittleEndian<quint64>(bytes.data());
}

/// The first driver of the display class that was installed for this device.
GpuRegistryInfo lookupGpuRegistry(const DeviceIds& ids)
{
    if (ids.vendor == 0 || ids.device == 0)
        return {};
    const QString classKey =
        QStringLiteral("SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e968-e325-11ce-bfc1-08002be10318}");
    RegistryKey root;
    QStringList names;
    if (RegistryKey::open(RootKey::LocalMachine, classKey, KeyAccess::Read, root) != Win32Error::Success
        || root.subkeyNames(names) != Win32Error::Success) {
        return {};
    }
    for (const QString& name : std::as_const(names)) {
        RegistryKey key;
        const QString path = classKey + QLatin1Char('\\') + name;
        if (RegistryKey::open(RootKey::LocalMachine, path, KeyAccess::Read, key) != Win32Error::Success)
            continue;
        const auto found = parseVenDev(readText(key, QStringLiteral("MatchingDeviceId"), 1024));
        if (found && found->vendor == ids.vendor && found->device == ids.device)
            return {readText(key, QStringLiteral("DriverDesc"), 512), readMemorySize(key), true};
    }
    return {};
}

/// The controller with these ids, or else the first of the vendor, or else an empty row.
WmiRow findWmiController(const QList<WmiRow>& rows, const DeviceIds& ids)
{
    WmiRow ofVendor;
    for (const WmiRow& row : rows) {
        const QString id = textOf(row, QStringLiteral("PNPDeviceID")).toUpper();
        if (idBehind(id, QLatin1String("VEN_")) != ids.vendor)
            continue;
        if (idBehind(id, QLatin1String("DEV_")) == ids.device)
            return row;
        if (ofVendor.isEmpty())
            ofVendor = row;
    }
    return ofVendor;
}

QString controllerName(const WmiRow& row)
{
    return textOf(row, QStringLiteral("Name"));
}

QList<GraphicsAdapter> enumDxgiAdapters()
{
    QList<GraphicsAdapter> adapters;
    const platform::HResult result = platform::listGraphicsAdapters(adapters);
    if (platform::failed(result)) {
        logMessage(LogLevel::Warn, category,
                   QStringLiteral("CreateDXGIFactory1 failed (0x%1) — using WMI fallback")
                       .arg(static_cast<quint32>(result), 0, 16));
    }
    for (GraphicsAdapter& adapter : adapters) {
        adapter.description = adapter.description.trimmed();
        logMessage(
            LogLevel::Info, category,
            QStringLiteral("DXGI adapter: '%1'  VEN=0x%2 DEV=0x%3  dedVRAM=%4 MB  sw=%5")
                .arg(adapter.description)
                .arg(adapter.vendorId, 4, 16, QLatin1Char('0'))
                .arg(adapter.deviceId, 4, 16, QLatin1Char('0'))
                .arg(adapter.dedicatedVideoMemory >> 20)
                .arg(adapter.flags & platform::graphicsAdapterSoftware ? QStringLiteral("yes") : QStringLiteral("no")));
    }
    return adapters;
}

bool isUsable(const GraphicsAdapter& adapter)
{
    const bool isBasic = adapter.vendorId == vendorMicrosoft && adapter.dedicatedVideoMemory == 0;
    return (adapter.flags & platform::graphicsAdapterSoftware) == 0 && !isBasic;
}

QString modelOf(const GraphicsAdapter& adapter, const GpuRegistryInfo& driver, const WmiRow& row)
{
    if (driver.found && hasDigit(driver.driverDesc))
        return driver.driverDesc;
    if (hasDigit(adapter.description))
        return adapter.description;
    if (const QString name = tableName(adapter.vendorId, adapter.deviceId); !name.isEmpty())
        return name;
    if (!adapter.description.isEmpty())
        return adapter.description;
    return driver.driverDesc.isEmpty() ? controllerName(row) : driver.driverDesc;
}

QString memoryOf(const GraphicsAdapter& adapter, const GpuRegistryInfo& driver)
{
    const quint64 own = adapter.dedicatedVideoMemory != 0 ? adapter.dedicatedVideoMemory : driver.memorySize;
    if (own == 0 && adapter.sharedSystemMemory != 0)
        return translate("HardwareScanner", "%1 (shared)").arg(formatBytes(adapter.sharedSystemMemory));
    return formatBytes(own);
}

void appendControllerRows(const WmiRow& row, HardwareGroup& group)
{
    const quint64 width = numberOf(row, QStringLiteral("CurrentHorizontalResolution"));
    const quint64 height = numberOf(row, QStringLiteral("CurrentVerticalResolution"));
    if (width != 0 && height != 0) {
        const quint64 rate = numberOf(row, QStringLiteral("CurrentRefreshRate"));
        group.append({translate("HardwareScanner", "Resolution"),
                      QStringLiteral("%1 × %2%3")
                          .arg(QString::number(width), QString::number(height),
                               rate != 0 ? QStringLiteral(" @ %1 Hz").arg(rate) : QString())});
    }
    if (const QString version = textOf(row, QStringLiteral("DriverVersion")); !version.isEmpty())
        group.append({translate("HardwareScanner", "Driver version"), version});
    if (const QString date = dateOf(row, QStringLiteral("DriverDate")); !date.isEmpty())
        group.append({translate("HardwareScanner", "Driver date"), date});
}

HardwareGroup groupOf(const GraphicsAdapter& adapter, const QList<WmiRow>& rows)
{
    const DeviceIds ids{adapter.vendorId, adapter.deviceId};
    const GpuRegistryInfo driver = lookupGpuRegistry(ids);
    const WmiRow row = findWmiController(rows, ids);
    const QString model = cleanGpuModel(modelOf(adapter, driver, row));
    logMessage(LogLevel::Info, category,
               QStringLiteral("resolved model: '%1'  (registry DriverDesc='%2')").arg(model, driver.driverDesc));
    QString vendor = vendorName(adapter.vendorId);
    if (vendor.isEmpty())
        vendor = textOf(row, QStringLiteral("AdapterCompatibility"));
    HardwareGroup group{{translate("HardwareScanner", "Model"), orDash(model)},
                        {translate("HardwareScanner", "Vendor"), orDash(vendor)},
                        {translate("HardwareScanner", "Memory"), memoryOf(adapter, driver)}};
    appendControllerRows(row, group);
    return group;
}

/// The controller by WMI alone; empty if it has no name.
HardwareGroup fallbackGroup(const WmiRow& row)
{
    const DeviceIds ids = parseVenDev(textOf(row, QStringLiteral("PNPDeviceID"))).value_or(DeviceIds());
    const GpuRegistryInfo driver = lookupGpuRegistry(ids);
    const QString model =
        cleanGpuModel(driver.found && hasDigit(driver.driverDesc) ? driver.driverDesc : controllerName(row));
    if (model.isEmpty())
        return {};
    const quint64 memory = driver.memorySize != 0 ? driver.memorySize : numberOf(row, QStringLiteral("AdapterRAM"));
    HardwareGroup group{
        {translate("HardwareScanner", "Model"), model},
        {translate("HardwareScanner", "Vendor"), orDash(textOf(row, QStringLiteral("AdapterCompatibility")))},
        {translate("HardwareScanner", "Memory"), formatBytes(memory)}};
    appendControllerRows(row, group);
    return group;
}

} // namespace

QString cleanGpuModel(const QString& name)
{
    static const QRegularExpression tail(
        QStringLiteral("-(?=[A-Za-z0-9]{8,}$)(?=[^ ]*\\d)(?=[^ ]*[A-Za-z])[A-Za-z0-9]+$"));
    return QString(name).remove(tail).trimmed();
}

HardwareSection scanGraphics(WmiSession& session)
{
    const QList<WmiRow> rows =
        session.query(QStringLiteral("SELECT Name,AdapterCompatibility,AdapterRAM,DriverVersion,DriverDate,PNPDeviceID,"
                                     "CurrentHorizontalResolution,CurrentVerticalResolution,CurrentRefreshRate "
                                     "FROM Win32_VideoController"),
                      nullptr);
    for (const WmiRow& row : rows) {
        logMessage(LogLevel::Info, category,
                   QStringLiteral("WMI controller: Name='%1'  PNP='%2'")
                       .arg(controllerName(row), textOf(row, QStringLiteral("PNPDeviceID"))));
    }
    HardwareSection section{QStringLiteral("Graphics"), {}, {}};
    const QList<GraphicsAdapter> adapters = enumDxgiAdapters();
    for (const GraphicsAdapter& adapter : adapters) {
        if (isUsable(adapter))
            section.groups.append(groupOf(adapter, rows));
    }
    const bool isByDxgi = !section.groups.isEmpty();
    logMessage(LogLevel::Info, category,
               isByDxgi ? QStringLiteral("Graphics: using DXGI data")
                        : QStringLiteral("Graphics: DXGI empty -> WMI fallback"));
    if (!isByDxgi) {
        for (const WmiRow& row : rows) {
            if (const HardwareGroup group = fallbackGroup(row); !group.isEmpty())
                section.groups.append(group);
        }
    }
    if (section.groups.isEmpty())
        section.notes.append(translate("HardwareScanner", "No display adapter detected."));
    return section;
}

} // namespace torvelane
