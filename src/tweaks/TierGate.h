#pragma once

#include "core/Tier.h"

namespace torvelane {

/// The one rule of a subscription's reach.
struct TierGate {
    /// Whether `tier` opens something that needs `required`.
    [[nodiscard]] static constexpr bool covers(Tier tier, Tier required) { return tier >= required; }
};

} // namespace torvelane
