#pragma once

#include "core/Deployment.h"

#include <QString>

namespace torvelane {

/// What every request of the program calls itself: "torvelane-app/1.0.4 (Windows)".
[[nodiscard]] inline QString userAgent()
{
    return QStringLiteral("torvelane-app/%1 (Windows)").arg(deployment::version);
}

} // namespace torvelane
