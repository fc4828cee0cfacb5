#include "measure/HardwareScanner.h"
#include "measure/SystemMetricsSampler.h"
#include "support/Suite.h"

#include <QDeadlineTimer>
#include <QRegularExpression>

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
        QCOMPARE(report.sections.size(), 7);
        QStringList lines;
        for (const HardwareSection& section : std::as_const(report.sections)) {
            QVERIFY2(!section.groups.isEmpty() || section.title == u"Sensors"_s, qPrintable(section.title));
            for (const HardwareGroup& group : section.groups) {
                for (const HardwareRow& row : group)
                    lines.append(row.label + u": "_s + row.value);
            }
        }
        for (const QString& pattern :
             {u"^OS version: 10\\.0"_s, u"^Installed RAM: .*B$"_s, u"^BIOS date: \\d{4}-\\d\\d-\\d\\d$"_s,
              u"^Cores / Threads: \\d+ cores / \\d+ threads$"_s})
            QVERIFY2(!lines.filter(QRegularExpression(pattern)).isEmpty(), qPrintable(lines.join(u'\n')));
    }

    void load()
    {
        SystemMetricsSampler sampler;
        QCOMPARE(sampler.cpuPercent(), 0);
        for (const QDeadlineTimer busy(300); !busy.hasExpired();) { }
        const int percent = sampler.cpuPercent();
        QVERIFY2(percent > 0 && percent <= 100, qPrintable(QString::number(percent)));
        QVERIFY(sampler.memoryPercent() > 0 && sampler.memoryPercent() <= 100);
    }
};

QTEST_GUILESS_MAIN(tst_RealMeasure)
#include "tst_RealMeasure.moc"
