#include "tweaks/DesktopNews.h"

#include <QLatin1String>

namespace torvelane {

namespace {

/// Keys of the user that Windows reads again only after an announcement.
constexpr struct {
    QLatin1String path;
    platform::DesktopChange change;
} watchedKeys[] = {
    {QLatin1String(R"(software\microsoft\windows\currentversion\themes\personalize)"), platform::DesktopChange::Colors},
    {QLatin1String(R"(software\microsoft\windows\currentversion\explorer\hidedesktopicons\)"),
     platform::DesktopChange::Icons},
};

} // namespace

DesktopNews::~DesktopNews()
{
    for (const platform::DesktopChange change : std::as_const(m_changes))
        platform::announceDesktopChange(change);
}

void DesktopNews::valueChanged(RegistryHive hive, const QString& path)
{
    if (hive != RegistryHive::CurrentUser)
        return;
    for (const auto& [watched, change] : watchedKeys) {
        if (path.startsWith(watched, Qt::CaseInsensitive))
            m_changes.insert(change);
    }
}

} // namespace torvelane
