#include "tweaks/RegistryWatch.h"

#include "platform/simulated/SimulatedPc.h"

namespace torvelane::test {

const bool registryCanBeWatched = true;

void watchRegistry(std::function<void()> event)
{
    platform::SimulatedPc::setChangeObserver(
        [event = std::move(event)](platform::ChangeMoment, const platform::RegistryChange&) { event(); });
}

} // namespace torvelane::test
