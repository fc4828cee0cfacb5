#include "measure/StorageScan.h"

#include "core/Translate.h"
#include "measure/HardwareText.h"

#include <QHash>

namespace torvelane {

namespace {

using namespace HardwareText;

/// The physical disks by what drives can be matched with.
struct PhysicalDisks {
    QList<WmiRow> rows;
    QHash<QString, WmiRow> bySerial;
};

QString serialKey(const WmiRow& row)
{
    QString serial = row.value(QStringLiteral("SerialNumber")).toString().toUpper();
    serial.removeIf([](QChar c) { return c.isSpace(); });
    return serial;
}

PhysicalDisks readPhysicalDisks()
{
    PhysicalDisks disks;
    WmiSession session;
    if (!session.connect(QStringLiteral("ROOT\\Microsoft\\Windows\\Storage"), nullptr))
        return disks;
    disks.rows = session.query(
        QStringLiteral("SELECT FriendlyName,SerialNumber,Size,MediaType,BusType,HealthStatus,SpindleSpeed "
                       "FROM MSFT_PhysicalDisk"),
        nullptr);
    for (const WmiRow& row : std::as_const(disks.rows)) {
        if (const QString serial = serialKey(row); !serial.isEmpty())
            disks.bySerial.insert(serial, row);
    }
    return disks;
}

/// By serial number, or else the first of the same size; an empty row for none.
WmiRow diskOf(const WmiRow& drive, const PhysicalDisks& disks)
{
    const QString serial = serialKey(drive);
    if (const auto found = disks.bySerial.constFind(serial); !serial.isEmpty() && found != disks.bySerial.constEnd())
        return *found;
    const quint64 size = numberOf(drive, QStringLiteral("Size"));
    for (const WmiRow& disk : disks.rows) {
        if (size != 0 && numberOf(disk, QStringLiteral("Size")) == size)
            return disk;
    }
    return {};
}

// The numbers of MSFT_PhysicalDisk:
// https://learn.microsoft.com/windows-hardware/drivers/storage/msft-physicaldisk

QString mediaName(quint64 mediaType)
{
    switch (mediaType) {
    case 3:
        return QStringLiteral("HDD");
    case 4:
        return QStringLiteral("SSD");
    case 5:
        return QStringLiteral("SCM");
    default:
        return {};
    }
}

QString busName(quint64 busType)
{
    switch (busType) {
    case 1:
        return QStringLiteral("SCSI");
    case 3:
    case 4:
        return QStringLiteral("ATA");
    case 7:
        return QStringLiteral("USB");
    case 8:
        return QStringLiteral("RAID");
    case 9:
        return QStringLiteral("iSCSI");
    case 10:
        return QStringLiteral("SAS");
    case 11:
        return QStringLiteral("SATA");
    case 12:
        return QStringLiteral("SD");
    case 13:
        return QStringLiteral("MMC");
    case 17:
        return QStringLiteral("NVMe");
    default:
        return {};
    }
}

/// Empty for a status that says nothing. 0 is a status, so that what is no number is none.
QString healthName(const WmiRow& disk)
{
    bool ok = false;
    switch (textOf(disk, QStringLiteral("HealthStatus")).toUInt(&ok)) {
    case 0:
        return ok ? translate("HardwareScanner", "Healthy") : QString();
    case 1:
        return translate("HardwareScanner", "Warning");
    case 2:
        return translate("HardwareScanner", "Unhealthy");
    default:
        return {};
    }
}

QString typeText(const WmiRow& drive, const WmiRow& disk)
{
    const QString media = mediaName(numberOf(disk, QStringLiteral("MediaType")));
    const QString bus = busName(numberOf(disk, QStringLiteral("BusType")));
    if (!media.isEmpty() && !bus.isEmpty())
        return media + QStringLiteral(" · ") + bus;
    if (media.isEmpty() && bus.isEmpty())
        return orDash(textOf(drive, QStringLiteral("InterfaceType")));
    return media + bus;
}

} // namespace

HardwareSection scanStorage(WmiSession& session)
{
    const PhysicalDisks disks = readPhysicalDisks();
    const QList<WmiRow> drives = session.query(
        QStringLiteral("SELECT Model,Size,InterfaceType,SerialNumber,Partitions FROM Win32_DiskDrive"), nullptr);
    HardwareSection section{QStringLiteral("Storage"), {}, {}};
    for (const WmiRow& drive : drives) {
        const WmiRow disk = diskOf(drive, disks);
        HardwareGroup group{
            {translate("HardwareScanner", "Model"), orDash(textOf(drive, QStringLiteral("Model")))},
            {translate("HardwareScanner", "Type"), typeText(drive, disk)},
            {translate("HardwareScanner", "Capacity"), formatBytes(numberOf(drive, QStringLiteral("Size")))},
            {translate("HardwareScanner", "Serial number"), orDash(textOf(drive, QStringLiteral("SerialNumber")))},
            {translate("HardwareScanner", "Partitions"), orDash(textOf(drive, QStringLiteral("Partitions")))}};
        if (const QString health = healthName(disk); !health.isEmpty())
            group.append({translate("HardwareScanner", "Health"), health});
        section.groups.append(group);
    }
    if (drives.isEmpty())
        section.notes.append(translate("HardwareScanner", "No disk drive reported by WMI."));
    return section;
}

} // namespace torvelane
