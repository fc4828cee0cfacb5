#include "tweaks/DesktopWatch.h"

#include "platform/simulated/DesktopAnnouncements.h"

namespace torvelane::test {

using platform::DesktopChange;
using platform::simulated::desktopAnnouncements;

DesktopWatch::DesktopWatch()
    : m_colors(desktopAnnouncements(DesktopChange::Colors))
    , m_icons(desktopAnnouncements(DesktopChange::Icons))
{
}

DesktopWatch::~DesktopWatch() = default;

int DesktopWatch::colors() const
{
    return desktopAnnouncements(DesktopChange::Colors) - m_colors;
}

std::optional<int> DesktopWatch::icons() const
{
    return desktopAnnouncements(DesktopChange::Icons) - m_icons;
}

} // namespace torvelane::test
