#pragma once

#include "platform/simulated/calls/Fault.h"

#include <QByteArray>
#include <QList>
#include <QString>

namespace torvelane::platform::simulated {

/// What nearly every call has to know about the machine. Cached, since it changes rarely: who changes something of it
/// also raises the machine's generation (`raiseGeneration`), and a call looks whether the cache still holds.
struct Conditions {
    qint64 generation = -1;
    QByteArray secret; ///< Drawn when the machine was made; see SecretBox.
    QString userName;  ///< These three from the facility "user".
    QString userSid;
    bool elevated = true;
    QList<Fault> faults;
};

inline constexpr QStringView raiseGeneration = u"UPDATE machine SET generation = generation + 1";

} // namespace torvelane::platform::simulated
