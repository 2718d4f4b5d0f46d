#include "kit/motion/motion_composer.h"

#include "kit/model/motion.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace vorno::MotionComposer {

namespace {

double clamp01(double value) { return std::isnan(value) ? 0 : std::clamp(value, 0.0, 1.0); }

bool atRest(const MotionPose& camera) {
  return !camera.x && !camera.y && !camera.rotation && camera.dx == 0 && camera.dy == 0 && camera.dRotation == 0 &&
         camera.scale == 1 && camera.opacity == 1;
}

// The element's own pose: an absolute centre where the pose gives one, else its own, then the
// offset; its scale at draw time, so the frame keeps its size and the layer is reused.
void pose(ElementLayout& element, const MotionPose& pose, double W, double H) {
  const double centreX = pose.dx * W + (pose.x ? *pose.x * W : element.frame.midX());
  const double centreY = pose.dy * H + (pose.y ? *pose.y * H : element.frame.midY());
  element.frame.x = centreX - element.frame.width / 2;
  element.frame.y = centreY - element.frame.height / 2;
  element.drawScale *= pose.scale;
  element.rotation = pose.dRotation + pose.rotation.value_or(element.rotation);
  element.fade = clamp01(element.fade * pose.opacity);
}

// The camera takes its anchor to the canvas's centre and scales and turns the picture about it:
// a push-in is a camera scale above 1 over an anchor on the subject.
void film(ElementLayout& element, const MotionPose& camera, double W, double H) {
  const double anchorX = camera.x.value_or(0.5) * W;
  const double anchorY = camera.y.value_or(0.5) * H;
  double vx = camera.scale * (element.frame.midX() - (anchorX - camera.dx * W));
  double vy = camera.scale * (element.frame.midY() - (anchorY - camera.dy * H));
  const double turn = camera.dRotation + camera.rotation.value_or(0);
  if (turn != 0) {
    const double radians = turn * std::numbers::pi / 180;
    const double c = std::cos(radians), s = std::sin(radians);
    const double x = vx * c - vy * s, y = vx * s + vy * c;
    vx = x;
    vy = y;
    element.rotation += turn;
  }
  element.frame.x = W / 2 + vx - element.frame.width / 2;
  element.frame.y = H / 2 + vy - element.frame.height / 2;
  element.drawScale *= camera.scale;
  element.fade = clamp01(element.fade * camera.opacity);
}

}  // namespace

ComposedSlide apply(const MotionFrame& frame, ComposedSlide composed) {
  const double W = composed.target.width, H = composed.target.height;
  const bool cameraMoves = !atRest(frame.camera);

  struct Placed {
    double z;
    ElementLayout element;
  };
  std::vector<Placed> placed;
  placed.reserve(composed.elements.size());
  for (ElementLayout& element : composed.elements) {
    double z = element.z;
    const bool own = element.owner.kind == ElementOwner::Kind::slide && element.owner.id == composed.slideID;
    if (own) {
      if (auto it = frame.poses.find(element.id); it != frame.poses.end()) {
        pose(element, it->second, W, H);
        // Just above its equals while it moves, without disturbing anyone else's order.
        if (it->second.lift) z += 0.0005;
      }
    }
    if (cameraMoves) film(element, frame.camera, W, H);
    if (element.opacity * element.fade <= invisible) continue;
    placed.push_back({z, std::move(element)});
  }
  std::stable_sort(placed.begin(), placed.end(), [](const Placed& a, const Placed& b) { return a.z < b.z; });

  composed.elements.clear();
  for (Placed& each : placed) composed.elements.push_back(std::move(each.element));
  return composed;
}

}  // namespace vorno::MotionComposer
