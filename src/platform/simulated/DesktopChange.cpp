#include "platform/DesktopChange.h"

#include "platform/simulated/DesktopAnnouncements.h"

#include <atomic>

namespace torvelane::platform {

namespace {

std::atomic<int>& counter(DesktopChange change)
{
    static std::atomic<int> colors = 0;
    static std::atomic<int> icons = 0;
    return change == DesktopChange::Colors ? colors : icons;
}

} // namespace

void announceDesktopChange(DesktopChange change)
{
    ++counter(change);
}

int simulated::desktopAnnouncements(DesktopChange change)
{
    return counter(change);
}

} // namespace torvelane::platform
