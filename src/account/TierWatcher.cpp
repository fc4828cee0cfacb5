#include "account/TierWatcher.h"

#include "account/AuthService.h"
#include "account/LicenseService.h"
#include "core/Log.h"
#include "tweaks/TweakEngine.h"

namespace torvelane {

TierWatcher::TierWatcher(AuthService* auth, LicenseService* license, TweakEngine* engine, Tier* tier, QObject* parent)
    : QObject(parent)
    , m_engine(engine)
    , m_tier(tier)
{
    connect(license, &LicenseService::subscriptionChanged, this, &TierWatcher::follow);
    connect(license, &LicenseService::sessionEnded, this, &TierWatcher::endSession);
    // A sign-out counts at once, whenever the licence next asks.
    connect(auth, &AuthService::sessionChanged, this, [this, auth] {
        if (!auth->isAuthenticated())
            follow({});
    });
}

void TierWatcher::follow(const SubscriptionState& state)
{
    const Tier before = *m_tier;
    const Tier now = state.active ? state.tier : Tier::None;
    *m_tier = now;
    if (now < before) {
        logMessage(LogLevel::Info, QStringLiteral("account"),
                   QStringLiteral("Tier fell from %1 to %2").arg(tierName(before), tierName(now)));
    }
    if (now < before || m_revertIsDue) {
        Q_EMIT aboutToRevert();
        m_revertIsDue = !m_engine->revertAboveTier(now);
    }
    if (now != before)
        Q_EMIT tierChanged(now);
}

void TierWatcher::revertAll()
{
    Q_EMIT aboutToRevert();
    m_engine->revertAll(false);
}

void TierWatcher::endSession()
{
    revertAll();
    follow({});
    Q_EMIT loggedOut();
}

} // namespace torvelane
