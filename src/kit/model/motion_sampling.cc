// Sampling of a motion: from a time to every element's pose.
//
// How it works: a frame is built in three layers over one map of poses. Keyframe tracks set
// absolute positions and rotations and scale the size and opacity; waves add sine offsets in
// whole cycles per loop; the scene clock adds the hand-over between scenes, where leaving
// elements are gone before arriving ones start (except in a crossfade). Everything is a function
// of the time modulo the loop's length, so a video ends where it began.
//
// Sampling never fails. Times are brought into the loop before anything else, divisions are by
// a length of at least 0.001, and a time that is not a number counts as the loop's start, so a
// frame is finite for any input the document can hold.

#include "kit/model/motion.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace vorno {
namespace {

constexpr double defaultDuration = 10;
constexpr int defaultFPS = 30;
/// The hand-over length when the transition doesn't say.
constexpr double defaultHandOver = 1.1;
/// The smallest length we divide by, so that a zero duration never divides by zero.
constexpr double shortestSpan = 0.001;
/// Slack for a time that lands on a scene's start after a sum of doubles.
constexpr double startSlack = 1e-9;

double clamp01(double v) {
  if (std::isnan(v)) return 0;
  return std::clamp(v, 0.0, 1.0);
}

/// `time` brought into 0..<period; a time that is not a number, or a period that is not
/// positive, gives 0.
double wrapped(double time, double period) {
  if (!std::isfinite(time) || !(period > 0)) return 0;
  // Only a sum of enormous scene lengths overflows to an endless loop; then nothing wraps.
  if (std::isinf(period)) return std::max(time, 0.0);
  double u = std::fmod(time, period);
  if (u < 0) u += period;
  // A tiny negative remainder plus the period rounds to the period itself, which is the loop's
  // start again; -0 is the start too.
  if (u >= period || u == 0) u = 0;
  return u;
}

/// The scene clock over a given list of scenes, handing over as `transition` says.
std::optional<SceneClock> clockOf(const std::vector<MotionScene>& scenes, const std::optional<MotionTransition>& transition,
                                  double time) {
  if (scenes.empty()) return std::nullopt;
  double handOver = defaultHandOver;
  if (transition && transition->duration) handOver = std::max(*transition->duration, 0.0);
  if (std::isnan(handOver)) handOver = 0;

  std::vector<double> starts;
  std::vector<double> durations;
  starts.reserve(scenes.size());
  durations.reserve(scenes.size());
  double total = 0;
  for (const MotionScene& scene : scenes) {
    const double duration = scene.duration > 0 ? scene.duration : 0;
    starts.push_back(total);
    durations.push_back(duration);
    total += duration;
  }
  const double u = wrapped(time, std::max(total, shortestSpan));

  SceneClock clock;
  for (size_t i = 0; i < starts.size(); ++i)
    if (starts[i] <= u + startSlack) clock.current = static_cast<int>(i);
  const int count = static_cast<int>(scenes.size());
  clock.next = (clock.current + 1) % count;

  if (count == 1 || handOver == 0) return clock;
  const size_t current = static_cast<size_t>(clock.current);
  const double handOverStart = starts[current] + durations[current] - std::min(durations[current], handOver);
  if (u >= handOverStart) clock.progress = std::min((u - handOverStart) / std::max(handOver, shortestSpan), 1.0);
  return clock;
}

/// The pose of an element that one of the two scenes shows and the other doesn't.
MotionPose handOverPose(bool arriving, TransitionStyle style, double p) {
  // Arrival begins only after 0.55 of the hand-over; departure is over at 0.45.
  const double q = clamp01((p - 0.55) / 0.45);
  const double e = 1 - std::pow(1 - q, 3);
  const double d = applyEase(Ease::inOut, clamp01(p / 0.45));

  MotionPose pose;
  if (arriving) {
    switch (style) {
      case TransitionStyle::rise:
        pose.opacity = e;
        pose.dy = (1 - e) * 0.022;
        break;
      case TransitionStyle::fade: pose.opacity = e; break;
      case TransitionStyle::slide:
        pose.opacity = e;
        pose.dx = (1 - e) * 0.03;
        break;
      case TransitionStyle::zoom:
        pose.opacity = e;
        pose.scale = 0.96 + e * 0.04;
        break;
      case TransitionStyle::crossfade:
        pose.opacity = applyEase(Ease::inOut, p);
        pose.lift = p > 0;
        break;
      case TransitionStyle::cut: pose.opacity = p >= 1 ? 1 : 0; break;
    }
  } else {
    switch (style) {
      case TransitionStyle::rise:
        pose.opacity = 1 - d;
        pose.dy = d * -0.014;
        break;
      case TransitionStyle::fade: pose.opacity = 1 - d; break;
      case TransitionStyle::slide:
        pose.opacity = 1 - d;
        pose.dx = d * -0.03;
        break;
      case TransitionStyle::zoom:
        pose.opacity = 1 - d;
        pose.scale = 1 + d * 0.04;
        break;
      // The old element stays whole under a crossfade, so the new one rises on top of it.
      case TransitionStyle::crossfade:
      case TransitionStyle::cut: pose.opacity = p >= 1 ? 0 : 1; break;
    }
  }
  return pose;
}

}  // namespace

double applyEase(Ease ease, double t) {
  const double c = clamp01(t);
  switch (ease) {
    case Ease::linear: return c;
    case Ease::in: return c * c * c;
    case Ease::out: return 1 - std::pow(1 - c, 3);
    case Ease::inOut: return c < 0.5 ? 4 * c * c * c : 1 - std::pow(2 - 2 * c, 3) / 2;
    case Ease::hold: return t >= 1 ? 1 : 0;
  }
  return c;
}

double Motion::resolvedDuration() const {
  if (duration) return *duration;
  if (scenes && !scenes->empty()) {
    double total = 0;
    for (const MotionScene& scene : *scenes) total += scene.duration > 0 ? scene.duration : 0;
    return total;
  }
  return defaultDuration;
}

int Motion::resolvedFPS() const { return fps.value_or(defaultFPS); }

int Motion::frameCount() const {
  // Worked out in doubles: a document may hold a huge duration or frame rate, and the count must
  // stay a valid int.
  const double frames = std::round(resolvedDuration() * static_cast<double>(resolvedFPS()));
  if (!(frames >= 1)) return 1;
  if (frames >= static_cast<double>(std::numeric_limits<int>::max())) return std::numeric_limits<int>::max();
  return static_cast<int>(frames);
}

double Motion::posterTime() const {
  double time = poster.value_or(0);
  if (std::isnan(time)) time = 0;
  return std::max(0.0, std::min(time, resolvedDuration()));
}

std::set<std::string> Motion::mentionedIDs() const {
  std::set<std::string> ids;
  if (scenes) {
    for (const MotionScene& scene : *scenes) {
      if (scene.show) ids.insert(scene.show->begin(), scene.show->end());
      if (scene.texts)
        for (const auto& [id, text] : *scene.texts) ids.insert(id);
      if (scene.screens)
        for (const auto& [id, screen] : *scene.screens) ids.insert(id);
    }
  }
  if (tracks)
    for (const auto& [id, keyframes] : *tracks) ids.insert(id);
  if (waves)
    for (const auto& [id, list] : *waves) ids.insert(id);
  if (transition && transition->elements)
    for (const auto& [id, style] : *transition->elements) ids.insert(id);
  return ids;
}

std::optional<double> Keyframe::value(MotionProperty property) const {
  switch (property) {
    case MotionProperty::x: return x;
    case MotionProperty::y: return y;
    case MotionProperty::scale: return scale;
    case MotionProperty::rotation: return rotation;
    case MotionProperty::opacity: return opacity;
  }
  return std::nullopt;
}

std::optional<double> Motion::value(const std::vector<Keyframe>& keyframes, double time, MotionProperty property) {
  // The keyframes that set this property, in time order; a list sorted already stays as it is.
  std::vector<std::pair<const Keyframe*, double>> setting;
  for (const Keyframe& keyframe : keyframes)
    if (auto v = keyframe.value(property)) setting.emplace_back(&keyframe, *v);
  if (setting.empty()) return std::nullopt;
  std::stable_sort(setting.begin(), setting.end(), [](const auto& a, const auto& b) { return a.first->t < b.first->t; });

  if (std::isnan(time) || time <= setting.front().first->t) return setting.front().second;
  if (time >= setting.back().first->t) return setting.back().second;
  for (size_t i = 0; i + 1 < setting.size(); ++i) {
    const auto& [a, from] = setting[i];
    const auto& [b, to] = setting[i + 1];
    if (!(a->t <= time && time <= b->t)) continue;
    const double span = b->t - a->t;
    // Two keyframes at one time make the value jump there; the earlier pair has already
    // answered for that exact time, so this pair only matters past it.
    if (!(span > 0)) return to;
    // Motion starts and stops softly unless a keyframe says otherwise.
    const double eased = applyEase(b->ease.value_or(Ease::inOut), (time - a->t) / span);
    double result = from + (to - from) * eased;
    // Between values at opposite ends of the double range the difference overflows; the
    // weighted form stays finite there.
    if (!std::isfinite(result)) result = from * (1 - eased) + to * eased;
    return result;
  }
  return setting.back().second;
}

std::optional<SceneClock> Motion::sceneClock(double at) const {
  if (!scenes) return std::nullopt;
  return clockOf(*scenes, transition, at);
}

std::map<std::string, MotionPose> Motion::scenePoses(const std::vector<MotionScene>& sceneList, double at) const {
  std::map<std::string, MotionPose> poses;
  const std::optional<SceneClock> clock = clockOf(sceneList, transition, at);
  if (!clock) return poses;

  auto shownIn = [&](int scene) {
    std::set<std::string> shown;
    const auto& show = sceneList[static_cast<size_t>(scene)].show;
    if (show) shown.insert(show->begin(), show->end());
    return shown;
  };
  const std::set<std::string> a = shownIn(clock->current);
  const std::set<std::string> b = shownIn(clock->next);
  std::set<std::string> ids;
  for (const MotionScene& scene : sceneList)
    if (scene.show) ids.insert(scene.show->begin(), scene.show->end());

  const double p = clock->progress;
  for (const std::string& id : ids) {
    const bool inA = a.contains(id);
    const bool inB = b.contains(id);
    MotionPose pose;
    if (inA == inB) {
      pose.opacity = inA ? 1 : 0;
    } else {
      pose = handOverPose(inB, transitionStyle(id), p);
    }
    poses.emplace(id, pose);
  }
  return poses;
}

TransitionStyle Motion::transitionStyle(const std::string& id) const {
  if (transition && transition->elements)
    if (auto it = transition->elements->find(id); it != transition->elements->end()) return it->second;
  if (transition && transition->style) return *transition->style;
  return TransitionStyle::rise;
}

namespace {

MotionPose laidOver(MotionPose pose, const MotionPose& change) {
  pose.dx += change.dx;
  pose.dy += change.dy;
  pose.scale *= change.scale;
  pose.opacity *= change.opacity;
  pose.lift = pose.lift || change.lift;
  return pose;
}

}  // namespace

MotionPose Motion::arrive(const MotionPose& pose, TransitionStyle style, double p) {
  return laidOver(pose, handOverPose(true, style, p));
}

MotionPose Motion::depart(const MotionPose& pose, TransitionStyle style, double p) {
  return laidOver(pose, handOverPose(false, style, p));
}

namespace {

// Every element's pose at `u` seconds into the loop, put into `result`.
MotionFrame withPoses(const Motion& motion, MotionFrame result, double u) {
  const double d = motion.resolvedDuration();
  std::map<std::string, MotionPose> poses;
  if (motion.tracks) {
    for (const auto& [id, track] : *motion.tracks) {
      // `value` reads each property's keyframes in stable time order, so the track is used as
      // written.
      MotionPose& pose = poses[id];
      if (auto v = Motion::value(track, u, MotionProperty::x)) pose.x = *v;
      if (auto v = Motion::value(track, u, MotionProperty::y)) pose.y = *v;
      if (auto v = Motion::value(track, u, MotionProperty::rotation)) pose.rotation = *v;
      if (auto v = Motion::value(track, u, MotionProperty::scale)) pose.scale *= *v;
      if (auto v = Motion::value(track, u, MotionProperty::opacity)) pose.opacity *= clamp01(*v);
    }
  }
  if (motion.waves) {
    const double period = std::max(d, shortestSpan);
    for (const auto& [id, list] : *motion.waves) {
      MotionPose& pose = poses[id];
      for (const Wave& wave : list) {
        const double cycles = wave.cycles.value_or(1);
        const double w = wave.amplitude * std::sin(2 * std::numbers::pi * (wave.phase.value_or(0) + u * cycles / period));
        switch (wave.property) {
          case MotionProperty::x: pose.dx += w; break;
          case MotionProperty::y: pose.dy += w; break;
          case MotionProperty::scale: pose.scale *= 1 + w; break;
          case MotionProperty::rotation: pose.dRotation += w; break;
          case MotionProperty::opacity: pose.opacity *= clamp01(1 + w); break;
        }
      }
    }
  }
  if (motion.scenes) {
    for (const auto& [id, scenePose] : motion.scenePoses(*motion.scenes, u)) {
      MotionPose& pose = poses[id];
      pose.dx += scenePose.dx;
      pose.dy += scenePose.dy;
      pose.scale *= scenePose.scale;
      pose.opacity *= scenePose.opacity;
      pose.lift = scenePose.lift;
    }
  }

  const std::string cameraID(Motion::camera);
  if (auto it = poses.find(cameraID); it != poses.end()) {
    result.camera = it->second;
    poses.erase(it);
  }
  result.poses = std::move(poses);
  return result;
}

}  // namespace

MotionFrame Motion::frame(double at) const {
  const double d = resolvedDuration();
  const double u = d > 0 ? wrapped(at, d) : 0;

  MotionFrame result;
  result.time = u;
  // The index counts frames of the unwrapped time, so that it follows the video's own frames.
  // Halves round up rather than away from zero, so that a loop's indices repeat across 0 too.
  const int count = frameCount();
  const double frames = std::floor(at * static_cast<double>(resolvedFPS()) + 0.5);
  if (std::isfinite(frames)) {
    double index = std::fmod(frames, static_cast<double>(count));
    if (index < 0) index += count;
    if (index >= count) index = 0;
    result.index = static_cast<int>(index);
  }

  return withPoses(*this, std::move(result), u);
}

MotionFrame Motion::loopEnd() const {
  const double end = std::max(resolvedDuration(), 0.0);
  MotionFrame result;
  result.time = end;
  return withPoses(*this, std::move(result), end);
}

}  // namespace vorno
