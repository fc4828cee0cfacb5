#pragma once

#include "update/UpdateInstaller.h"

namespace torvelane {

/// The program's own replacement from a signed release, before the first window. Every refusal and failure ends in a
/// normal start on the version at hand and is in the log, category "update".
class AutoUpdater {
public:
    /// Asks the feed for the latest release and installs any version but this one. True if an update has taken over, and
    /// the caller has to end the process at once. Without a release feed, or with the environment variable
    /// TORVELANE_NO_UPDATE, it returns at once. GUI thread, which it blocks: the feed has five seconds for each stage of
    /// the request; after that a splash is shown and kept alive, while another thread works.
    [[nodiscard]] static bool checkAndUpdate();

    /// The same with other settings than those of this build.
    [[nodiscard]] static bool checkAndUpdate(const UpdateSettings& settings);
};

} // namespace torvelane
