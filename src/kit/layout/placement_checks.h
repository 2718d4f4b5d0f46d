// The checks that look at where things ended up rather than at what they are: elements that
// cover the slide's words or each other ("layout.overlap"), and devices that the canvas cuts
// ("device.cropped"). They run on a composed slide or spread, after every element is placed, so
// that renders, overviews, exports and lint all report the same findings.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/layout/issue_sink.h"
#include "kit/model/project.h"

#include <set>
#include <string>
#include <vector>

namespace vorno {

/// Where the checked elements stand: one slide's canvas, or a spread's board of several.
struct PlacementScope {
  std::string targetID;
  double W = 0;  ///< one slide's width in pixels
  double H = 0;
  std::vector<std::string> slideIDs;  ///< the members, in order; one for a plain slide
  /// Free elements whose `z` the document sets, by uid: layered on purpose.
  std::set<std::string> layeredByHand;

  /// The whole board: every member side by side.
  Rect board() const { return {0, 0, W * static_cast<double>(std::max<size_t>(slideIDs.size(), 1)), H}; }
  /// The slide an element's issues belong to: its owner, or for a spread's own element the
  /// member under its centre.
  std::string slideOf(const ElementLayout& element) const;
  /// The x of the canvas an element's placement is measured from (its member's left edge).
  double originX(const ElementLayout& element) const;
};

/// "layout.overlap": a drawn element above the eyebrow, headline or subhead that covers more
/// than 4% of its ink, and two free elements whose frames overlap by more than 20% of the smaller.
/// Glows (a shape or image under 0.5 opacity or blurred), decorative elements and a hand-placed
/// element layered below the other on purpose are left alone. `elements` are in stacking order.
void overlapChecks(const std::vector<ElementLayout>& elements, const PlacementScope& scope, IssueSink& sink);

/// "device.cropped": a device whose screen the canvas cuts by more than a quarter, or whose
/// island or punch hole it cuts at all, with a placement that would show it whole.
void deviceCropChecks(const std::vector<ElementLayout>& elements, const PlacementScope& scope, IssueSink& sink);

/// Both checks on a composed slide or spread, their issues appended to it. `slides` and `spread`
/// are the documents it was laid from, which say which elements set their own `z`.
void placementChecks(ComposedSlide& composed, const std::vector<const Slide*>& slides, const Spread* spread);

/// Whether an element is one of the slide's own (eyebrow, headline, subhead, device) rather than
/// a free element of the slide or spread.
bool isSlideTextOrDevice(const ElementLayout& element);

}  // namespace vorno
