#include "tweaks/RegistryWatch.h"

namespace torvelane::test {

const bool registryCanBeWatched = false;

void watchRegistry(std::function<void()>) { }

} // namespace torvelane::test
