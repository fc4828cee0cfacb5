#include "measure/SystemMetricsSampler.h"
#include "support/simulated/Suite.h"

namespace {

const QString counter = u"load/counters/\\GPU Engine(*engtype_3D)\\Utilization Percentage"_s;

void setTimes(double idle, double kernel, double user)
{
    SimulatedPc::setValue(u"load/times"_s, QJsonObject{{u"idle"_s, idle}, {u"kernel"_s, kernel}, {u"user"_s, user}});
}

QJsonObject item(double value, double status = 0)
{
    return {{u"value"_s, value}, {u"status"_s, status}};
}

} // namespace

class tst_SystemMetrics : public MachineSuite {
    Q_OBJECT

private Q_SLOTS:
    void processors()
    {
        SystemMetricsSampler sampler;
        setTimes(1000, 1500, 500);
        QCOMPARE(sampler.cpuPercent(), 0);
        QCOMPARE(sampler.cpuPercent(), 0); // no time has passed
        setTimes(1000 + 75, 1500 + 80, 500 + 20);
        QCOMPARE(sampler.cpuPercent(), 25);
        setTimes(1075, 1580 + 10, 520 + 190);
        QCOMPARE(sampler.cpuPercent(), 100);
        // More idle than there was time, as drivers of some machines report it.
        setTimes(1075 + 300, 1590 + 100, 710 + 100);
        QCOMPARE(sampler.cpuPercent(), 0);
        SimulatedPc::fail(u"load.times"_s, platform::Win32Error::AccessDenied);
        QCOMPARE(sampler.cpuPercent(), 0);
    }

    void graphics()
    {
        SystemMetricsSampler sampler;
        SimulatedPc::setValue(counter + u"/items"_s, QJsonArray{item(30.4), item(12), item(50, 3221228474)});
        QCOMPARE(sampler.gpuPercent(), 42);
        SimulatedPc::setValue(counter + u"/items"_s, QJsonArray{item(80), item(70)});
        QCOMPARE(sampler.gpuPercent(), 100);
        SimulatedPc::setValue(counter + u"/items"_s, QJsonArray());
        QCOMPARE(sampler.gpuPercent(), -1);
        SimulatedPc::setValue(counter + u"/items"_s, QJsonArray{item(5)});
        QCOMPARE(sampler.gpuPercent(), 5);
        SimulatedPc::setValue(counter, QJsonValue(QJsonValue::Undefined));
        QCOMPARE(SystemMetricsSampler().gpuPercent(), -1);
    }

    void memoryMoves()
    {
        const SystemMetricsSampler sampler;
        QVERIFY(sampler.memoryPercent() >= 44);
        QVERIFY(sampler.memoryPercent() <= 48);
        SimulatedPc::fail(u"load.memory"_s, platform::Win32Error::AccessDenied);
        QCOMPARE(sampler.memoryPercent(), 0);
    }
};

QTEST_GUILESS_MAIN(tst_SystemMetrics)
#include "tst_SystemMetrics.moc"
