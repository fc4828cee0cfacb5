#include "support/MachineWatch.h"

namespace torvelane::test {

const bool machineCanBeWatched = false;

void watchMachine(std::function<void()>) { }

} // namespace torvelane::test
