#include "kit/model/motion.h"

#include "kit/model/codings.h"
#include "kit/util/json_output.h"

#include <gtest/gtest.h>

namespace vorno::motion_test {
namespace {

const char* fullMotion = R"({
  "duration": 12, "fps": 60, "poster": 2.5,
  "scenes": [
    {"duration": 6, "show": ["phone", "title"], "texts": {"title": {"en-US": "First"}},
     "screens": {"phone": "captures/a.png"}},
    {"duration": 6, "show": ["title"], "screens": {"phone": {"ios": "captures/b.png"}}}
  ],
  "transition": {"style": "crossfade", "duration": 0.8, "elements": {"phone": "zoom"}},
  "tracks": {"phone": [
    {"t": 0, "x": 0.5, "y": 0.6, "scale": 1, "rotation": 0, "opacity": 0, "ease": "linear"},
    {"t": 2, "y": 0.55, "ease": "in-out"}, {"t": 4, "ease": "hold"}, {"t": 5, "ease": "in"}, {"t": 6, "ease": "out"}
  ]},
  "waves": {"camera": [{"property": "scale", "amplitude": 0.01, "cycles": 2, "phase": 0.25}],
            "title": [{"property": "opacity", "amplitude": -0.15}]}
})";

std::string motionError(std::string_view text) {
  try {
    Json json = parseJSON(text);
    Reader(json).decode<Motion>();
  } catch (const DecodingError& error) {
    return error.summary();
  }
  return "no error";
}

TEST(Motion, EveryFieldRoundTrips) {
  Json json = parseJSON(fullMotion);
  Motion motion = Reader(json).decode<Motion>();
  EXPECT_EQ(motion.fps, 60);
  ASSERT_TRUE(motion.scenes);
  ASSERT_EQ(motion.scenes->size(), 2u);
  EXPECT_EQ((*motion.scenes)[1].screens->at("phone"), ScreenshotRef::byTarget({{"ios", "captures/b.png"}}));
  EXPECT_EQ(motion.transition->elements->at("phone"), TransitionStyle::zoom);
  EXPECT_EQ(motion.tracks->at("phone")[1].ease, Ease::inOut);
  EXPECT_EQ(motion.waves->at("title")[0].property, MotionProperty::opacity);
  EXPECT_FALSE(motion.waves->at("title")[0].cycles);

  Json written = Coding<Motion>::write(motion);
  EXPECT_EQ(written, json);
  Motion again = Reader(written).decode<Motion>();
  EXPECT_EQ(again, motion);
  EXPECT_EQ(documentJSON(Coding<Motion>::write(again)), documentJSON(written));
}

TEST(Motion, EmptyMotionWritesAnEmptyObject) {
  Motion motion = Reader(Json::object()).decode<Motion>();
  EXPECT_EQ(motion, Motion{});
  EXPECT_EQ(Coding<Motion>::write(motion), Json::object());
}

TEST(Motion, InOutEaseIsWrittenKebab) {
  Keyframe k;
  k.t = 1;
  k.ease = Ease::inOut;
  EXPECT_EQ(Coding<Keyframe>::write(k), parseJSON(R"({"t": 1, "ease": "in-out"})"));
  EXPECT_EQ(motionError(R"({"tracks": {"a": [{"t": 0, "ease": "inOut"}]}})"),
            "Cannot initialize Ease from invalid String value inOut. Use linear, in, out, in-out or hold. at "
            ".tracks.a[0].ease");
}

TEST(Motion, RequiredKeysOfItsRecordsAreReported) {
  EXPECT_EQ(motionError(R"({"tracks": {"phone": [{"t": 0}, {"x": 0.5}]}})"), "missing t at .tracks.phone[1]");
  EXPECT_EQ(motionError(R"({"scenes": [{"show": ["a"]}]})"), "missing duration at .scenes[0]");
  EXPECT_EQ(motionError(R"({"waves": {"a": [{"amplitude": 1}]}})"), "missing property at .waves.a[0]");
  EXPECT_EQ(motionError(R"({"waves": {"a": [{"property": "y"}]}})"), "missing amplitude at .waves.a[0]");
}

TEST(Motion, WrongTypesAreReportedAtDepth) {
  EXPECT_EQ(motionError(R"({"fps": 29.97})"), "Parsed JSON number <29.97> does not fit in Int. at .fps");
  EXPECT_EQ(motionError(R"({"scenes": {"duration": 3}})"), "expected Array at .scenes");
  EXPECT_EQ(motionError(R"({"scenes": [{"duration": 3, "texts": {"title": 5}}]})"),
            "expected Dictionary at .scenes[0].texts.title");
  EXPECT_EQ(motionError(R"({"transition": {"style": "wipe"}})"),
            "Cannot initialize TransitionStyle from invalid String value wipe. Use rise, fade, crossfade, slide, "
            "zoom or cut. at .transition.style");
  EXPECT_EQ(motionError(R"({"waves": {"a": [{"property": "width", "amplitude": 1}]}})"),
            "Cannot initialize MotionProperty from invalid String value width. Use x, y, scale, rotation or "
            "opacity. at .waves.a[0].property");
}

TEST(Motion, ConstantsAreTheAllowedLengthsRatesAndCamera) {
  EXPECT_TRUE(Motion::durations.contains(5));
  EXPECT_TRUE(Motion::durations.contains(30));
  EXPECT_FALSE(Motion::durations.contains(4.9));
  EXPECT_FALSE(Motion::durations.contains(30.5));
  EXPECT_EQ(Motion::frameRates, (std::array<int, 2>{30, 60}));
  EXPECT_EQ(Motion::camera, "camera");
}

TEST(MotionPose, DefaultsAreTheRestingPose) {
  MotionPose pose;
  EXPECT_FALSE(pose.x);
  EXPECT_FALSE(pose.rotation);
  EXPECT_EQ(pose.dx, 0);
  EXPECT_EQ(pose.scale, 1);
  EXPECT_EQ(pose.opacity, 1);
  EXPECT_FALSE(pose.lift);
  EXPECT_EQ(MotionFrame{}.camera, pose);
  EXPECT_EQ(SceneClock{}.progress, 0);
}

}  // namespace
}  // namespace vorno::motion_test
