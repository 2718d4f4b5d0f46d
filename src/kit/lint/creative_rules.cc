// The rules of App Store creatives and of their loops. A creative is a slide on a canvas of its
// own; in motion it is a video that App Store Connect takes only on some canvases, at some
// lengths and frame rates, and that should loop calmly without a jump at the seam.
//
// Messages with numbers are printf formats, so that seconds read the same everywhere ("5.0 s",
// "1.10 s") and a seam's values keep three significant digits.
#include "kit/lint/linter.h"

#include "kit/model/creative.h"
#include "kit/model/motion.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/store/file_name.h"
#include "kit/util/format.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <set>
#include <string>
#include <vector>

namespace vorno {
namespace {

using Severity = Issue::Severity;

constexpr double seamTolerance = 0.000001;

// The ids an element of the creative can be animated by: its free elements, and its own texts
// and device when it has them.
std::set<std::string> offeredIDs(const Creative& creative) {
  const Slide& slide = creative.slide;
  std::set<std::string> ids;
  for (const SlideElement& element : slide.elements) ids.insert(element.id);
  if (slide.eyebrow) ids.insert("eyebrow");
  if (slide.subhead) ids.insert("subhead");
  if (!slide.headline.isEmpty()) ids.insert("headline");
  if (slide.device) ids.insert("device");
  return ids;
}

// The findings of one creative's motion, each under the creative's id.
class MotionFindings {
 public:
  MotionFindings(const Motion& motion, const Creative& creative)
      : motion_(motion), creative_(creative), loop_(motion.resolvedDuration()) {}

  std::vector<Issue> all() && {
    storeFormat();
    unknownNames();
    scenes();
    tracks();
    waves();
    return std::move(issues_);
  }

 private:
  void add(Severity severity, const char* code, std::string message) {
    Issue issue(severity, code, std::move(message));
    issue.slide = creative_.id();
    issues_.push_back(std::move(issue));
  }

  // What App Store Connect takes: video on the header and search results only, 5-30 s loops,
  // 30 or 60 fps, a poster inside the loop. An unknown canvas is the creative's own rule.
  void storeFormat() {
    const StoreTarget* canvas = StoreTarget::canvas(creative_.canvas);
    if (canvas != nullptr && canvas->id == StoreTarget::appStoreUniversal().id)
      add(Severity::error, "motion.canvas",
          canvas->name +
              " art is a still: App Store Connect takes video for the header (ios.header) and search results "
              "(ios.search-results) only.");
    if (!Motion::durations.contains(loop_))
      add(Severity::error, "motion.duration", formatted("The loop runs %.1f s; App Store Connect takes 5–30 s.", loop_));
    const int fps = motion_.resolvedFPS();
    if (std::find(Motion::frameRates.begin(), Motion::frameRates.end(), fps) == Motion::frameRates.end())
      add(Severity::error, "motion.fps", std::to_string(fps) + " fps: App Store Connect takes 30 or 60.");
    if (motion_.poster && (*motion_.poster < 0 || *motion_.poster > loop_))
      add(Severity::warning, "motion.poster",
          formatted("The poster at %.1f s is outside the %.1f s loop.", *motion_.poster, loop_));
  }

  // Names that animate nothing. The camera is no element: it is the reserved id that moves the
  // whole picture, so it is always a fair name.
  void unknownNames() {
    const std::set<std::string> offered = offeredIDs(creative_);
    std::set<std::string> named;
    if (motion_.transition && motion_.transition->elements)
      for (const auto& [element, style] : *motion_.transition->elements) named.insert(element);
    if (motion_.tracks)
      for (const auto& [element, keyframes] : *motion_.tracks) named.insert(element);
    if (motion_.waves)
      for (const auto& [element, waves] : *motion_.waves) named.insert(element);
    for (const std::string& element : named) {
      if (offered.contains(element) || element == Motion::camera) continue;
      add(Severity::warning, "motion.unknown-id",
          "Motion names " + element + ", which isn't an element of " + creative_.id() + ". Ids: " +
              joined(std::vector<std::string>(offered.begin(), offered.end())) + ".");
    }
  }

  // Scenes that line up with the loop, hand over calmly and stay long enough to read.
  void scenes() {
    const std::vector<MotionScene> noScenes;
    const std::vector<MotionScene>& scenes = motion_.scenes ? *motion_.scenes : noScenes;
    if (!scenes.empty() && motion_.duration) {
      double sum = 0;
      for (const MotionScene& scene : scenes) sum += scene.duration;
      if (std::abs(*motion_.duration - sum) > 0.01)
        add(Severity::warning, "motion.scenes",
            formatted("The scenes add up to %.2f s but duration is %.2f s, so they don't line up with the loop and it "
                      "jumps. Leave duration out or match it.",
                      sum, *motion_.duration));
    }
    double transition = 1.1;
    if (motion_.transition && motion_.transition->duration) transition = *motion_.transition->duration;
    transition = std::max(transition, 0.0);
    if (scenes.size() >= 2 && transition < 0.4)
      add(Severity::info, "motion.fast",
          formatted("Transitions of %.2f s read as cuts. Apple asks for calm motion without quick cuts; 0.8–1.2 s "
                    "reads well.",
                    transition));
    for (size_t n = 1; n <= scenes.size(); ++n) {
      const double duration = scenes[n - 1].duration;
      if (duration <= 0) {
        add(Severity::error, "motion.scene", "Scene " + std::to_string(n) + " has no duration.");
        continue;
      }
      // A lone scene never hands over, so all of it is rest.
      if (scenes.size() < 2) continue;
      const double rest = duration - transition;
      if (rest < 1.5)
        add(Severity::warning, "motion.short",
            formatted("Scene %d is on screen at rest for %.1f s: too quick to read. Give it at least %.1f s.",
                      static_cast<int>(n), std::max(rest, 0.0), transition + 1.5));
    }
  }

  // Keyframes inside the loop, and tracks that end where they start. The map is sorted by id.
  void tracks() {
    if (!motion_.tracks) return;
    for (const auto& [element, track] : *motion_.tracks) {
      for (const Keyframe& keyframe : track)
        if (keyframe.t < 0 || keyframe.t > loop_ + seamTolerance)
          add(Severity::warning, "motion.keyframe",
              formatted("%s has a keyframe at %.2f s, outside the %.1f s loop.", element.c_str(), keyframe.t, loop_));
      seams(element, track);
    }
  }

  void seams(const std::string& element, const std::vector<Keyframe>& track) {
    std::vector<Keyframe> sorted = track;
    std::stable_sort(sorted.begin(), sorted.end(), [](const Keyframe& a, const Keyframe& b) { return a.t < b.t; });
    for (MotionProperty property : {MotionProperty::x, MotionProperty::y, MotionProperty::scale,
                                    MotionProperty::rotation, MotionProperty::opacity}) {
      bool defined = std::any_of(sorted.begin(), sorted.end(),
                                 [&](const Keyframe& k) { return k.value(property).has_value(); });
      if (!defined) continue;
      std::optional<double> start = Motion::value(sorted, 0, property);
      std::optional<double> end = Motion::value(sorted, loop_, property);
      if (!start || !end || std::abs(*start - *end) <= seamTolerance) continue;
      add(Severity::warning, "motion.seam",
          formatted("%s's %s is %.3g at the start and %.3g at the end, so the loop jumps. Add a keyframe at %.1f s "
                    "with the starting value.",
                    element.c_str(), std::string(rawValue(property)).c_str(), *start, *end, loop_));
    }
  }

  // Waves loop by whole cycles; fewer than one cannot come back to where it began.
  void waves() {
    if (!motion_.waves) return;
    for (const auto& [element, waves] : *motion_.waves) {
      bool partial = std::any_of(waves.begin(), waves.end(), [](const Wave& w) { return w.cycles && *w.cycles < 1; });
      if (partial)
        add(Severity::error, "motion.wave", element + " has a wave with fewer than 1 cycle: waves loop in whole cycles.");
    }
  }

  const Motion& motion_;
  const Creative& creative_;
  const double loop_;
  std::vector<Issue> issues_;
};

}  // namespace

std::vector<Issue> Linter::motionIssues(const Motion& motion, const Creative& creative) {
  return MotionFindings(motion, creative).all();
}

std::vector<Issue> Linter::creativeIssues(const Project& project) {
  std::vector<Issue> issues;
  std::set<std::string> seen;
  for (const Creative& creative : project.creatives) {
    const std::string& id = creative.id();
    auto add = [&](Severity severity, const char* code, std::string message) {
      Issue issue(severity, code, std::move(message));
      issue.slide = id;
      issues.push_back(std::move(issue));
    };
    const StoreTarget* canvas = StoreTarget::canvas(creative.canvas);
    if (canvas == nullptr || !canvas->isCreative())
      add(Severity::error, "creative.canvas",
          "Creative " + id + " is on canvas " + creative.canvas + ", which Vorno doesn't know. Known: " +
              knownTargetIDs(KnownTargets::canvases) + ".");
    if (!seen.insert(id).second) add(Severity::error, "creative.duplicate-id", "Two creatives share the id " + id + ".");
    if (project.slide(id) != nullptr)
      add(Severity::error, "creative.id-taken", "Creative " + id + " has a slide's id. Give it its own, e.g. header or search.");
    if (!FileName::isSafeComponent(id))
      add(Severity::error, "creative.id",
          "Creative id \"" + id + "\" can't be a file name: use letters, digits, - and _ (no /, no leading dot).");
    if (creative.motion) {
      std::vector<Issue> motion = motionIssues(*creative.motion, creative);
      issues.insert(issues.end(), std::make_move_iterator(motion.begin()), std::make_move_iterator(motion.end()));
    }
    // Store art is read in every market, so each of the three texts is checked, not the headline
    // alone; a text left empty on purpose is no finding.
    const Slide& slide = creative.slide;
    const std::pair<const char*, const LocalizedText*> texts[] = {
        {"Headline", &slide.headline},
        {"Eyebrow", slide.eyebrow ? &*slide.eyebrow : nullptr},
        {"Subhead", slide.subhead ? &*slide.subhead : nullptr},
    };
    for (const std::string& locale : project.locales) {
      for (const auto& [label, text] : texts) {
        if (text == nullptr || text->isEmpty() || text->has(locale)) continue;
        Issue issue(Severity::warning, "text.missing-locale",
                    std::string(label) + " has no " + locale + " text. Apple asks for every word in store art to be translated.");
        issue.slide = id;
        issue.locale = locale;
        issues.push_back(std::move(issue));
      }
    }
  }
  return issues;
}

}  // namespace vorno
