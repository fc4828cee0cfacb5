#pragma once

#include <functional>

namespace torvelane::test {

/// Whether this machine says of each change when it happens. Windows doesn't.
extern const bool machineCanBeWatched;

/// Has `event` called before and after every change that this process makes to the machine, and every run of a tool,
/// where the machine can do that. An empty function takes it away.
void watchMachine(std::function<void()> event);

} // namespace torvelane::test
