#pragma once

#include <QLatin1StringView>

/// The values of this build, which cmake/Deployment.cmake writes into Deployment.cpp from the TORVELANE_* cache variables.
/// All of them are constants, initialised before any code runs.
namespace torvelane::deployment {

/// The program's version, as status and the application object show it.
extern const QLatin1StringView version;

/// Base URL of the backend: https, no path. Names a reserved example domain when hasBackend is false.
extern const QLatin1StringView apiBaseUrl;

/// Base URL of the web site: https, no path.
extern const QLatin1StringView webBaseUrl;

/// URL that answers with the latest release. Names a reserved example domain when hasReleaseFeed is false.
extern const QLatin1StringView releaseFeedUrl;

/// minisign public key that releases are signed with: the second line of its file. Never empty with a release feed.
extern const QLatin1StringView updatePublicKey;

/// Host of the speed test endpoint.
extern const QLatin1StringView speedTestHost;

/// Whether this build was given a backend. Start-up steps that need one are skipped, with an Info line, without it.
extern const bool hasBackend;

/// The same for the release feed.
extern const bool hasReleaseFeed;

} // namespace torvelane::deployment
