#pragma once

#include "platform/SystemLoad.h"

namespace torvelane {

/// How busy the machine is, in whole percent from 0 to 100. Each figure of the processor is about the time since the
/// last one, so each page has a sampler of its own. Makes no timer and no thread. GUI thread: a sample is a short call.
class SystemMetricsSampler {
public:
    /// Prepares the counter of the graphics processors; a machine without one is no failure.
    SystemMetricsSampler();

    /// 0 at the first call, and if no time has passed since the last.
    [[nodiscard]] int cpuPercent();

    /// Of physical memory; 0 if it can't be told.
    [[nodiscard]] int memoryPercent() const;

    /// The 3D engines of all graphics processors together; -1 if it can't be told, for now or on this machine.
    [[nodiscard]] int gpuPercent();

private:
    platform::SystemTimes m_previous;
    bool m_primed = false;
    platform::CounterQuery m_gpuQuery;
    bool m_gpuReady = false;
};

} // namespace torvelane
