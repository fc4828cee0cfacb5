#pragma once

#include "core/Tier.h"

namespace torvelane {

/// The one rule of what a subscription allows.
struct TierGate {
    /// Whether `tier` opens something that needs `required`.
    [[nodiscard]] static constexpr bool covers(Tier tier, Tier required) { return tier >= required; }
};

} // namespace torvelane
