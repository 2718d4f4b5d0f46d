// Devices the canvas cuts. A device that bleeds off an edge is often the design, but one that
// loses most of its screen, or whose island or punch hole the edge slices, usually isn't: it was
// sized for another canvas. The finding says how much is lost and offers a placement, in the
// document's fractions, that shows the whole device in the part of the canvas it now occupies.
#include "kit/layout/placement_checks.h"

#include "kit/util/format.h"

#include <algorithm>
#include <cmath>

namespace vorno {

namespace {

// The share of `part` that `canvas` hides along one axis.
double hiddenShare(double min, double max, double canvasMin, double canvasMax) {
  const double length = max - min;
  if (!(length > 0)) return 0;
  const double shown = std::max(0.0, std::min(max, canvasMax) - std::max(min, canvasMin));
  return 1 - shown / length;
}

// Which edge does the cutting: the side where more of the screen lies outside.
std::string cutEdge(const Rect& screen, const Rect& canvas) {
  const double top = std::max(0.0, canvas.minY() - screen.minY());
  const double bottom = std::max(0.0, screen.maxY() - canvas.maxY());
  const double left = std::max(0.0, canvas.minX() - screen.minX());
  const double right = std::max(0.0, screen.maxX() - canvas.maxX());
  const double most = std::max({top, bottom, left, right});
  if (most == top) return "top";
  if (most == bottom) return "bottom";
  return most == left ? "left" : "right";
}

// A placement that shows the whole body where its visible part now stands, kept off the edges.
std::string wholePlacement(const ElementLayout& e, const Rect& canvas, const PlacementScope& scope) {
  const double margin = 0.025 * scope.H;
  const Rect room = e.frame.intersection(canvas.insetBy(margin, margin));
  const double aspect = e.frame.height > 0 ? e.frame.width / e.frame.height : 1;
  if (room.isEmpty() || !(aspect > 0)) return "";
  const double height = std::min(room.height, room.width / aspect);
  const double width = height * aspect;
  return formatted("{\"x\": %.3f, \"y\": %.3f, \"width\": %.3f}", (room.midX() - scope.originX(e)) / scope.W,
                   room.midY() / scope.H, width / scope.W);
}

}  // namespace

void deviceCropChecks(const std::vector<ElementLayout>& elements, const PlacementScope& scope, IssueSink& sink) {
  const Rect canvas = scope.board();
  for (const auto& e : elements) {
    const auto* device = std::get_if<DeviceContent>(&e.content);
    if (!device || e.decorative || !(e.fade > 0.5)) continue;
    DeviceRenderer::Parts parts = device->renderer.parts(e.frame);
    if (parts.screen.isEmpty()) continue;
    if (e.rotation != 0) {
      parts.screen = parts.screen.rotatedBounds(e.rotation, e.frame.center());
      if (parts.camera) parts.camera = parts.camera->rotatedBounds(e.rotation, e.frame.center());
    }
    const Rect& screen = parts.screen;
    const double hidden = std::max(hiddenShare(screen.minY(), screen.maxY(), canvas.minY(), canvas.maxY()),
                                   hiddenShare(screen.minX(), screen.maxX(), canvas.minX(), canvas.maxX()));
    const bool cameraCut = parts.camera && !canvas.contains(*parts.camera);
    if (!(hidden > 0.25) && !cameraCut) continue;

    const std::string name = isSlideTextOrDevice(e) ? e.label : e.label + " " + e.id;
    std::string message = name + " on " + scope.targetID + ": ";
    if (hidden > 0.25) {
      message += "the " + cutEdge(screen, canvas) + " edge of the canvas hides " +
                 std::to_string(std::lround(hidden * 100)) + "% of its screen";
      if (cameraCut) message += ", the camera too";
    } else {
      message += "the " + cutEdge(*parts.camera, canvas) + " edge of the canvas cuts through its camera";
    }
    message += ". If that isn't the design, give it a placement for " + scope.targetID + " (overrides." +
               scope.targetID + ".placements." + e.id + ")";
    const std::string whole = wholePlacement(e, canvas, scope);
    if (!whole.empty()) message += "; " + whole + " shows it whole";
    message += ".";
    IssueSink forSlide = sink.forSlide(scope.slideOf(e));
    forSlide.info("device.cropped", std::move(message), e.uid());
    for (auto& issue : forSlide.take()) sink.issues().push_back(std::move(issue));
  }
}

}  // namespace vorno
