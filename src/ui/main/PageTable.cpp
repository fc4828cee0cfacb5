#include "ui/main/PageTable.h"

#include "ui/main/Navigation.h"
#include "ui/pages/AppOptimizePage.h"
#include "ui/pages/BufferbloatPage.h"
#include "ui/pages/DebloatPage.h"
#include "ui/pages/GamingModePage.h"
#include "ui/pages/HomePage.h"
#include "ui/pages/NetworkPage.h"
#include "ui/pages/PowerPlanPage.h"
#include "ui/pages/RestorePointsPage.h"
#include "ui/pages/ScanPage.h"
#include "ui/pages/SectionTweaksPage.h"
#include "ui/pages/ServicesPage.h"

#include <algorithm>
#include <array>

namespace torvelane {

namespace {

/// The page under a key that is no section of the catalogue.
struct PageMaker {
    QLatin1String key;
    Page* (*make)();
};

template <typename Made>
Page* makeNew()
{
    return new Made;
}

constexpr std::array pageMakers{
    PageMaker{QLatin1String("Home"), makeNew<HomePage>},
    PageMaker{QLatin1String("Scan"), makeNew<ScanPage>},
    PageMaker{QLatin1String("Gaming Mode"), makeNew<GamingModePage>},
    PageMaker{QLatin1String("Network"), makeNew<NetworkPage>},
    PageMaker{QLatin1String("Bufferbloat"), makeNew<BufferbloatPage>},
    PageMaker{QLatin1String("Power Plan"), makeNew<PowerPlanPage>},
    PageMaker{QLatin1String("App Optimize"), makeNew<AppOptimizePage>},
    PageMaker{QLatin1String("Services"), makeNew<ServicesPage>},
    PageMaker{QLatin1String("Debloat"), makeNew<DebloatPage>},
    PageMaker{QLatin1String("Restore Points"), makeNew<RestorePointsPage>},
};

} // namespace

Page* makePage(AppContext& context, const NavSection& section, Tier required)
{
    const auto maker =
        std::ranges::find_if(pageMakers, [&](const PageMaker& candidate) { return candidate.key == section.key; });
    if (maker != pageMakers.end())
        return maker->make();
    return new SectionTweaksPage(context, section.key, section.icon, required);
}

} // namespace torvelane
