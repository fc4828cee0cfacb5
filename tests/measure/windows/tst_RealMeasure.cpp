#include "measure/HardwareScanner.h"
#include "measure/SystemMetricsSampler.h"
#include "support/Suite.h"

#include <QRegularExpression>

namespace {

/// The first value with this label in a section; empty if there is none.
QString valueOf(const HardwareSection& section, const QString& label)
{
    for (const HardwareGroup& group : section.groups) {
        for (const HardwareRow& row : group) {
            if (row.label == label)
                return row.value;
        }
    }
    return {};
}

} // namespace

/// The measuring room through real COM, DXGI and load figures.
class tst_RealMeasure : public QObject {
    Q_OBJECT

private Q_SLOTS:
    /// On a thread without COM, as a worker is.
    void hardwareReport()
    {
        const ScratchMachine machine;
        HardwareReport report;
        std::jthread([&report] { report = HardwareScanner::scan(); }).join();
        QStringList titles;
        for (const HardwareSection& section : std::as_const(report.sections))
            titles.append(section.title);
        QCOMPARE(titles,
                 QStringList({u"System"_s, u"Motherboard"_s, u"Processor"_s, u"Graphics"_s, u"Memory"_s, u"Storage"_s,
                              u"Sensors"_s}));
        const auto value = [&report](qsizetype section, const QString& label) {
            return valueOf(report.sections.at(section), label);
        };
        QVERIFY(!value(0, u"Device name"_s).isEmpty());
        QVERIFY2(value(0, u"OS version"_s).startsWith(u"10.0"_s), qPrintable(value(0, u"OS version"_s)));
        QVERIFY2(value(0, u"Installed RAM"_s).endsWith(u"B"_s), qPrintable(value(0, u"Installed RAM"_s)));
        QVERIFY2(QRegularExpression(u"^\\d{4}-\\d\\d-\\d\\d$"_s).match(value(1, u"BIOS date"_s)).hasMatch(),
                 qPrintable(value(1, u"BIOS date"_s)));
        QVERIFY2(QRegularExpression(u"^\\d+ cores / \\d+ threads$"_s).match(value(2, u"Cores / Threads"_s)).hasMatch(),
                 qPrintable(value(2, u"Cores / Threads"_s)));
        for (const qsizetype section : {3, 4, 5})
            QVERIFY2(!report.sections.at(section).groups.isEmpty(), qPrintable(titles.at(section)));
        QVERIFY(machine.log.contains(u"[INFO] scan: Hardware scan complete (7 sections)"_s));
    }

    void load()
    {
        SystemMetricsSampler sampler;
        QCOMPARE(sampler.cpuPercent(), 0);
        QElapsedTimer timer;
        timer.start();
        while (timer.elapsed() < 300) { }
        const int busy = sampler.cpuPercent();
        QVERIFY2(busy > 0, qPrintable(QString::number(busy)));
        QVERIFY(busy <= 100);
        QVERIFY(sampler.memoryPercent() > 0 && sampler.memoryPercent() <= 100);
        QVERIFY(sampler.gpuPercent() >= -1 && sampler.gpuPercent() <= 100);
    }
};

QTEST_GUILESS_MAIN(tst_RealMeasure)
#include "tst_RealMeasure.moc"
