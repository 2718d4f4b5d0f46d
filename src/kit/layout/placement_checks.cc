// The scope the placement checks share, and the one call that runs them on a composed slide.
#include "kit/layout/placement_checks.h"

#include <algorithm>
#include <cmath>

namespace vorno {

bool isSlideTextOrDevice(const ElementLayout& element) {
  return element.owner.kind == ElementOwner::Kind::slide &&
         (element.id == "device" || element.id == "eyebrow" || element.id == "headline" || element.id == "subhead");
}

std::string PlacementScope::slideOf(const ElementLayout& element) const {
  if (element.owner.kind == ElementOwner::Kind::slide || slideIDs.empty()) return element.owner.id;
  const int index = W > 0 ? static_cast<int>(std::floor(element.frame.midX() / W)) : 0;
  return slideIDs[static_cast<size_t>(std::clamp(index, 0, static_cast<int>(slideIDs.size()) - 1))];
}

double PlacementScope::originX(const ElementLayout& element) const {
  if (element.owner.kind == ElementOwner::Kind::spread) return 0;
  auto found = std::find(slideIDs.begin(), slideIDs.end(), element.owner.id);
  return found == slideIDs.end() ? 0 : W * static_cast<double>(found - slideIDs.begin());
}
std::set<std::string> layeredByHand(const std::vector<const Slide*>& slides, const Spread* spread) {
  std::set<std::string> uids;
  for (const Slide* slide : slides) {
    if (!slide) continue;
    for (const auto& element : slide->elements)
      if (element.z) uids.insert("slide:" + slide->id + "/" + element.id);
  }
  if (spread)
    for (const auto& element : spread->elements)
      if (element.z) uids.insert("spread:" + spread->id + "/" + element.id);
  return uids;
}

void placementChecks(ComposedSlide& composed, const std::vector<const Slide*>& slides, const Spread* spread) {
  PlacementScope scope;
  scope.targetID = composed.target.id;
  scope.W = composed.target.width;
  scope.H = composed.target.height;
  scope.slideIDs = composed.slideIDs;
  scope.layeredByHand = layeredByHand(slides, spread);
  IssueSink sink(composed.slideID, composed.target.id, composed.locale);
  overlapChecks(composed.elements, scope, sink);
  deviceCropChecks(composed.elements, scope, sink);
  for (auto& issue : sink.take()) composed.issues.push_back(std::move(issue));
}

}  // namespace vorno
