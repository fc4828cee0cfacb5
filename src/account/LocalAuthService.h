#pragma once

#include "account/AuthService.h"
#include "account/TokenFile.h"

namespace torvelane {

/// A session that knows no server: a local account of this machine, kept in token.bin. The first start begins one for
/// the operating system's user with tier pro. A damaged token means signed out.
class LocalAuthService : public AuthService {
    Q_OBJECT

public:
    using AuthService::AuthService;

    bool restoreSession() override;
    [[nodiscard]] bool login(const QString& userName, Tier tier, QString* error) override;
    void logout() override;
    [[nodiscard]] bool isAuthenticated() const override { return m_session.signedIn; }
    [[nodiscard]] QString userName() const override { return m_session.userName; }
    [[nodiscard]] UserProfile profile() const override;
    [[nodiscard]] Tier sessionTier() const override { return m_session.tier; }

    /// Longest name that a session can have, in UTF-16 units: Windows' own limit for user names (UNLEN).
    static constexpr qsizetype maxUserNameLength = 256;

private:
    void begin(const TokenFile::Session& session);

    TokenFile::Session m_session;
};

} // namespace torvelane
