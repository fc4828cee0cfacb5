#pragma once

#include "core/Tier.h"
#include "ui/theme/Icons.h"

#include <QList>
#include <QString>

namespace torvelane {

/// One tab of a group.
struct NavSection {
    IconId icon;
    QString key;   ///< Stable English key: selects the page and is the catalogue section's name; never shown.
    QString label; ///< In the user's language.
    Tier requiredTier = Tier::None;
};

/// One row of the sidebar.
struct NavGroup {
    IconId icon;
    QString title; ///< Row text and page title, in the user's language.
    Tier requiredTier = Tier::None;
    QString subtitle;
    bool general = false;
    QString category; ///< Heading above the row; empty for none.
    QList<NavSection> sections;
};

/// The whole navigation, in the user's language, in the order in which it is shown.
[[nodiscard]] QList<NavGroup> navigationGroups();

} // namespace torvelane
