#include "measure/HardwareScanner.h"

#include "core/Log.h"
#include "core/Translate.h"
#include "measure/GraphicsScan.h"
#include "measure/HardwareText.h"
#include "measure/StorageScan.h"
#include "system/WmiSession.h"

namespace torvelane::HardwareScanner {

namespace {

using namespace HardwareText;

const QString category = QStringLiteral("scan");
constexpr double zeroCelsiusInKelvin = 273.15;

HardwareSection scanSystem(WmiSession& session)
{
    const QList<WmiRow> computers = session.query(
        QStringLiteral("SELECT Manufacturer,Model,Name,TotalPhysicalMemory FROM Win32_ComputerSystem"), nullptr);
    const QList<WmiRow> systems = session.query(
        QStringLiteral("SELECT Caption,Version,BuildNumber,OSArchitecture FROM Win32_OperatingSystem"), nullptr);
    HardwareGroup group;
    if (!computers.isEmpty()) {
        const WmiRow& row = computers.first();
        group += {{translate("HardwareScanner", "Device name"), orDash(textOf(row, QStringLiteral("Name")))},
                  {translate("HardwareScanner", "Manufacturer"), orDash(textOf(row, QStringLiteral("Manufacturer")))},
                  {translate("HardwareScanner", "Model"), orDash(textOf(row, QStringLiteral("Model")))},
                  {translate("HardwareScanner", "Installed RAM"),
                   formatBytes(numberOf(row, QStringLiteral("TotalPhysicalMemory")))}};
    }
    if (!systems.isEmpty()) {
        const WmiRow& row = systems.first();
        group +=
            {{translate("HardwareScanner", "Operating system"), orDash(textOf(row, QStringLiteral("Caption")))},
             {translate("HardwareScanner", "OS version"),
              translate("HardwareScanner", "%1 (build %2)")
                  .arg(textOf(row, QStringLiteral("Version")), textOf(row, QStringLiteral("BuildNumber")))},
             {translate("HardwareScanner", "Architecture"), orDash(textOf(row, QStringLiteral("OSArchitecture")))}};
    }
    return {QStringLiteral("System"), {group}, {}};
}

HardwareSection scanMotherboard(WmiSession& session)
{
    const QList<WmiRow> boards =
        session.query(QStringLiteral("SELECT Manufacturer,Product,Version,SerialNumber FROM Win32_BaseBoard"), nullptr);
    const QList<WmiRow> firmwares =
        session.query(QStringLiteral("SELECT Manufacturer,SMBIOSBIOSVersion,ReleaseDate FROM Win32_BIOS"), nullptr);
    HardwareGroup group;
    if (!boards.isEmpty()) {
        const WmiRow& row = boards.first();
        group += {{translate("HardwareScanner", "Manufacturer"), orDash(textOf(row, QStringLiteral("Manufacturer")))},
                  {translate("HardwareScanner", "Model"), orDash(textOf(row, QStringLiteral("Product")))},
                  {translate("HardwareScanner", "Version"), orDash(textOf(row, QStringLiteral("Version")))},
                  {translate("HardwareScanner", "Serial number"), orDash(textOf(row, QStringLiteral("SerialNumber")))}};
    }
    if (!firmwares.isEmpty()) {
        const WmiRow& row = firmwares.first();
        group +=
            {{translate("HardwareScanner", "BIOS vendor"), orDash(textOf(row, QStringLiteral("Manufacturer")))},
             {translate("HardwareScanner", "BIOS version"), orDash(textOf(row, QStringLiteral("SMBIOSBIOSVersion")))},
             {translate("HardwareScanner", "BIOS date"), orDash(dateOf(row, QStringLiteral("ReleaseDate")))}};
    }
    return {QStringLiteral("Motherboard"), {group}, {}};
}

QString clockText(quint64 megahertz)
{
    if (megahertz == 0)
        return orDash({});
    if (megahertz < 1000)
        return QStringLiteral("%1 MHz").arg(megahertz);
    return QString::number(static_cast<double>(megahertz) / 1000.0, 'f', 2) + QStringLiteral(" GHz");
}

void appendCache(const WmiRow& row, const QString& property, const QString& label, HardwareGroup& group)
{
    if (const quint64 kibibytes = numberOf(row, property); kibibytes != 0)
        group.append({label, formatBytes(kibibytes * 1024)});
}

HardwareSection scanProcessors(WmiSession& session)
{
    const QList<WmiRow> rows =
        session.query(QStringLiteral("SELECT Name,Manufacturer,NumberOfCores,NumberOfLogicalProcessors,MaxClockSpeed,"
                                     "L2CacheSize,L3CacheSize,SocketDesignation FROM Win32_Processor"),
                      nullptr);
    HardwareSection section{QStringLiteral("Processor"), {}, {}};
    for (const WmiRow& row : rows) {
        HardwareGroup group{
            {translate("HardwareScanner", "Model"), orDash(textOf(row, QStringLiteral("Name")))},
            {translate("HardwareScanner", "Manufacturer"), orDash(textOf(row, QStringLiteral("Manufacturer")))},
            {translate("HardwareScanner", "Cores / Threads"),
             translate("HardwareScanner", "%1 cores / %2 threads")
                 .arg(orDash(textOf(row, QStringLiteral("NumberOfCores"))),
                      orDash(textOf(row, QStringLiteral("NumberOfLogicalProcessors"))))},
            {translate("HardwareScanner", "Base clock"), clockText(numberOf(row, QStringLiteral("MaxClockSpeed")))}};
        appendCache(row, QStringLiteral("L2CacheSize"), translate("HardwareScanner", "L2 cache"), group);
        appendCache(row, QStringLiteral("L3CacheSize"), translate("HardwareScanner", "L3 cache"), group);
        group.append(
            {translate("HardwareScanner", "Socket"), orDash(textOf(row, QStringLiteral("SocketDesignation")))});
        section.groups.append(group);
    }
    if (rows.isEmpty())
        section.notes.append(translate("HardwareScanner", "No processor reported by WMI."));
    return section;
}

/// The kind of module by its SMBIOS number, with two blanks behind it; empty for others.
/// https://www.dmtf.org/standards/smbios, memory device, type
QString memoryType(quint64 smbiosType)
{
    switch (smbiosType) {
    case 20:
        return QStringLiteral("DDR  ");
    case 21:
        return QStringLiteral("DDR2  ");
    case 24:
        return QStringLiteral("DDR3  ");
    case 26:
        return QStringLiteral("DDR4  ");
    case 34:
        return QStringLiteral("DDR5  ");
    default:
        return {};
    }
}

QString memorySpeed(const WmiRow& row)
{
    const quint64 configured = numberOf(row, QStringLiteral("ConfiguredClockSpeed"));
    const quint64 speed = configured != 0 ? configured : numberOf(row, QStringLiteral("Speed"));
    return speed == 0 ? orDash({}) : QStringLiteral("%1 MT/s").arg(speed);
}

HardwareSection scanMemory(WmiSession& session)
{
    const QList<WmiRow> rows =
        session.query(QStringLiteral("SELECT DeviceLocator,Capacity,Speed,ConfiguredClockSpeed,Manufacturer,PartNumber,"
                                     "SMBIOSMemoryType FROM Win32_PhysicalMemory"),
                      nullptr);
    HardwareSection section{QStringLiteral("Memory"), {}, {}};
    quint64 total = 0;
    for (const WmiRow& row : rows) {
        const quint64 capacity = numberOf(row, QStringLiteral("Capacity"));
        total += capacity;
        section.groups.append(
            {{translate("HardwareScanner", "Slot"), orDash(textOf(row, QStringLiteral("DeviceLocator")))},
             {translate("HardwareScanner", "Capacity"), formatBytes(capacity)},
             {translate("HardwareScanner", "Type / Speed"),
              memoryType(numberOf(row, QStringLiteral("SMBIOSMemoryType"))) + memorySpeed(row)},
             {translate("HardwareScanner", "Manufacturer"), orDash(textOf(row, QStringLiteral("Manufacturer")))},
             {translate("HardwareScanner", "Part number"), orDash(textOf(row, QStringLiteral("PartNumber")))}});
    }
    section.notes.append(rows.isEmpty() ? translate("HardwareScanner", "No memory modules reported by WMI.")
                                        : translate("HardwareScanner", "%1 module(s), %2 total")
                                              .arg(QString::number(rows.size()), formatBytes(total)));
    return section;
}

/// @return whether there was any
bool appendTemperatures(HardwareGroup& group)
{
    QList<WmiRow> rows;
    if (WmiSession session; session.connect(QStringLiteral("ROOT\\WMI"), nullptr)) {
        rows = session.query(
            QStringLiteral("SELECT InstanceName,CurrentTemperature FROM MSAcpi_ThermalZoneTemperature"), nullptr);
    }
    int zone = 0;
    for (const WmiRow& row : std::as_const(rows)) {
        const quint64 tenthsOfKelvin = numberOf(row, QStringLiteral("CurrentTemperature"));
        if (tenthsOfKelvin == 0)
            continue;
        ++zone;
        const double celsius = static_cast<double>(tenthsOfKelvin) / 10.0 - zeroCelsiusInKelvin;
        group.append({rows.size() < 2 ? translate("HardwareScanner", "Thermal zone (ACPI)")
                                      : translate("HardwareScanner", "Thermal zone %1").arg(zone),
                      QString::number(celsius, 'f', 1) + QStringLiteral(" °C")});
    }
    return zone > 0;
}

void appendFans(WmiSession& session, HardwareGroup& group)
{
    const QList<WmiRow> rows = session.query(QStringLiteral("SELECT Name,Status,DesiredSpeed FROM Win32_Fan"), nullptr);
    int fan = 0;
    for (const WmiRow& row : rows) {
        ++fan;
        const QString name = textOf(row, QStringLiteral("Name"));
        const quint64 speed = numberOf(row, QStringLiteral("DesiredSpeed"));
        QString value = speed != 0 ? QStringLiteral("%1 RPM").arg(speed) : textOf(row, QStringLiteral("Status"));
        if (value.isEmpty())
            value = translate("HardwareScanner", "Present (RPM not reported)");
        group.append({name.isEmpty() ? translate("HardwareScanner", "Fan %1").arg(fan) : name, value});
    }
}

HardwareSection scanSensors(WmiSession& session)
{
    HardwareSection section{QStringLiteral("Sensors"), {}, {}};
    HardwareGroup group;
    const bool anyTemperature = appendTemperatures(group);
    appendFans(session, group);
    if (!anyTemperature) {
        section.notes.append(
            translate("HardwareScanner", "No ACPI thermal-zone temperature is exposed by WMI on this system."));
    }
    section.notes.append(translate(
        "HardwareScanner",
        "Per-core CPU/GPU temperatures and fan RPM are not provided by standard Windows APIs; full sensor coverage "
        "requires a dedicated driver (e.g. LibreHardwareMonitor) — planned as a follow-up."));
    if (group.isEmpty()) {
        group.append(
            {translate("HardwareScanner", "Sensors"), translate("HardwareScanner", "Not available via standard WMI")});
    }
    section.groups.append(group);
    return section;
}

} // namespace

HardwareReport scan()
{
    WmiSession session;
    QString error;
    if (!session.connect(QStringLiteral("ROOT\\CIMV2"), &error)) {
        logMessage(LogLevel::Error, category, QStringLiteral("WMI (ROOT\\CIMV2) unavailable: %1").arg(error));
        return {
            {{QStringLiteral("System"), {}, {translate("HardwareScanner", "Hardware query failed: %1").arg(error)}}}};
    }
    const HardwareReport report{{scanSystem(session), scanMotherboard(session), scanProcessors(session),
                                 scanGraphics(session), scanMemory(session), scanStorage(session),
                                 scanSensors(session)}};
    logMessage(LogLevel::Info, category,
               QStringLiteral("Hardware scan complete (%1 sections)").arg(report.sections.size()));
    return report;
}

} // namespace torvelane::HardwareScanner
