#pragma once

#include "core/Tier.h"

namespace torvelane {

class AppContext;
class Page;
struct NavSection;

/// Builds the page of a tab. A key that the table doesn't name is a section of the catalogue. `required` is the larger of
/// the section's and the group's tier. The caller owns the page; the context outlives it.
[[nodiscard]] Page* makePage(AppContext& context, const NavSection& section, Tier required);

} // namespace torvelane
