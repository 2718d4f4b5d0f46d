// A slide's or spread's free elements, laid in two passes: first those that have a placement on
// this target or borrow one from another, since a hand placement is where the designer wants
// the element; then those placed nowhere, each into the free space the others leave, in the
// order of the document. An element is laid once to learn its size, then moved to its spot
// (laid again only when it had to shrink, or its issues belong to another member of a spread).
#include "kit/layout/free_space.h"
#include "kit/layout/placement_inheritance.h"
#include "kit/layout/slide_layout_engine.h"

#include <algorithm>

namespace vorno {

std::vector<ElementLayout> SlideLayoutEngine::layFreeElements(const FreeElements& run,
                                                              const std::vector<ElementLayout>& placed,
                                                              const LayingScope& scope,
                                                              const std::function<IssueSink&(double)>& sinkAt) const {
  const StoreTarget& target = scope.target;
  const double W = target.width, H = target.height;
  const std::vector<SlideElement>& list = *run.list;
  auto z = [&](size_t i) { return run.zBase + static_cast<double>(i) * 0.001; };
  auto lay = [&](size_t i, const Placement& p, bool manual, IssueSink& sink) {
    return freeElement(list[i], {p, manual, run.owner, z(i)}, scope, sink);
  };

  std::vector<std::optional<ElementLayout>> laid(list.size());
  std::vector<size_t> unplaced;
  std::vector<ElementLayout> taken = placed;
  for (size_t i = 0; i < list.size(); ++i) {
    auto found = freeElementPlacement(list[i].id, target, *run.overrides);
    if (!found) {
      unplaced.push_back(i);
      continue;
    }
    laid[i] = lay(i, found->first, true, sinkAt(found->first.x));
    if (laid[i]) taken.push_back(*laid[i]);
  }

  // A creative's scenes change its words, and a default that followed them would jump from scene
  // to scene; there elements placed nowhere keep the plain centred default.
  if (target.isCreative()) {
    for (size_t i : unplaced) laid[i] = lay(i, defaultPlacement(list[i], run.slides), false, sinkAt(run.slides * 0.5));
    unplaced.clear();
  }
  FreeSpace space({0, 0, W * std::max(run.slides, 1), H}, taken);
  for (size_t i : unplaced) {
    Placement p = defaultPlacement(list[i], run.slides);
    // Sized against the text unit rather than the width, so that a default reads the same on a
    // wide iPad as on a phone instead of growing with the canvas.
    p.width *= std::min(1.0, target.textUnit() / W);
    IssueSink& first = sinkAt(p.x);
    IssueSink measuring = first.forSlide(first.slide());
    std::optional<ElementLayout> e = lay(i, p, false, measuring);
    if (!e) {
      for (auto& issue : measuring.take()) first.issues().push_back(std::move(issue));
      continue;
    }
    const FreeSpace::Spot spot = space.find(e->frame.size());
    p.x = spot.center.x / W;
    p.y = spot.center.y / H;
    IssueSink& sink = sinkAt(p.x);
    if (spot.scale < 1 || &sink != &first) {
      p.width *= spot.scale;
      e = lay(i, p, false, sink);
    } else {
      e->frame = e->frame.offsetBy(spot.center.x - e->frame.midX(), spot.center.y - e->frame.midY());
      e->placement.x = p.x;
      e->placement.y = p.y;
      for (auto& issue : measuring.take()) sink.issues().push_back(std::move(issue));
    }
    if (!e) continue;
    space.occupy(e->rotatedBounds());
    laid[i] = std::move(e);
  }

  std::vector<ElementLayout> result;
  for (auto& e : laid)
    if (e) result.push_back(std::move(*e));
  return result;
}

}  // namespace vorno
