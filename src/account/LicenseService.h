#pragma once

#include "account/SubscriptionState.h"

#include <QObject>

namespace torvelane {

/// The value of the session's subscription. On the main thread.
class LicenseService : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Asks anew and announces the answer.
    virtual SubscriptionState refresh() = 0;

    /// Begins and ends the periodic refresh while there is a session.
    virtual void start() = 0;
    virtual void stop() = 0;

    /// Called whenever the program becomes or ceases to be the active one, so that an idle window asks for nothing.
    virtual void setApplicationActive(bool active) = 0;

    /// The last answer.
    [[nodiscard]] virtual SubscriptionState state() const = 0;

Q_SIGNALS:
    /// The session has ended elsewhere; the account no longer answers for this machine.
    void sessionEnded();

    void subscriptionChanged(const torvelane::SubscriptionState& state);
};

} // namespace torvelane
