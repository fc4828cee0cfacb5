#pragma once

#include "account/SubscriptionState.h"

#include <QObject>

namespace torvelane {

/// What the session's subscription is worth. On the main thread.
class LicenseService : public QObject {
    Q_OBJECT

public:
    using QObject::QObject;

    /// Asks anew and announces the answer.
    virtual SubscriptionState refresh() = 0;

    /// The last answer.
    [[nodiscard]] virtual SubscriptionState state() const = 0;

Q_SIGNALS:
    void subscriptionChanged(const torvelane::SubscriptionState& state);
};

} // namespace torvelane
