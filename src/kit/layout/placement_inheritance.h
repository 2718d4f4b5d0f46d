// Where a free element stands on a target that has no placement of its own for it. A placement
// is made by hand on one target; the other targets should use it rather than drop the element
// at a default. The target's own placement wins; then one from a target of the same family (or
// between tablets and foldables), as for the slide's texts; then, for free elements only, one
// from the target of any family whose canvas is nearest in shape, mapped proportionally, so that
// a badge placed on the iPhone keeps its place and its size against the iPad's height.
#pragma once

#include "kit/model/slide.h"
#include "kit/model/store_target.h"

#include <map>
#include <optional>
#include <string_view>
#include <utility>

namespace vorno {

/// The placement of free element `id` on `target` and whether it was borrowed, or nothing when
/// no target of the document places it.
std::optional<std::pair<Placement, bool>> freeElementPlacement(std::string_view id, const StoreTarget& target,
                                                               const std::map<std::string, SlideOverride>& overrides);

/// A placement made on `from` as it reads on `to`: the centre stays at the same fractions, and
/// the size scales as the canvas does where it is tighter, so that the element keeps its shape.
Placement mappedPlacement(const Placement& placement, const StoreTarget& from, const StoreTarget& to);

}  // namespace vorno
