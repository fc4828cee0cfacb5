#pragma once

#include "core/Tier.h"

#include <QDateTime>
#include <QMetaType>
#include <QString>

namespace torvelane {

/// The state of the session's subscription at one moment.
struct SubscriptionState {
    bool active = false; ///< There is a session; the rest means nothing otherwise.
    QString userName;
    Tier tier = Tier::None;
    QDateTime checkedAt; ///< When this was found.
};

} // namespace torvelane

Q_DECLARE_METATYPE(torvelane::SubscriptionState)
