// Motion: the loop a creative can play, made of scenes shown in turn, keyframe tracks and sine
// waves per element id. This file holds the document's records and the records that sampling
// produces (MotionPose, MotionFrame, SceneClock); times are seconds and loop over the duration.
#pragma once

#include "kit/model/enum_names.h"
#include "kit/model/localized_text.h"
#include "kit/model/slide_element.h"

#include <array>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

enum class TransitionStyle { rise, fade, crossfade, slide, zoom, cut };
enum class Ease { linear, in, out, inOut, hold };
enum class MotionProperty { x, y, scale, rotation, opacity };

template <>
struct EnumNames<TransitionStyle> {
  static constexpr std::string_view typeName = "TransitionStyle";
  static constexpr std::array<std::string_view, 6> names{"rise", "fade", "crossfade", "slide", "zoom", "cut"};
};
template <>
struct EnumNames<Ease> {
  static constexpr std::string_view typeName = "Ease";
  static constexpr std::array<std::string_view, 5> names{"linear", "in", "out", "in-out", "hold"};
};
template <>
struct EnumNames<MotionProperty> {
  static constexpr std::string_view typeName = "MotionProperty";
  static constexpr std::array<std::string_view, 5> names{"x", "y", "scale", "rotation", "opacity"};
};

/// One scene of the loop: which elements show, and which texts and captures it swaps in.
struct MotionScene {
  double duration = 0;
  std::optional<std::vector<std::string>> show;                 ///< element ids
  std::optional<std::map<std::string, LocalizedText>> texts;    ///< by element id
  std::optional<std::map<std::string, ScreenshotRef>> screens;  ///< by element id

  bool operator==(const MotionScene&) const = default;
};

/// How scenes hand over, overall and per element id.
struct MotionTransition {
  std::optional<TransitionStyle> style;
  std::optional<double> duration;
  std::optional<std::map<std::string, TransitionStyle>> elements;

  bool operator==(const MotionTransition&) const = default;
};

/// An element's state at time `t`; absent properties are not animated by this keyframe.
struct Keyframe {
  double t = 0;
  std::optional<double> x;  ///< centre, fraction of the canvas
  std::optional<double> y;
  std::optional<double> scale;     ///< a multiplier
  std::optional<double> rotation;  ///< degrees
  std::optional<double> opacity;   ///< a multiplier
  std::optional<Ease> ease;        ///< into this keyframe

  /// The value this keyframe gives `property`, if it sets it.
  std::optional<double> value(MotionProperty property) const;

  bool operator==(const Keyframe&) const = default;
};

/// The share of a change that is done at `t`, for `t` clamped to 0...1: cubic in, out or both,
/// or a hold that stays 0 until `t` reaches 1.
double applyEase(Ease ease, double t);

/// A sine motion of one property, in whole cycles per loop so that it never seams.
struct Wave {
  MotionProperty property = MotionProperty::y;
  double amplitude = 0;
  std::optional<int> cycles;    ///< per loop; 1 when absent
  std::optional<double> phase;  ///< fractions of a cycle

  bool operator==(const Wave&) const = default;
};

struct MotionPose;
struct MotionFrame;
struct SceneClock;

struct Motion {
  /// The allowed range of a loop's length, in seconds.
  struct DurationRange {
    double lowerBound;
    double upperBound;
    constexpr bool contains(double seconds) const { return seconds >= lowerBound && seconds <= upperBound; }
  };

  static constexpr DurationRange durations{5, 30};
  static constexpr std::array<int, 2> frameRates{30, 60};
  /// The reserved element id whose pose moves the whole picture.
  static constexpr std::string_view camera = "camera";

  std::optional<double> duration;  ///< by default the scenes' total
  std::optional<int> fps;          ///< 30 when absent
  std::optional<double> poster;    ///< the time of the still; 0 when absent
  std::optional<std::vector<MotionScene>> scenes;
  std::optional<MotionTransition> transition;
  std::optional<std::map<std::string, std::vector<Keyframe>>> tracks;  ///< by element id
  std::optional<std::map<std::string, std::vector<Wave>>> waves;       ///< by element id

  bool operator==(const Motion&) const = default;

  // Sampling. Every function below is total: any time, any empty field and any negative value
  // give a defined, finite answer, and the linter speaks of odd input instead.

  /// `duration`, else the scenes' total (negatives as 0) when there are scenes, else 10.
  double resolvedDuration() const;
  /// `fps`, else 30.
  int resolvedFPS() const;
  /// The loop's length in frames, rounded, at least 1.
  int frameCount() const;
  /// The still's time, kept within 0...resolvedDuration.
  double posterTime() const;
  /// Every element id that a scene, track, wave or transition names.
  std::set<std::string> mentionedIDs() const;

  /// The value of one property at `time` along a keyframe track, eased into each keyframe by
  /// its own ease (in-out when absent); nothing when no keyframe sets the property.
  static std::optional<double> value(const std::vector<Keyframe>& keyframes, double time, MotionProperty property);

  /// Which scene is on and how far the hand-over to the next has come; nothing without scenes.
  std::optional<SceneClock> sceneClock(double at) const;
  /// The hand-over's effect on every element that some scene shows, with this motion's
  /// transition; ids that no scene names are absent, as they are always there.
  std::map<std::string, MotionPose> scenePoses(const std::vector<MotionScene>& scenes, double at) const;
  /// Every element's pose at `at` seconds, looped over the duration.
  MotionFrame frame(double at) const;
  /// The moment the loop reaches its end, just before it starts again: tracks and waves as they
  /// stand at the full duration, the scenes handing back to the first. A loop without a seam
  /// looks the same here as at 0.
  MotionFrame loopEnd() const;

  /// How an element hands over between scenes: its own entry in the transition, else the
  /// transition's style, else rise.
  TransitionStyle transitionStyle(const std::string& id) const;
  /// `pose` with the arrival of a hand-over at progress `p` laid over it: the new element
  /// appears in the second part of the hand-over (at once for a crossfade, at the end for a cut).
  static MotionPose arrive(const MotionPose& pose, TransitionStyle style, double p);
  /// `pose` with the departure of a hand-over at progress `p` laid over it: the old element is
  /// gone in the first part (whole until the end for a crossfade or a cut).
  static MotionPose depart(const MotionPose& pose, TransitionStyle style, double p);
};

/// The state of one element at one moment.
struct MotionPose {
  std::optional<double> x;  ///< absolute centre, canvas fraction
  std::optional<double> y;
  double dx = 0;  ///< offset, canvas fraction
  double dy = 0;
  double scale = 1;
  std::optional<double> rotation;  ///< absolute degrees
  double dRotation = 0;            ///< added degrees
  double opacity = 1;              ///< multiplier, 0 through 1
  bool lift = false;               ///< drawn above the others during a crossfade

  bool operator==(const MotionPose&) const = default;
};

/// Every element's pose at one moment of the loop.
struct MotionFrame {
  double time = 0;  ///< within the loop
  int index = 0;
  std::map<std::string, MotionPose> poses;  ///< never holds the camera
  MotionPose camera;

  bool operator==(const MotionFrame&) const = default;
};

/// Where the loop stands among its scenes: `progress` is the share of the hand-over from
/// `current` to `next` that is done.
struct SceneClock {
  int current = 0;
  int next = 0;
  double progress = 0;

  bool operator==(const SceneClock&) const = default;
};

}  // namespace vorno
