#include "kit/layout/placement_inheritance.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace vorno {

Placement mappedPlacement(const Placement& placement, const StoreTarget& from, const StoreTarget& to) {
  if (from.width <= 0 || from.height <= 0 || to.width <= 0 || to.height <= 0) return placement;
  const double fromW = from.width, fromH = from.height, toW = to.width, toH = to.height;
  // Pixels grow by the tighter of the two ratios, so what fitted on one canvas fits on the other.
  const double scale = std::min(toW / fromW, toH / fromH);
  Placement mapped = placement;
  mapped.width = placement.width * fromW * scale / toW;
  if (placement.height) mapped.height = *placement.height * fromH * scale / toH;
  return mapped;
}

std::optional<std::pair<Placement, bool>> freeElementPlacement(std::string_view id, const StoreTarget& target,
                                                               const std::map<std::string, SlideOverride>& overrides) {
  if (auto placed = Placement::effective(id, target, overrides)) return placed;
  if (target.isCreative()) return std::nullopt;

  // Any other family: the lender whose canvas is closest in shape; the map's order breaks ties.
  const StoreTarget* nearest = nullptr;
  const Placement* lent = nullptr;
  double distance = std::numeric_limits<double>::infinity();
  for (const auto& [key, value] : overrides) {
    if (key == target.id || !value.placements) continue;
    const StoreTarget* lender = StoreTarget::named(key);
    if (!lender || lender->isCreative()) continue;
    auto found = value.placements->find(std::string(id));
    if (found == value.placements->end()) continue;
    const double d = std::abs(std::log(lender->aspect() / target.aspect()));
    if (d < distance) distance = d, nearest = lender, lent = &found->second;
  }
  if (!nearest) return std::nullopt;
  return std::pair{mappedPlacement(*lent, *nearest, target), true};
}

}  // namespace vorno
