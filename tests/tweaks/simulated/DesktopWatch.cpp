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

} // namespace

DesktopWatch::DesktopWatch()
{
    m_colors = -colors();
    m_icons = -announced(QStringLiteral("icons"));
}

DesktopWatch::~DesktopWatch() = default;

int DesktopWatch::colors() const
{
    return announced(QStringLiteral("colors")) + m_colors;
}

std::optional<int> DesktopWatch::icons() const
{
    return announced(QStringLiteral("icons")) + m_icons;
}

} // namespace torvelane::test
