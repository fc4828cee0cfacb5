#pragma once

#include "account/SubscriptionState.h"

#include <QObject>

namespace torvelane {

class AuthService;
class LicenseService;
class TweakEngine;

/// Keeps the context's tier equal to what the licence says, and has the engine put back the applied tweaks that a fallen
/// tier no longer covers. On the main thread; the reverts run there too, before the new tier can be used.
class TierWatcher : public QObject {
    Q_OBJECT

public:
    /// Nothing is owned; all of it outlives the watcher.
    TierWatcher(AuthService* auth, LicenseService* license, TweakEngine* engine, Tier* tier, QObject* parent = nullptr);

    /// Puts back every applied tweak, as at the end of a session; the selection stays. Blocks.
    void revertAll();

Q_SIGNALS:
    /// Applied tweaks are going to be put back. Whoever works on the system finishes that before it returns: what would
    /// end after the reverts would stay. So all reverts but a user's own go through this class.
    void aboutToRevert();

    void tierChanged(torvelane::Tier tier);

    /// The session was ended elsewhere. All applied tweaks have been put back by then; the selection stays.
    void loggedOut();

private:
    void follow(const SubscriptionState& state);
    void endSession();

    TweakEngine* m_engine;
    Tier* m_tier;
    bool m_revertIsDue = false; ///< Another process was in the way: tried again when the licence next answers.
};

} // namespace torvelane
