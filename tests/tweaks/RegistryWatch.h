#pragma once

#include <functional>

namespace torvelane::test {

/// Whether this machine tells of registry changes while they happen. Windows doesn't.
extern const bool registryCanBeWatched;

/// Has `event` called before and after every registry change of this process, where the machine can do that.
void watchRegistry(std::function<void()> event);

} // namespace torvelane::test
