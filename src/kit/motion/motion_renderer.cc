// How a moment is made: the slide of the moment (scene content, frame of a sequence, time of a
// recording), laid out with the type held at the size of the longest copy, joined with the next
// scene's layout during a hand-over, then moved by the poses and the camera. Only the caps cache
// is shared, so frames are independent of each other.
#include "kit/motion/motion_renderer.h"

#include "kit/model/coding.h"
#include "kit/model/codings.h"
#include "kit/model/creative.h"
#include "kit/model/motion.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_composer.h"
#include "kit/util/format.h"
#include "kit/util/vorno_error.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <mutex>
#include <set>
#include <utility>

namespace vorno {

namespace {

// Caps of type sizes by project path, locale, theme and creative: the same for every frame of
// a video and every call about it, and cheap to keep.
struct CapsCache {
  std::mutex lock;
  std::map<std::string, std::map<std::string, double>> caps;
};

CapsCache& capsCache() {
  static CapsCache cache;
  return cache;
}

bool changesContent(const MotionScene& scene) { return scene.texts || scene.screens; }

// An element placed by a hand-over pose: moved by its offset, scaled at draw time, faded.
ElementLayout posed(ElementLayout element, const MotionPose& pose, double W, double H) {
  const double centreX = pose.x ? *pose.x * W : element.frame.midX();
  const double centreY = pose.y ? *pose.y * H : element.frame.midY();
  element.frame.x = centreX + pose.dx * W - element.frame.width / 2;
  element.frame.y = centreY + pose.dy * H - element.frame.height / 2;
  element.drawScale *= pose.scale;
  element.fade = std::clamp(element.fade * pose.opacity, 0.0, 1.0);
  return element;
}

// Same content in (nearly) the same place: it takes no part in the hand-over.
bool standsStill(const ElementLayout& a, const ElementLayout& b) {
  return a.contentKey == b.contentKey && std::fabs(a.frame.x - b.frame.x) < 0.5 &&
         std::fabs(a.frame.y - b.frame.y) < 0.5 && std::fabs(a.frame.width - b.frame.width) < 0.5 &&
         a.rotation == b.rotation;
}

}  // namespace

ComposedSlide MotionRenderer::handOver(const ComposedSlide& from, const ComposedSlide& to, double progress,
                                       const Motion& motion) {
  const double W = from.target.width, H = from.target.height;
  std::map<std::string, const ElementLayout*> next;
  for (const ElementLayout& element : to.elements) next.emplace(element.uid(), &element);

  ComposedSlide joined = from;
  joined.elements.clear();
  joined.issues.insert(joined.issues.end(), to.issues.begin(), to.issues.end());

  std::set<std::string> kept;
  for (const ElementLayout& element : from.elements) {
    const std::string key = element.uid();
    if (auto it = next.find(key); it != next.end() && standsStill(element, *it->second)) {
      joined.elements.push_back(element);
      kept.insert(key);
      continue;
    }
    const MotionPose leaving = Motion::depart(MotionPose{}, motion.transitionStyle(element.id), progress);
    joined.elements.push_back(posed(element, leaving, W, H));
  }
  for (const ElementLayout& element : to.elements) {
    if (kept.contains(element.uid())) continue;
    ElementLayout arriving = posed(element, Motion::arrive(MotionPose{}, motion.transitionStyle(element.id), progress), W, H);
    arriving.incoming = true;
    joined.elements.push_back(std::move(arriving));
  }
  return joined;
}

std::map<std::string, double> MotionRenderer::textCaps(const Project& project, const std::string& root,
                                                       const Creative& creative, const std::string& locale,
                                                       const StoreTarget* canvas) const {
  std::map<std::string, double> caps;
  if (!creative.motion || !creative.motion->scenes) return caps;
  const std::vector<MotionScene>& scenes = *creative.motion->scenes;
  if (std::none_of(scenes.begin(), scenes.end(), [](const MotionScene& s) { return s.texts.has_value(); }))
    return caps;
  const StoreTarget* target = canvas ? canvas : StoreTarget::canvas(creative.canvas);
  if (!target) return caps;

  const Json pair = {{"theme", Coding<Theme>::write(project.theme)}, {"creative", Coding<Creative>::write(creative)}};
  // The canvas's size joins the key: an export may draw the creative smaller than its own canvas.
  const std::string key = root + "|" + locale + "|" + pair.dump() + formatted("|%dx%d", target->width, target->height);
  {
    std::lock_guard guard(capsCache().lock);
    if (auto it = capsCache().caps.find(key); it != capsCache().caps.end()) return it->second;
  }
  // Outside the lock: the first frames of a video may each work this out; they store the same.
  for (const MotionScene& scene : scenes) {
    ComposedSlide composed =
        renderer_.engine().layout(project, root, creative.slide.applying(scene), *target, locale);
    for (const ElementLayout& element : composed.elements) {
      const TextSpec* text = element.text();
      if (!text) continue;
      auto [it, added] = caps.emplace(element.id, text->size);
      if (!added) it->second = std::min(it->second, text->size);
    }
  }
  std::lock_guard guard(capsCache().lock);
  capsCache().caps[key] = caps;
  return caps;
}

std::optional<ComposedSlide> MotionRenderer::layout(const Project& project, const std::string& root,
                                                    const Creative& creative, const std::string& locale,
                                                    double time) const {
  if (!creative.motion) {
    const StoreTarget* target = StoreTarget::canvas(creative.canvas);
    if (!target) return std::nullopt;
    return renderer_.engine().layout(project, root, creative.slide, *target, locale);
  }
  return layout(project, root, creative, locale, creative.motion->frame(time));
}

std::optional<ComposedSlide> MotionRenderer::layout(const Project& project, const std::string& root,
                                                    const Creative& creative, const std::string& locale,
                                                    const MotionFrame& frame, const StoreTarget* canvas) const {
  const StoreTarget* target = canvas ? canvas : StoreTarget::canvas(creative.canvas);
  if (!target) return std::nullopt;
  const SlideLayoutEngine& engine = renderer_.engine();
  if (!creative.motion) return engine.layout(project, root, creative.slide, *target, locale);

  const Motion& motion = *creative.motion;
  Slide base = creative.slide.usesFrames() ? creative.slide.atFrame(frame.index) : creative.slide;

  ComposedSlide composed;
  const std::optional<SceneClock> clock = motion.sceneClock(frame.time);
  if (!clock || !motion.scenes || motion.scenes->empty()) {
    composed = engine.layout(project, root, base.atTime(frame.time), *target, locale);
  } else {
    const std::vector<MotionScene>& scenes = *motion.scenes;
    base.textSizeCaps = textCaps(project, root, creative, locale, target);
    const MotionScene& current = scenes[static_cast<size_t>(clock->current)];
    const MotionScene& next = scenes[static_cast<size_t>(clock->next)];
    composed = engine.layout(project, root, base.applying(current).atTime(frame.time), *target, locale);
    if (clock->progress > 0 && clock->current != clock->next && (changesContent(current) || changesContent(next))) {
      ComposedSlide incoming = engine.layout(project, root, base.applying(next).atTime(frame.time), *target, locale);
      composed = handOver(composed, incoming, clock->progress, motion);
    }
  }
  composed = MotionComposer::apply(frame, std::move(composed));

  // Moved elements are checked again, so that one that leaves the safe area is caught at the
  // moment it does; a finding the still layout already made isn't repeated.
  if (target->safeArea) {
    for (Issue issue : safeAreaIssues(composed.elements, *target->safeArea, *target, creative.id(), locale)) {
      const bool known = std::any_of(composed.issues.begin(), composed.issues.end(), [&](const Issue& other) {
        return other.code == issue.code && other.element == issue.element;
      });
      if (known) continue;
      issue.message += formatted(" (at %.2f s)", frame.time);
      composed.issues.push_back(std::move(issue));
    }
  }
  return composed;
}

MotionRenderer::Frame MotionRenderer::frame(const Project& project, const std::string& root,
                                            const Creative& creative, const std::string& locale, double time,
                                            double scale, LayerCache* layers, const StoreTarget* canvas) const {
  const MotionFrame moment = creative.motion ? creative.motion->frame(time) : MotionFrame{};
  std::optional<ComposedSlide> composed = layout(project, root, creative, locale, moment, canvas);
  if (!composed) throw VornoError::invalid("Unknown canvas " + creative.canvas + ".");
  Image image = SlideRenderer::composite(*composed, 0, scale, layers);
  return {std::move(image), std::move(*composed)};
}

}  // namespace vorno
