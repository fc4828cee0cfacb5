#include "measure/SystemMetricsSampler.h"

#include <algorithm>
#include <cmath>

namespace torvelane {

namespace {

/// One instance for each process and engine; only those that draw count.
const QString gpuCounter = QStringLiteral("\\GPU Engine(*engtype_3D)\\Utilization Percentage");

int rounded(double percent)
{
    return static_cast<int>(std::clamp(percent + 0.5, 0.0, 100.0));
}

} // namespace

SystemMetricsSampler::SystemMetricsSampler()
{
    m_gpuReady = m_gpuQuery.open(gpuCounter);
    if (m_gpuReady)
        std::ignore = m_gpuQuery.collect(); // the baseline of a rate
}

int SystemMetricsSampler::cpuPercent()
{
    const std::optional<platform::SystemTimes> now = platform::systemTimes();
    if (!now)
        return 0;
    const platform::SystemTimes before = std::exchange(m_previous, *now);
    if (!std::exchange(m_primed, true))
        return 0;
    // Kernel time includes idle time. The differences are right also if a counter ran over.
    const quint64 total = (now->kernel - before.kernel) + (now->user - before.user);
    if (total == 0)
        return 0;
    const double busy = static_cast<double>(total) - static_cast<double>(now->idle - before.idle);
    return rounded(busy / static_cast<double>(total) * 100.0);
}

int SystemMetricsSampler::memoryPercent() const
{
    return static_cast<int>(platform::memoryLoadPercent().value_or(0));
}

int SystemMetricsSampler::gpuPercent()
{
    if (!m_gpuReady || !m_gpuQuery.collect())
        return -1;
    const std::optional<QList<platform::CounterItem>> items = m_gpuQuery.items();
    if (!items)
        return -1;
    double sum = 0.0;
    for (const platform::CounterItem& item : *items) {
        if (item.status == 0 && std::isfinite(item.value))
            sum += item.value;
    }
    return rounded(sum);
}

} // namespace torvelane
