#include "platform/DesktopChange.h"

#include "platform/simulated/calls/Calls.h"

namespace torvelane::platform {

using namespace simulated;

void announceDesktopChange(DesktopChange change)
{
    const QString what = change == DesktopChange::Colors ? QStringLiteral("colors") : QStringLiteral("icons");
    std::ignore = Calls::run({QStringLiteral("desktop.announce"), {what}}, [](QJsonObject&) { return 0; });
}

} // namespace torvelane::platform
