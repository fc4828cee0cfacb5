#include "core/Tier.h"

#include <array>

namespace torvelane {

namespace {

/// Indexed by the tier's number.
constexpr std::array tierNames{QLatin1String("none"), QLatin1String("free"), QLatin1String("premium"),
                               QLatin1String("pro")};

} // namespace

Tier tierFromString(const QString& text)
{
    const QString name = text.trimmed().toLower();
    for (std::size_t i = 0; i < tierNames.size(); ++i) {
        if (name == tierNames[i])
            return static_cast<Tier>(i);
    }
    return Tier::None;
}

QString tierName(Tier tier)
{
    const auto index = static_cast<std::size_t>(tier);
    return tierNames[index < tierNames.size() ? index : 0];
}

} // namespace torvelane
