#include "kit/model/motion.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

namespace vorno::motion_sampling_test {
namespace {

Keyframe at(double t) { return Keyframe{t, {}, {}, {}, {}, {}, {}}; }

Keyframe xAt(double t, double x, std::optional<Ease> ease = std::nullopt) {
  Keyframe k = at(t);
  k.x = x;
  k.ease = ease;
  return k;
}

MotionScene scene(double duration, std::vector<std::string> show) {
  MotionScene s;
  s.duration = duration;
  s.show = std::move(show);
  return s;
}

/// An 8 s loop that uses every layer: a track, a wave on the camera and on an element, and two
/// scenes with a hand-over.
Motion busyLoop() {
  Motion m;
  m.duration = 8;
  m.scenes = std::vector<MotionScene>{scene(4, {"phone", "title"}), scene(4, {"title", "badge"})};
  Keyframe first = at(0);
  first.x = 0.5;
  first.scale = 1;
  first.opacity = 1;
  Keyframe middle = at(4);
  middle.x = 0.6;
  middle.scale = 1.2;
  middle.opacity = 0.5;
  Keyframe last = at(8);
  last.x = 0.5;
  last.scale = 1;
  last.opacity = 1;
  m.tracks = std::map<std::string, std::vector<Keyframe>>{{"phone", {first, middle, last}}};
  m.waves = std::map<std::string, std::vector<Wave>>{
      {"camera", {Wave{MotionProperty::scale, 0.02, 2, 0.25}}},
      {"title", {Wave{MotionProperty::y, 0.01, {}, {}}}},
  };
  return m;
}

// Ease

TEST(MotionEase, CurvesMatchTheirFormulasAndClampTheirInput) {
  EXPECT_DOUBLE_EQ(applyEase(Ease::linear, 0.3), 0.3);
  EXPECT_DOUBLE_EQ(applyEase(Ease::in, 0.5), 0.125);
  EXPECT_DOUBLE_EQ(applyEase(Ease::out, 0.5), 0.875);
  EXPECT_DOUBLE_EQ(applyEase(Ease::inOut, 0.25), 4 * 0.25 * 0.25 * 0.25);
  EXPECT_DOUBLE_EQ(applyEase(Ease::inOut, 0.75), 1 - std::pow(0.5, 3) / 2);
  EXPECT_DOUBLE_EQ(applyEase(Ease::inOut, 0.5), 0.5);
  EXPECT_DOUBLE_EQ(applyEase(Ease::linear, -3), 0);
  EXPECT_DOUBLE_EQ(applyEase(Ease::out, 7), 1);
  EXPECT_DOUBLE_EQ(applyEase(Ease::linear, std::nan("")), 0);
}

TEST(MotionEase, HoldIsZeroUntilOneAndOneFromThere) {
  EXPECT_EQ(applyEase(Ease::hold, 0), 0);
  EXPECT_EQ(applyEase(Ease::hold, 0.999), 0);
  EXPECT_EQ(applyEase(Ease::hold, 1), 1);
  EXPECT_EQ(applyEase(Ease::hold, 5), 1);
}

// Resolved values

TEST(MotionSampling, MotionWithNothingSetIsTenSecondsAtThirtyFPSWithNoPoses) {
  Motion m;
  EXPECT_EQ(m.resolvedDuration(), 10);
  EXPECT_EQ(m.resolvedFPS(), 30);
  EXPECT_EQ(m.frameCount(), 300);
  for (double t : {0.0, 3.3, 12.0, -4.0}) {
    MotionFrame f = m.frame(t);
    EXPECT_TRUE(f.poses.empty()) << t;
    EXPECT_EQ(f.camera, MotionPose{}) << t;
  }
  EXPECT_FALSE(m.sceneClock(2).has_value());
  EXPECT_TRUE(m.mentionedIDs().empty());
}

TEST(MotionSampling, DurationDefaultsToTheScenesTotalWithNegativesAsZero) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(3, {}), scene(-2, {}), scene(4.5, {})};
  EXPECT_DOUBLE_EQ(m.resolvedDuration(), 7.5);
  m.duration = 6;
  EXPECT_DOUBLE_EQ(m.resolvedDuration(), 6);
  m.duration.reset();
  m.scenes = std::vector<MotionScene>{};
  EXPECT_DOUBLE_EQ(m.resolvedDuration(), 10);
}

TEST(MotionSampling, FrameCountRoundsAndIsAtLeastOne) {
  Motion m;
  m.duration = 7.51;
  m.fps = 60;
  EXPECT_EQ(m.frameCount(), 451);
  m.duration = 0;
  EXPECT_EQ(m.frameCount(), 1);
  m.duration = 8;
  m.fps = -30;
  EXPECT_EQ(m.frameCount(), 1);
  m.duration = 1e300;
  m.fps = 60;
  EXPECT_EQ(m.frameCount(), std::numeric_limits<int>::max());
}

TEST(MotionSampling, PosterOf99InAnEightSecondLoopIsEightAndMinusOneIsZero) {
  Motion m;
  m.duration = 8;
  m.poster = 99;
  EXPECT_EQ(m.posterTime(), 8);
  m.poster = -1;
  EXPECT_EQ(m.posterTime(), 0);
  m.poster = 2.5;
  EXPECT_EQ(m.posterTime(), 2.5);
  m.poster.reset();
  EXPECT_EQ(m.posterTime(), 0);
}

TEST(MotionSampling, MentionedIDsGatherEveryPlaceThatNamesAnElement) {
  Motion m;
  MotionScene first = scene(3, {"a"});
  first.texts = std::map<std::string, LocalizedText>{{"b", LocalizedText{}}};
  first.screens = std::map<std::string, ScreenshotRef>{{"c", ScreenshotRef::path("captures/c.png")}};
  m.scenes = std::vector<MotionScene>{first, scene(3, {"a", "d"})};
  m.tracks = std::map<std::string, std::vector<Keyframe>>{{"e", {}}};
  m.waves = std::map<std::string, std::vector<Wave>>{{"camera", {}}};
  m.transition = MotionTransition{{}, {}, std::map<std::string, TransitionStyle>{{"f", TransitionStyle::zoom}}};
  EXPECT_EQ(m.mentionedIDs(), (std::set<std::string>{"a", "b", "c", "camera", "d", "e", "f"}));
}

// Keyframe values

TEST(MotionValue, KeyframesWithoutThePropertyGiveNothing) {
  Keyframe k = at(1);
  k.y = 0.3;
  EXPECT_FALSE(Motion::value({k}, 1, MotionProperty::x).has_value());
  EXPECT_FALSE(Motion::value({}, 1, MotionProperty::x).has_value());
}

TEST(MotionValue, KeyframeListOfOneFrameGivesThatValueAtAllTimes) {
  const std::vector<Keyframe> track{xAt(2, 0.4, Ease::linear)};
  for (double t : {-5.0, 0.0, 1.99, 2.0, 2.01, 9.0, 1e9})
    EXPECT_EQ(Motion::value(track, t, MotionProperty::x), 0.4) << t;
}

TEST(MotionValue, TwoKeyframesAtTheSameTimeJumpThereWithoutDividingByZero) {
  const std::vector<Keyframe> track{xAt(0, 0), xAt(1, 0.2, Ease::linear), xAt(1, 0.8, Ease::linear), xAt(2, 1, Ease::linear)};
  EXPECT_DOUBLE_EQ(*Motion::value(track, 0.5, MotionProperty::x), 0.1);
  EXPECT_DOUBLE_EQ(*Motion::value(track, 1, MotionProperty::x), 0.2);
  EXPECT_DOUBLE_EQ(*Motion::value(track, 1.5, MotionProperty::x), 0.9);

  // Only the two coincident keyframes: before and at the time the first, after it the second.
  const std::vector<Keyframe> jump{xAt(1, 0), xAt(1, 1)};
  EXPECT_EQ(Motion::value(jump, 1, MotionProperty::x), 0);
  EXPECT_EQ(Motion::value(jump, 1.0001, MotionProperty::x), 1);
  for (double t : {0.0, 1.0, 2.0}) EXPECT_TRUE(std::isfinite(*Motion::value(jump, t, MotionProperty::x)));
}

TEST(MotionValue, HoldEaseKeepsTheEarlierValueUntilTheTimeOfTheLaterKeyframe) {
  const std::vector<Keyframe> track{xAt(0, 0.2), xAt(4, 0.8, Ease::hold)};
  EXPECT_EQ(Motion::value(track, 1, MotionProperty::x), 0.2);
  EXPECT_EQ(Motion::value(track, 3.999, MotionProperty::x), 0.2);
  EXPECT_EQ(Motion::value(track, 4, MotionProperty::x), 0.8);
}

TEST(MotionValue, KeyframeWithoutEaseEasesInAndOutNotLinearly) {
  const std::vector<Keyframe> track{xAt(0, 0), xAt(4, 1)};
  EXPECT_DOUBLE_EQ(*Motion::value(track, 1, MotionProperty::x), applyEase(Ease::inOut, 0.25));
  EXPECT_LT(*Motion::value(track, 1, MotionProperty::x), 0.25);
}

TEST(MotionValue, EaseIsTakenFromTheLaterKeyframe) {
  const std::vector<Keyframe> track{xAt(0, 0, Ease::hold), xAt(2, 1, Ease::linear), xAt(4, 0, Ease::in)};
  EXPECT_DOUBLE_EQ(*Motion::value(track, 1, MotionProperty::x), 0.5);
  EXPECT_DOUBLE_EQ(*Motion::value(track, 3, MotionProperty::x), 1 - 0.125);
}

TEST(MotionValue, UnsortedKeyframesAreReadInTimeOrder) {
  const std::vector<Keyframe> track{xAt(4, 1, Ease::linear), xAt(0, 0)};
  EXPECT_DOUBLE_EQ(*Motion::value(track, 1, MotionProperty::x), 0.25);
}

// Scene clock and hand-over

TEST(MotionScenes, SingleSceneNeverHandsOver) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(5, {"phone", "title"})};
  for (double t : {0.0, 2.5, 4.5, 4.99}) {
    std::optional<SceneClock> clock = m.sceneClock(t);
    ASSERT_TRUE(clock.has_value());
    EXPECT_EQ(clock->current, 0);
    EXPECT_EQ(clock->next, 0);
    EXPECT_EQ(clock->progress, 0);
    MotionFrame f = m.frame(t);
    ASSERT_EQ(f.poses.size(), 2u);
    for (const auto& [id, pose] : f.poses) EXPECT_EQ(pose, MotionPose{}) << id << " at " << t;
  }
}

TEST(MotionScenes, TransitionOfDurationZeroCutsAtSceneBoundaries) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(3, {"a"}), scene(3, {"b"})};
  m.transition = MotionTransition{TransitionStyle::rise, 0.0, {}};
  for (double t : {0.0, 2.5, 2.999, 3.0, 5.999}) EXPECT_EQ(m.sceneClock(t)->progress, 0) << t;

  MotionFrame before = m.frame(2.999);
  EXPECT_EQ(before.poses.at("a").opacity, 1);
  EXPECT_EQ(before.poses.at("b").opacity, 0);
  MotionFrame after = m.frame(3);
  EXPECT_EQ(after.poses.at("a").opacity, 0);
  EXPECT_EQ(after.poses.at("b").opacity, 1);
  EXPECT_EQ(m.sceneClock(3)->current, 1);
  EXPECT_EQ(m.sceneClock(3)->next, 0);
}

TEST(MotionScenes, HandOverLiesAtTheEndOfTheCurrentScene) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(4, {"a"}), scene(4, {"b"})};
  // The default hand-over of 1.1 s starts at 2.9 s.
  EXPECT_EQ(m.sceneClock(2.8)->progress, 0);
  EXPECT_NEAR(m.sceneClock(3.45)->progress, 0.5, 1e-12);
  EXPECT_NEAR(m.sceneClock(3.99)->progress, 1.09 / 1.1, 1e-12);
  EXPECT_EQ(m.sceneClock(3.99)->current, 0);
  EXPECT_EQ(m.sceneClock(4)->current, 1);
  EXPECT_EQ(m.sceneClock(4)->progress, 0);
  // Times wrap around the scenes' total.
  EXPECT_EQ(m.sceneClock(8.5)->current, 0);
  EXPECT_EQ(m.sceneClock(-1)->current, 1);
}

TEST(MotionScenes, SceneShorterThanTheHandOverNeverReachesProgressOne) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(0.5, {"a"}), scene(4, {"b"})};
  m.transition = MotionTransition{{}, 2.0, {}};
  EXPECT_NEAR(m.sceneClock(0.49)->progress, 0.245, 1e-12);
}

TEST(MotionScenes, RiseMovesTheOldElementOutBeforeTheNewOneArrives) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(4, {"a", "both"}), scene(4, {"b", "both"})};
  // Halfway through the hand-over the old one is gone and the new one hasn't started.
  std::map<std::string, MotionPose> half = m.scenePoses(*m.scenes, 3.45);
  EXPECT_EQ(half.at("a").opacity, 0);
  EXPECT_DOUBLE_EQ(half.at("a").dy, -0.014);
  EXPECT_EQ(half.at("b").opacity, 0);
  EXPECT_DOUBLE_EQ(half.at("b").dy, 0.022);
  EXPECT_EQ(half.at("both"), MotionPose{});
  // At 0.775 of the hand-over the arrival is at q = 0.5.
  std::map<std::string, MotionPose> late = m.scenePoses(*m.scenes, 2.9 + 1.1 * 0.775);
  EXPECT_NEAR(late.at("b").opacity, 0.875, 1e-9);
  EXPECT_NEAR(late.at("b").dy, 0.125 * 0.022, 1e-9);
}

TEST(MotionScenes, ElementStylesOverrideTheTransitionStyle) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(4, {"a", "c"}), scene(4, {"b"})};
  m.transition = MotionTransition{TransitionStyle::crossfade, 1.0,
                                  std::map<std::string, TransitionStyle>{{"c", TransitionStyle::zoom}}};
  std::map<std::string, MotionPose> poses = m.scenePoses(*m.scenes, 3.5);
  // Crossfade: the old one stays whole and the new one rises on top.
  EXPECT_EQ(poses.at("a").opacity, 1);
  EXPECT_DOUBLE_EQ(poses.at("b").opacity, 0.5);
  EXPECT_TRUE(poses.at("b").lift);
  // Zoom on the leaving element: departure is over at 0.45 of the hand-over.
  EXPECT_EQ(poses.at("c").opacity, 0);
  EXPECT_DOUBLE_EQ(poses.at("c").scale, 1.04);
}

TEST(MotionScenes, ElementsNoSceneNamesAreNotInTheMap) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(4, {"a"}), scene(4, {})};
  m.tracks = std::map<std::string, std::vector<Keyframe>>{{"free", {xAt(0, 0.3)}}};
  std::map<std::string, MotionPose> poses = m.scenePoses(*m.scenes, 1);
  EXPECT_EQ(poses.size(), 1u);
  EXPECT_TRUE(poses.contains("a"));
  MotionFrame f = m.frame(1);
  EXPECT_EQ(f.poses.at("free").opacity, 1);
  EXPECT_EQ(f.poses.at("free").x, 0.3);
}

// Frames

TEST(MotionFrame, FrameAtEightOfAnEightSecondLoopEqualsFrameAtZeroWithIndexZero) {
  Motion m = busyLoop();
  MotionFrame start = m.frame(0);
  MotionFrame end = m.frame(8);
  EXPECT_EQ(end.index, 0);
  EXPECT_EQ(end.time, 0);
  EXPECT_EQ(end.poses, start.poses);
  EXPECT_EQ(end.camera, start.camera);
  EXPECT_FALSE(start.poses.empty());
}

TEST(MotionFrame, FrameAtMinusOneOfAnEightSecondLoopSamplesAtSeven) {
  Motion m = busyLoop();
  MotionFrame back = m.frame(-1);
  MotionFrame seven = m.frame(7);
  EXPECT_EQ(back.time, 7);
  EXPECT_EQ(back.poses, seven.poses);
  EXPECT_EQ(back.camera, seven.camera);
  EXPECT_EQ(back.index, 240 - 30);
}

TEST(MotionFrame, TracksSetPositionsAndScaleSizeAndOpacity) {
  Motion m = busyLoop();
  MotionFrame f = m.frame(4);
  const MotionPose& phone = f.poses.at("phone");
  EXPECT_DOUBLE_EQ(*phone.x, 0.6);
  EXPECT_FALSE(phone.y.has_value());
  EXPECT_DOUBLE_EQ(phone.scale, 1.2);
  // Scene two doesn't show the phone, so its scene opacity is 0 on top of the track's 0.5.
  EXPECT_EQ(phone.opacity, 0);
  EXPECT_DOUBLE_EQ(m.frame(2).poses.at("phone").opacity, 1 - 0.5 * applyEase(Ease::inOut, 0.5));
}

TEST(MotionFrame, IndexRepeatsAcrossZeroOnHalfFrames) {
  Motion m;
  m.duration = 8;
  // -0.25 s is frame -7.5 and 7.75 s is frame 232.5: one loop apart, so one index.
  EXPECT_EQ(m.frame(-0.25).index, m.frame(7.75).index);
  EXPECT_EQ(m.frame(7.75).index, 233);
  EXPECT_EQ(m.frame(1.0 / 30).index, 1);
}

TEST(MotionFrame, CameraIsTakenOutOfThePoses) {
  Motion m = busyLoop();
  MotionFrame f = m.frame(1);
  EXPECT_FALSE(f.poses.contains(std::string(Motion::camera)));
  // Two cycles with a quarter phase: at 1 s the sine is at sin(2π·0.5) = 0.
  EXPECT_NEAR(f.camera.scale, 1, 1e-12);
  EXPECT_NEAR(m.frame(0).camera.scale, 1.02, 1e-12);
}

TEST(MotionFrame, NegativeOpacityWaveDimsByFifteenPercentAtItsTroughAndNeverBrightens) {
  Motion m;
  m.duration = 8;
  m.waves = std::map<std::string, std::vector<Wave>>{{"title", {Wave{MotionProperty::opacity, -0.15, {}, {}}}}};
  EXPECT_NEAR(m.frame(2).poses.at("title").opacity, 0.85, 1e-12);
  EXPECT_EQ(m.frame(6).poses.at("title").opacity, 1);
  for (int i = 0; i < 240; ++i) {
    const double opacity = m.frame(i / 30.0).poses.at("title").opacity;
    EXPECT_LE(opacity, 1) << i;
    EXPECT_GE(opacity, 0.85 - 1e-12) << i;
  }
}

TEST(MotionFrame, ZeroDurationSamplesAtTheStart) {
  Motion m;
  m.duration = 0;
  m.waves = std::map<std::string, std::vector<Wave>>{{"a", {Wave{MotionProperty::x, 0.1, 3, 0.25}}}};
  MotionFrame f = m.frame(5);
  EXPECT_EQ(f.time, 0);
  EXPECT_EQ(f.index, 0);
  EXPECT_NEAR(f.poses.at("a").dx, 0.1, 1e-12);
}

TEST(MotionFrame, TimesThatAreNotNumbersSampleTheStart) {
  Motion m = busyLoop();
  for (double t : {std::nan(""), std::numeric_limits<double>::infinity(), -std::numeric_limits<double>::infinity()}) {
    MotionFrame f = m.frame(t);
    EXPECT_EQ(f.time, 0);
    EXPECT_EQ(f.index, 0);
    EXPECT_EQ(f.poses, m.frame(0).poses);
  }
}

// Random motions: every frame is finite, and a loop repeats exactly after its duration.

class RandomMotion {
 public:
  explicit RandomMotion(unsigned seed) : rng_(seed) {}

  /// A random motion whose lengths are quarter seconds, so that sums and remainders are exact.
  Motion next() {
    Motion m;
    if (chance(0.4)) m.duration = quarters(-4, 80);
    if (chance(0.6)) m.fps = pick<int>({30, 60, 24, 1, 0, -5});
    if (chance(0.3)) m.poster = real(-10, 40);
    if (chance(0.7)) {
      std::vector<MotionScene> scenes;
      for (int i = integer(0, 4); i > 0; --i) {
        MotionScene s;
        s.duration = quarters(-4, 24);
        if (chance(0.8)) s.show = subset();
        scenes.push_back(std::move(s));
      }
      m.scenes = std::move(scenes);
    }
    if (chance(0.6)) {
      MotionTransition t;
      if (chance(0.7)) t.style = style();
      if (chance(0.7)) t.duration = real(-1, 5);
      if (chance(0.4)) {
        std::map<std::string, TransitionStyle> elements;
        for (const std::string& id : subset()) elements[id] = style();
        t.elements = std::move(elements);
      }
      m.transition = t;
    }
    if (chance(0.7)) {
      std::map<std::string, std::vector<Keyframe>> tracks;
      for (const std::string& id : subset()) {
        std::vector<Keyframe> track;
        for (int i = integer(0, 5); i > 0; --i) {
          Keyframe k = at(chance(0.2) ? 2.0 : real(-3, 30));
          if (chance(0.6)) k.x = real(-2, 3);
          if (chance(0.6)) k.y = real(-2, 3);
          if (chance(0.5)) k.scale = real(-1, 3);
          if (chance(0.5)) k.rotation = real(-720, 720);
          if (chance(0.5)) k.opacity = real(-1, 2);
          if (chance(0.7)) k.ease = pick<Ease>({Ease::linear, Ease::in, Ease::out, Ease::inOut, Ease::hold});
          track.push_back(k);
        }
        tracks[id] = std::move(track);
      }
      m.tracks = std::move(tracks);
    }
    if (chance(0.6)) {
      std::map<std::string, std::vector<Wave>> waves;
      for (const std::string& id : subset()) {
        std::vector<Wave> list;
        for (int i = integer(0, 3); i > 0; --i) {
          Wave w;
          w.property = pick<MotionProperty>({MotionProperty::x, MotionProperty::y, MotionProperty::scale,
                                             MotionProperty::rotation, MotionProperty::opacity});
          w.amplitude = real(-2, 2);
          if (chance(0.6)) w.cycles = integer(-3, 4);
          if (chance(0.5)) w.phase = real(-1, 1);
          list.push_back(w);
        }
        waves[id] = std::move(list);
      }
      m.waves = std::move(waves);
    }
    return m;
  }

  /// A time in 64ths of a second: negative, ordinary or huge.
  double time() {
    switch (integer(0, 3)) {
      case 0: return integer(-64 * 30, 0) / 64.0;
      case 1: return integer(0, 64 * 100) / 64.0;
      case 2: return std::ldexp(1.0, 40) + integer(0, 1 << 20) / 64.0;
      default: return -std::ldexp(1.0, 38) - integer(0, 1 << 20) / 64.0;
    }
  }

  bool chance(double p) { return std::uniform_real_distribution<double>(0, 1)(rng_) < p; }
  int integer(int lo, int hi) { return std::uniform_int_distribution<int>(lo, hi)(rng_); }
  double real(double lo, double hi) { return std::uniform_real_distribution<double>(lo, hi)(rng_); }
  double quarters(int lo, int hi) { return integer(lo, hi) / 4.0; }

 private:
  template <class T>
  T pick(std::initializer_list<T> items) {
    return *(items.begin() + integer(0, static_cast<int>(items.size()) - 1));
  }
  TransitionStyle style() {
    return pick<TransitionStyle>({TransitionStyle::rise, TransitionStyle::fade, TransitionStyle::crossfade,
                                  TransitionStyle::slide, TransitionStyle::zoom, TransitionStyle::cut});
  }
  std::vector<std::string> subset() {
    std::vector<std::string> ids;
    for (const char* id : {"a", "b", "c", "camera"})
      if (chance(0.5)) ids.push_back(id);
    return ids;
  }

  std::mt19937 rng_;
};

::testing::AssertionResult finitePose(const MotionPose& pose) {
  auto ok = [](std::optional<double> v) { return !v || std::isfinite(*v); };
  if (!ok(pose.x) || !ok(pose.y) || !ok(pose.rotation) || !std::isfinite(pose.dx) || !std::isfinite(pose.dy) ||
      !std::isfinite(pose.scale) || !std::isfinite(pose.dRotation))
    return ::testing::AssertionFailure() << "a field is not finite";
  if (!(pose.opacity >= 0 && pose.opacity <= 1)) return ::testing::AssertionFailure() << "opacity " << pose.opacity;
  return ::testing::AssertionSuccess();
}

TEST(MotionFrame, RandomMotionsGiveFiniteFramesThatRepeatAfterTheDuration) {
  RandomMotion random(20240611);
  int loopsCompared = 0;
  for (int n = 0; n < 400; ++n) {
    const Motion m = random.next();
    const double d = m.resolvedDuration();
    const int count = m.frameCount();
    ASSERT_GE(count, 1);
    const double poster = m.posterTime();
    ASSERT_TRUE(poster >= 0 && poster <= std::max(d, 0.0)) << n;
    for (int k = 0; k < 12; ++k) {
      const double t = random.time();
      const MotionFrame f = m.frame(t);
      ASSERT_TRUE(std::isfinite(f.time)) << n << " at " << t;
      ASSERT_GE(f.time, 0) << n << " at " << t;
      if (d > 0) {
        ASSERT_LT(f.time, d) << n << " at " << t;
      }
      ASSERT_GE(f.index, 0);
      ASSERT_LT(f.index, count);
      ASSERT_FALSE(f.poses.contains(std::string(Motion::camera)));
      ASSERT_TRUE(finitePose(f.camera)) << n << " at " << t;
      for (const auto& [id, pose] : f.poses) ASSERT_TRUE(finitePose(pose)) << n << " " << id << " at " << t;
      if (auto clock = m.sceneClock(t)) {
        ASSERT_GE(clock->progress, 0);
        ASSERT_LE(clock->progress, 1);
      }

      if (d <= 0) continue;
      const MotionFrame later = m.frame(t + d);
      ASSERT_EQ(later.time, f.time) << n << " at " << t;
      ASSERT_EQ(later.poses, f.poses) << n << " at " << t;
      ASSERT_EQ(later.camera, f.camera) << n << " at " << t;
      // The index follows the video's frames, which repeat only when the loop is a whole number
      // of frames long.
      const double frames = d * m.resolvedFPS();
      if (frames == std::round(frames) || count == 1) {
        ASSERT_EQ(later.index, f.index) << n << " at " << t;
      }
      ++loopsCompared;
    }
  }
  EXPECT_GT(loopsCompared, 1000);
}

}  // namespace
}  // namespace vorno::motion_sampling_test
