#include "measure/GraphicsScan.h"
#include "measure/HardwareScanner.h"
#include "measure/HardwareText.h"
#include "support/simulated/Suite.h"

namespace {

const QString displayClass = u"SYSTEM\\CurrentControlSet\\Control\\Class\\{4d36e968-e325-11ce-bfc1-08002be10318}"_s;

void setRows(const QString& wmiClass, const QJsonArray& rows, const QString& space = u"ROOT\\CIMV2"_s)
{
    if (!SimulatedPc::setValue(u"wmi/namespaces/%1/%2"_s.arg(space, wmiClass), rows))
        qFatal("The rows could not be set");
}

HardwareSection section(const QString& title)
{
    const HardwareReport report = HardwareScanner::scan();
    const auto found = std::ranges::find(report.sections, title, &HardwareSection::title);
    return found == report.sections.end() ? HardwareSection() : *found;
}

/// "label: value" of each row, groups parted by a line.
QString shown(const HardwareSection& section)
{
    QStringList groups;
    for (const HardwareGroup& group : section.groups) {
        QStringList rows;
        for (const HardwareRow& row : group)
            rows.append(row.label + u": "_s + row.value);
        groups.append(rows.join(u" | "_s));
    }
    return groups.join(u'\n');
}

QJsonObject adapter(const QString& description, const QString& vendor, const QString& device, double dedicated = 0,
                    double shared = 0, int flags = 0)
{
    return {{u"description"_s, description},        {u"vendorId"_s, vendor},           {u"deviceId"_s, device},
            {u"dedicatedVideoMemory"_s, dedicated}, {u"sharedSystemMemory"_s, shared}, {u"flags"_s, flags}};
}

} // namespace

class tst_HardwareScanner : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void theWholeMachine()
    {
        QStringList titles;
        for (const HardwareSection& one : HardwareScanner::scan().sections) {
            titles.append(one.title);
            QVERIFY2(!one.groups.isEmpty(), qPrintable(one.title));
            for (const HardwareGroup& group : one.groups)
                QVERIFY2(!group.isEmpty(), qPrintable(one.title));
        }
        QCOMPARE(titles,
                 QStringList({u"System"_s, u"Motherboard"_s, u"Processor"_s, u"Graphics"_s, u"Memory"_s, u"Storage"_s,
                              u"Sensors"_s}));
        // No query runs twice.
        QStringList queries;
        SimulatedPc::clearCalls();
        std::ignore = HardwareScanner::scan();
        for (const platform::CallRecord& record : SimulatedPc::calls(u"wmi.execQuery"_s))
            queries.append(record.call.argumentLine());
        QCOMPARE(queries.size(), 11);
        QCOMPARE(queries.removeDuplicates(), 0);
    }

    void withoutWmi()
    {
        const LogCapture log;
        SimulatedPc::fail(u"wmi.connectServer"_s, HResult(static_cast<qint32>(0x80070005)));
        const HardwareReport report = HardwareScanner::scan();
        QCOMPARE(report.sections.size(), 1);
        QVERIFY(report.sections.first().groups.isEmpty());
        const QString error = u"ConnectServer(ROOT\\CIMV2) failed (0x80070005)"_s;
        QCOMPARE(report.sections.first().notes, QStringList{u"Hardware query failed: "_s + error});
        QVERIFY(log.contains(u"[ERROR] scan: WMI (ROOT\\CIMV2) unavailable: "_s + error));
    }

    void texts()
    {
        for (const auto& [bytes, text] : {std::pair(quint64(0), u"—"_s),
                                          {quint64(512) << 20, u"512 MB"_s},
                                          {quint64(3) << 29, u"1.50 GB"_s},
                                          {quint64(12) << 30, u"12.0 GB"_s},
                                          {quint64(2) << 40, u"2.00 TB"_s},
                                          {quint64(1), u"0 MB"_s}})
            QCOMPARE(HardwareText::formatBytes(bytes), text);
        for (const auto& [name, cleaned] : {std::pair(u"Card-ABC12345"_s, u"Card"_s),
                                            {u"Card-ABCDEFGH"_s, u"Card-ABCDEFGH"_s},
                                            {u"Card-12345678"_s, u"Card-12345678"_s},
                                            {u"Card-ABC1234"_s, u"Card-ABC1234"_s}})
            QCOMPARE(cleanGpuModel(name), cleaned);
    }

    void sections()
    {
        const auto row = [](std::initializer_list<std::pair<QString, QJsonValue>> properties) {
            return QJsonArray{QJsonObject(properties)};
        };
        const QJsonArray bareProcessor =
            row({{u"Name"_s, u" CPU "_s}, {u"MaxClockSpeed"_s, 800}, {u"L2CacheSize"_s, 0}, {u"L3CacheSize"_s, 32768}});
        const QJsonArray oddMemory = row({{u"Capacity"_s, u"17179869184"_s},
                                          {u"ConfiguredClockSpeed"_s, 0},
                                          {u"Speed"_s, 3200},
                                          {u"SMBIOSMemoryType"_s, 26},
                                          {u"Manufacturer"_s, QJsonValue::Null},
                                          {u"PartNumber"_s, QJsonObject{{u"UI1"_s, 7}}}});
        const QString none;
        for (const auto& [title, wmiClass, rows, end, note] :
             {std::tuple(u"Processor"_s, u"Processor"_s, QJsonArray(), none, u"No processor reported by WMI."_s),
              {u"Processor"_s, u"Processor"_s, bareProcessor,
               u"Model: CPU | Manufacturer: — | Cores / Threads: — cores / — threads | Base clock: 800 MHz | "
               "L3 cache: 32 MB | Socket: —"_s,
               none},
              {u"Memory"_s, u"PhysicalMemory"_s, QJsonArray(), none, u"No memory modules reported by WMI."_s},
              {u"Memory"_s, u"PhysicalMemory"_s, oddMemory,
               u"Slot: — | Capacity: 16.0 GB | Type / Speed: DDR4  3200 MT/s | Manufacturer: — | Part number: —"_s,
               u"1 module(s), 16.0 GB total"_s},
              {u"Motherboard"_s, u"BIOS"_s, row({{u"ReleaseDate"_s, u"2023"_s}}),
               u"BIOS vendor: — | BIOS version: — | BIOS date: —"_s, none},
              {u"Storage"_s, u"DiskDrive"_s, QJsonArray(), none, u"No disk drive reported by WMI."_s}}) {
            setRows(u"Win32_"_s + wmiClass, rows);
            const HardwareSection found = section(title);
            QVERIFY2(shown(found).endsWith(end), qPrintable(shown(found)));
            QCOMPARE(shown(found).size() > end.size(), title == u"Motherboard");
            QCOMPARE(found.notes.value(0), note);
        }
    }

    void disksAreMatched()
    {
        const QString space = u"ROOT\\Microsoft\\Windows\\Storage"_s;
        setRows(u"MSFT_PhysicalDisk"_s,
                {QJsonObject{{u"SerialNumber"_s, u"s1"_s},
                             {u"Size"_s, u"1000"_s},
                             {u"MediaType"_s, 4},
                             {u"BusType"_s, 17},
                             {u"HealthStatus"_s, 0}},
                 QJsonObject{{u"SerialNumber"_s, u"other"_s},
                             {u"Size"_s, u"2000"_s},
                             {u"MediaType"_s, 3},
                             {u"BusType"_s, 99},
                             {u"HealthStatus"_s, 5}},
                 QJsonObject{{u"SerialNumber"_s, u"third"_s}, {u"Size"_s, u"2000"_s}, {u"MediaType"_s, 5}}},
                space);
        setRows(u"Win32_DiskDrive"_s,
                {QJsonObject{{u"SerialNumber"_s, u"  S 1 "_s}, {u"Size"_s, u"7"_s}},
                 QJsonObject{{u"SerialNumber"_s, u"S2"_s}, {u"Size"_s, u"2000"_s}, {u"InterfaceType"_s, u"IDE"_s}},
                 QJsonObject{{u"SerialNumber"_s, u"S3"_s}, {u"Size"_s, u"0"_s}, {u"InterfaceType"_s, u"USB"_s}}});
        const QStringList groups = shown(section(u"Storage"_s)).split(u'\n');
        QVERIFY2(groups.at(0).contains(u"Type: SSD · NVMe "_s), qPrintable(groups.at(0)));
        QVERIFY(groups.at(0).endsWith(u"Health: Healthy"_s));
        QVERIFY2(groups.at(1).contains(u"Type: HDD "_s), qPrintable(groups.at(1)));
        QVERIFY(!groups.at(1).contains(u"Health"_s));
        QVERIFY2(groups.at(2).contains(u"Type: USB "_s), qPrintable(groups.at(2)));

        SimulatedPc::fail(u"wmi.connectServer"_s, HResult(static_cast<qint32>(0x8004100e)), {.part = u"Storage"_s});
        QVERIFY(shown(section(u"Storage"_s)).split(u'\n').at(0).contains(u"Type: — "_s));
    }

    void sensors()
    {
        const QString space = u"ROOT\\WMI"_s;
        const QString zones = u"MSAcpi_ThermalZoneTemperature"_s;
        setRows(zones, {QJsonObject{{u"CurrentTemperature"_s, 3000}}}, space);
        setRows(u"Win32_Fan"_s, {});
        QCOMPARE(shown(section(u"Sensors"_s)), u"Thermal zone (ACPI): 26.9 °C"_s);
        QCOMPARE(section(u"Sensors"_s).notes.size(), 1);
        setRows(zones, {QJsonObject{{u"CurrentTemperature"_s, 0}}, QJsonObject{{u"CurrentTemperature"_s, 3232}}},
                space);
        setRows(u"Win32_Fan"_s,
                {QJsonObject{{u"DesiredSpeed"_s, u"900"_s}},
                 QJsonObject{{u"Name"_s, u"Rear"_s}, {u"Status"_s, u"OK"_s}}, QJsonObject{{u"Name"_s, u"Top"_s}}});
        QCOMPARE(shown(section(u"Sensors"_s)),
                 u"Thermal zone 1: 50.1 °C | Fan 1: 900 RPM | Rear: OK | Top: Present (RPM not reported)"_s);
        setRows(zones, {}, space);
        setRows(u"Win32_Fan"_s, {});
        QCOMPARE(shown(section(u"Sensors"_s)), u"Sensors: Not available via standard WMI"_s);
        QCOMPARE(section(u"Sensors"_s).notes.size(), 2);
    }

    void graphics()
    {
        const double gibi = 1073741824.0;
        const QString none;
        // The adapter, the driver's name in the registry for the same device, and how the section begins.
        for (const auto& [only, driverDesc, begins] :
             {std::tuple(adapter(u"Generic"_s, u"10de"_s, u"2684"_s, 24 * gibi), u"NVIDIA GeForce RTX 4090 Laptop"_s,
                         u"Model: NVIDIA GeForce RTX 4090 Laptop | Vendor: NVIDIA | Memory: 24.0 GB"_s),
              {adapter(u"Generic"_s, u"10de"_s, u"2684"_s, 24 * gibi), none, u"Model: NVIDIA GeForce RTX 4090 | "_s},
              {adapter(u"Generic"_s, u"1022"_s, u"744c"_s), none,
               u"Model: AMD Radeon RX 7900 XTX / XT | Vendor: AMD | Memory: —"_s},
              {adapter(u"Generic"_s, u"10de"_s, u"0001"_s, 0, 2 * gibi), none,
               u"Model: Generic | Vendor: NVIDIA | Memory: 2.00 GB (shared)"_s},
              {adapter(u"Arc A770"_s, u"8086"_s, u"56a0"_s), u"Intel Arc"_s,
               u"Model: Arc A770 | Vendor: Intel | Memory: 16.0 GB"_s},
              {adapter(u"Card 5-AB12345678"_s, u"8086"_s, u"1"_s, gibi), none, u"Model: Card 5 | "_s},
              // Nothing but software, and Windows' basic adapter.
              {adapter(u"Basic 1"_s, u"1414"_s, u"8c"_s, gibi, 0, 2), none, u"Model: NVIDIA GeForce RTX 4070 | "_s},
              {adapter(u"Basic 1"_s, u"1414"_s, u"8c"_s), none, u"Model: NVIDIA GeForce RTX 4070 | "_s}}) {
            m_machine.emplace();
            SimulatedPc::setValue(u"graphics/adapters"_s, QJsonArray{only});
            if (!driverDesc.isEmpty()) {
                const QString key = displayClass + u"\\0009"_s;
                const QString device = u"PCI\\ven_%1&dev_%2"_s.arg(only.value(u"vendorId"_s).toString(),
                                                                   only.value(u"deviceId"_s).toString());
                const auto hive = RegistryHive::LocalMachine;
                QVERIFY(writeString(hive, key, u"MatchingDeviceId"_s, device, false));
                QVERIFY(writeString(hive, key, u"DriverDesc"_s, driverDesc, false));
                QVERIFY(writeQword(hive, key, u"HardwareInformation.qwMemorySize"_s, quint64(16) << 30));
            }
            const QString text = shown(section(u"Graphics"_s));
            QVERIFY2(text.startsWith(begins), qPrintable(text));
        }
    }

    void graphicsWithoutDxgi()
    {
        const LogCapture log;
        SimulatedPc::fail(u"graphics.list"_s, HResult(static_cast<qint32>(0x887a0004)));
        QVERIFY(!section(u"Graphics"_s).groups.isEmpty());
        QVERIFY(log.contains(u"[WARN] scan/gpu: CreateDXGIFactory1 failed (0x887a0004) — using WMI fallback"_s));
        QVERIFY(log.contains(u"[INFO] scan/gpu: Graphics: DXGI empty -> WMI fallback"_s));
        setRows(u"Win32_VideoController"_s, {QJsonObject{{u"AdapterRAM"_s, -1048576}}});
        QCOMPARE(section(u"Graphics"_s).notes, QStringList{u"No display adapter detected."_s});
    }
};

QTEST_GUILESS_MAIN(tst_HardwareScanner)
#include "tst_HardwareScanner.moc"
