#pragma once

#include "platform/simulated/SimulatedPc.h"

#include <QString>

namespace torvelane::platform::simulated {

/// The display language of the simulated Windows, "user/language": English, or French with "fr".
[[nodiscard]] inline bool isFrench()
{
    return SimulatedPc::value(QStringLiteral("user/language")).toString() == u"fr";
}

/// The text in that language.
[[nodiscard]] inline QString inLanguage(const QString& english, const QString& french)
{
    return isFrench() ? french : english;
}

} // namespace torvelane::platform::simulated
