#include "tweaks/DesktopWatch.h"

#include "platform/simulated/SimulatedPc.h"

#include <algorithm>

namespace torvelane::test {

namespace {

int announced(const QString& what)
{
    const QList<platform::CallRecord> calls = platform::SimulatedPc::calls(QStringLiteral("desktop.announce"));
    return static_cast<int>(std::ranges::count(
        calls, QStringList(what), [](const platform::CallRecord& record) { return record.call.arguments; }));
}

int colorsAnnounced()
{
    return announced(QStringLiteral("colors"));
}

int iconsAnnounced()
{
    return announced(QStringLiteral("icons"));
}

} // namespace

DesktopWatch::DesktopWatch() : m_colors(colorsAnnounced()), m_icons(iconsAnnounced()) { }

DesktopWatch::~DesktopWatch() = default;

int DesktopWatch::colors() const
{
    return colorsAnnounced() - m_colors;
}

std::optional<int> DesktopWatch::icons() const
{
    return iconsAnnounced() - m_icons;
}

} // namespace torvelane::test
