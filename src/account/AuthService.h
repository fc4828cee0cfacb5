#pragma once

#include "core/Tier.h"

#include <QMetaType>
#include <QObject>
#include <QString>

namespace torvelane {

/// Who the session belongs to, as windows show it.
struct UserProfile {
    QString identifier; ///< Stable key of the account; empty without a session.
    QString email;      ///< Empty for an account that has none.
    QString userName;
    QString avatarUrl; ///< "data:image..." or "http..." address of a picture; empty means none.
};

/// The session of the person who uses the program. One object for the process, on the main thread; the interface through
/// which everything else sees the account, whatever stands behind it.
class AuthService : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Takes up the stored session, if there is one. True if there is a session afterwards.
    virtual bool restoreSession() = 0;

    /// Begins a session. False, with the reason in `error` (may be null), if that can't be.
    [[nodiscard]] virtual bool login(const QString& userName, Tier tier, QString* error) = 0;

    /// Ends the session; it stays ended, over restarts too, until the next login.
    virtual void logout() = 0;

    [[nodiscard]] virtual bool isAuthenticated() const = 0;

    /// Name of the session's user; empty without a session.
    [[nodiscard]] virtual QString userName() const = 0;

    [[nodiscard]] virtual UserProfile profile() const = 0;

    /// Tier that the session was begun with; none without a session.
    [[nodiscard]] virtual Tier sessionTier() const = 0;

Q_SIGNALS:
    /// A session began, ended, or was taken up.
    void sessionChanged();

    /// The user's name, picture or subscription, as the windows show them, have changed.
    void userChanged(const torvelane::UserProfile& profile);
};

} // namespace torvelane

Q_DECLARE_METATYPE(torvelane::UserProfile)
