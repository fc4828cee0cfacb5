#include "support/MachineWatch.h"

#include "platform/simulated/SimulatedPc.h"

namespace torvelane::test {

const bool machineCanBeWatched = true;

void watchMachine(std::function<void()> event)
{
    if (!event)
        return platform::SimulatedPc::setObserver({});
    platform::SimulatedPc::setObserver(
        [event = std::move(event)](platform::CallMoment, const platform::Call&) { event(); });
}

} // namespace torvelane::test
