#include "account/LocalAuthService.h"

#include "core/Log.h"
#include "platform/Elevation.h"

#include <algorithm>

namespace torvelane {

namespace {

const QString category = QStringLiteral("account");

bool isUsableUserName(const QString& name)
{
    return !name.isEmpty() && name.size() <= LocalAuthService::maxUserNameLength
        && std::ranges::all_of(name, [](QChar c) { return c.isPrint(); });
}

/// A session that can't be stored still holds for this run.
void store(const TokenFile::Session& session)
{
    if (!TokenFile::write(session))
        logMessage(LogLevel::Warn, category, QStringLiteral("Could not store the session in token.bin"));
}

} // namespace

bool LocalAuthService::restoreSession()
{
    TokenFile::Session session;
    switch (TokenFile::read(session)) {
    case TokenFile::ReadResult::Read:
        begin(session);
        break;
    case TokenFile::ReadResult::Absent:
        session = {true, platform::currentUserName(), Tier::Pro, QDateTime::currentDateTime()};
        store(session);
        logMessage(LogLevel::Info, category, QStringLiteral("First start: local session for ") + session.userName);
        begin(session);
        break;
    case TokenFile::ReadResult::Damaged:
        logMessage(LogLevel::Warn, category, QStringLiteral("token.bin is damaged; signed out"));
        begin({});
        break;
    }
    return m_session.signedIn;
}

bool LocalAuthService::login(const QString& userName, Tier tier, QString* error)
{
    const QString name = userName.trimmed();
    if (!isUsableUserName(name)) {
        if (error)
            *error = QStringLiteral("The user name must have 1 to %1 printable characters").arg(maxUserNameLength);
        return false;
    }
    const TokenFile::Session session{true, name, tier, QDateTime::currentDateTime()};
    store(session);
    begin(session);
    return true;
}

void LocalAuthService::logout()
{
    store({});
    begin({});
}

UserProfile LocalAuthService::profile() const
{
    if (!m_session.signedIn)
        return {};
    return {.identifier = m_session.userName, .email = {}, .userName = m_session.userName, .avatarUrl = {}};
}

void LocalAuthService::begin(const TokenFile::Session& session)
{
    m_session = session.signedIn ? session : TokenFile::Session();
    Q_EMIT sessionChanged();
    Q_EMIT userChanged(profile());
}

} // namespace torvelane
