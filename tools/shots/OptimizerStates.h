#pragma once

namespace torvelane {

class Album;
class AppContext;

/// Takes the pages of services, power plans, apps, clean-up, network and restore points in each of their states, in a
/// window of its own. Leaves the machine changed.
void addOptimizerStates(Album& album, AppContext& context);

} // namespace torvelane
