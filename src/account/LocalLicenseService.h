#pragma once

#include "account/LicenseService.h"

namespace torvelane {

class AuthService;

/// A licence without a server: the session's word is the subscription. Follows the session by itself.
class LocalLicenseService : public LicenseService {
    Q_OBJECT

public:
    /// `auth` isn't owned and outlives this.
    explicit LocalLicenseService(AuthService* auth, QObject* parent = nullptr);

    SubscriptionState refresh() override;

    /// A session of this machine changes only through this program: there is nothing to ask for from time to time.
    void start() override { }
    void stop() override { }
    void setApplicationActive(bool) override { }

    [[nodiscard]] SubscriptionState state() const override { return m_state; }

private:
    AuthService* m_auth;
    SubscriptionState m_state;
};

} // namespace torvelane
