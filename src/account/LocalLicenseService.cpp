#include "account/LocalLicenseService.h"

#include "account/AuthService.h"

namespace torvelane {

LocalLicenseService::LocalLicenseService(AuthService* auth, QObject* parent) : LicenseService(parent), m_auth(auth)
{
    connect(auth, &AuthService::sessionChanged, this, &LocalLicenseService::refresh);
}

SubscriptionState LocalLicenseService::refresh()
{
    m_state = {m_auth->isAuthenticated(), m_auth->userName(), m_auth->sessionTier(), QDateTime::currentDateTime()};
    Q_EMIT subscriptionChanged(m_state);
    return m_state;
}

} // namespace torvelane
