#include "measure/GraphicsScan.h"
#include "measure/HardwareScanner.h"
#include "measure/SystemMetricsSampler.h"
#include "support/simulated/Suite.h"

namespace {

void setRows(const QString& wmiClass, const QJsonArray& rows)
{
    if (!SimulatedPc::setValue(u"wmi/namespaces/ROOT\\CIMV2/"_s + wmiClass, rows))
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

} // namespace

class tst_Measure : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void theWholeMachine()
    {
        SimulatedPc::clearCalls();
        const HardwareReport report = HardwareScanner::scan();
        QCOMPARE(report.sections.size(), 7);
        for (const HardwareSection& one : report.sections)
            QVERIFY2(!one.groups.isEmpty() && !one.groups.first().isEmpty(), qPrintable(one.title));
        // No query runs twice.
        QStringList queries;
        for (const platform::CallRecord& record : SimulatedPc::calls(u"wmi.execQuery"_s))
            queries.append(record.call.argumentLine());
        QCOMPARE(queries.removeDuplicates(), 0);
    }

    void withoutWmi()
    {
        SimulatedPc::fail(u"wmi.connectServer"_s, HResult(static_cast<qint32>(0x80070005)));
        const HardwareReport report = HardwareScanner::scan();
        QCOMPARE(report.sections.size(), 1);
        QCOMPARE(report.sections.first().notes,
                 QStringList{u"Hardware query failed: ConnectServer(ROOT\\CIMV2) failed (0x80070005)"_s});
    }

    /// What providers leave out, or give as something else.
    void oddRows()
    {
        const QJsonObject memory{{u"Capacity"_s, u"17179869184"_s},
                                 {u"ConfiguredClockSpeed"_s, 0},
                                 {u"Speed"_s, 3200},
                                 {u"SMBIOSMemoryType"_s, 26},
                                 {u"Manufacturer"_s, QJsonValue::Null},
                                 {u"PartNumber"_s, QJsonObject{{u"UI1"_s, 7}}}};
        setRows(u"Win32_PhysicalMemory"_s, {memory});
        QCOMPARE(shown(section(u"Memory"_s)),
                 u"Slot: — | Capacity: 16.0 GB | Type / Speed: DDR4  3200 MT/s | Manufacturer: — | Part number: —"_s);
        setRows(u"Win32_DiskDrive"_s, {});
        QCOMPARE(shown(section(u"Storage"_s)), QString());
    }

    /// On a machine without DXGI WMI answers, with what it has.
    void graphicsWithoutDxgi()
    {
        SimulatedPc::fail(u"graphics.list"_s, HResult(static_cast<qint32>(0x887a0004)));
        QVERIFY(!section(u"Graphics"_s).groups.isEmpty());
        setRows(u"Win32_VideoController"_s, {QJsonObject{{u"AdapterRAM"_s, -1048576}}});
        QCOMPARE(section(u"Graphics"_s).notes, QStringList{u"No display adapter detected."_s});
    }

    void processorLoad()
    {
        SystemMetricsSampler sampler;
        // Idle, kernel with idle in it, user: the first look, no time between two, a quarter, and more idle than there was
        // time, as drivers of some machines report it.
        for (const auto& [idle, kernel, user, percent] :
             {std::tuple(1000, 1500, 500, 0), {1000, 1500, 500, 0}, {1075, 1580, 520, 25}, {1375, 1680, 620, 0}}) {
            SimulatedPc::setValue(u"load/times"_s,
                                  QJsonObject{{u"idle"_s, idle}, {u"kernel"_s, kernel}, {u"user"_s, user}});
            QCOMPARE(sampler.cpuPercent(), percent);
        }
        SimulatedPc::fail(u"load.times"_s, Win32Error::AccessDenied);
        QCOMPARE(sampler.cpuPercent(), 0);
    }

    /// Of a line that has failed nothing counts, and without the counter there is no figure.
    void graphicsLoad()
    {
        const QString counter = u"load/counters/\\GPU Engine(*engtype_3D)\\Utilization Percentage"_s;
        QJsonArray items;
        for (const auto& [value, status] : {std::pair(30.4, 0.0), {12.0, 0.0}, {50.0, 3221228474.0}})
            items.append(QJsonObject{{u"value"_s, value}, {u"status"_s, status}});
        SimulatedPc::setValue(counter + u"/items"_s, items);
        QCOMPARE(SystemMetricsSampler().gpuPercent(), 42);
        SimulatedPc::setValue(counter, QJsonValue(QJsonValue::Undefined));
        QCOMPARE(SystemMetricsSampler().gpuPercent(), -1);
    }
};

QTEST_GUILESS_MAIN(tst_Measure)
#include "tst_Measure.moc"
