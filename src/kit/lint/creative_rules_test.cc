#include "kit/lint/linter.h"

#include "kit/model/project.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace vorno::creative_rules_test {
namespace {

Creative creative(const std::string& id, const std::string& canvas = "ios.header") {
  Creative c;
  c.canvas = canvas;
  c.slide.id = id;
  c.slide.headline = LocalizedText{{{"en-US", "Your week, sorted"}}};
  return c;
}

Project projectWith(std::vector<Creative> creatives) {
  Project p;
  p.locales = {"en-US"};
  p.targets = {"ios.iphone-6.9"};
  Slide s;
  s.id = "intro";
  s.headline = LocalizedText{{{"en-US", "Plan your day"}}};
  p.slides = {s};
  p.creatives = std::move(creatives);
  return p;
}

Motion loopOf(double seconds) {
  Motion m;
  m.duration = seconds;
  return m;
}

MotionScene scene(double seconds) {
  MotionScene s;
  s.duration = seconds;
  return s;
}

Keyframe keyframe(double t, std::optional<double> y, std::optional<double> opacity = std::nullopt) {
  Keyframe k;
  k.t = t;
  k.y = y;
  k.opacity = opacity;
  return k;
}

std::vector<std::string> codes(const std::vector<Issue>& issues) {
  std::vector<std::string> list;
  for (const Issue& issue : issues) list.push_back(issue.code);
  return list;
}

std::vector<Issue> motionIssues(const Motion& motion, const Creative& c = creative("header")) {
  return Linter::motionIssues(motion, c);
}

TEST(CreativeRules, WellFormedCreativeHasNoIssues) {
  Creative c = creative("header");
  c.motion = loopOf(8);
  EXPECT_TRUE(Linter::creativeIssues(projectWith({c})).empty());
}

TEST(CreativeRules, HeaderCreativeWithoutMotionGivesNoMotionIssues) {
  Creative c = creative("header");
  c.slide.headline = LocalizedText{};
  std::vector<Issue> issues = Linter::creativeIssues(projectWith({c}));
  for (const Issue& issue : issues) EXPECT_NE(issue.code.rfind("motion.", 0), 0u) << issue.code;
  EXPECT_TRUE(issues.empty());
}

TEST(CreativeRules, UnknownCanvasIsReportedWithTheKnownCanvases) {
  std::vector<Issue> issues = Linter::creativeIssues(projectWith({creative("header", "ios.iphone-6.9")}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "creative.canvas");
  EXPECT_EQ(issues[0].severity, Issue::Severity::error);
  EXPECT_EQ(issues[0].slide, "header");
  EXPECT_EQ(issues[0].message,
            "Creative header is on canvas ios.iphone-6.9, which Vorno doesn't know. Known: ios.header, "
            "ios.search-results, ios.universal.");
}

TEST(CreativeRules, CreativeWithASlidesIdGetsIdTakenOnceAndNoDuplicateId) {
  std::vector<Issue> issues = Linter::creativeIssues(projectWith({creative("intro")}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "creative.id-taken");
  EXPECT_EQ(issues[0].message, "Creative intro has a slide's id. Give it its own, e.g. header or search.");
}

TEST(CreativeRules, RepeatedCreativeIdGivesDuplicateForTheSecond) {
  std::vector<Issue> issues = Linter::creativeIssues(projectWith({creative("art"), creative("art", "ios.search-results")}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "creative.duplicate-id");
  EXPECT_EQ(issues[0].message, "Two creatives share the id art.");
}

TEST(CreativeRules, UnsafeCreativeIdCantBeAFileName) {
  std::vector<Issue> issues = Linter::creativeIssues(projectWith({creative("a/b")}));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "creative.id");
  EXPECT_EQ(issues[0].message,
            "Creative id \"a/b\" can't be a file name: use letters, digits, - and _ (no /, no leading dot).");
}

TEST(CreativeRules, AllThreeTextsMustBeTranslatedButAnEmptyOneIsNoFinding) {
  Creative c = creative("header");
  c.slide.headline = LocalizedText{};
  c.slide.eyebrow = LocalizedText{{{"en-US", "NEW"}}};
  c.slide.subhead = LocalizedText{{{"en-US", "For crews"}, {"de-DE", "Für Teams"}}};
  Project p = projectWith({c});
  p.locales = {"en-US", "de-DE"};
  std::vector<Issue> issues = Linter::creativeIssues(p);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "text.missing-locale");
  EXPECT_EQ(issues[0].severity, Issue::Severity::warning);
  EXPECT_EQ(issues[0].message, "Eyebrow has no de-DE text. Apple asks for every word in store art to be translated.");
  EXPECT_EQ(issues[0].slide, "header");
  EXPECT_EQ(issues[0].locale, "de-DE");
}

TEST(CreativeRules, LoopOfExactlyFiveOrThirtySecondsPasses) {
  EXPECT_TRUE(motionIssues(loopOf(5)).empty());
  EXPECT_TRUE(motionIssues(loopOf(30)).empty());
}

TEST(CreativeRules, LoopOfThirtyPointZeroOneSecondsFails) {
  std::vector<Issue> issues = motionIssues(loopOf(30.01));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "motion.duration");
  EXPECT_EQ(issues[0].message, "The loop runs 30.0 s; App Store Connect takes 5–30 s.");
  EXPECT_EQ(issues[0].slide, "header");
}

TEST(CreativeRules, DurationWithoutScenesOrLengthIsTenSeconds) { EXPECT_TRUE(motionIssues(Motion{}).empty()); }

TEST(CreativeRules, UniversalCanvasTakesNoVideo) {
  std::vector<Issue> issues = motionIssues(loopOf(8), creative("art", "ios.universal"));
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "motion.canvas");
  EXPECT_EQ(issues[0].message,
            "Universal creative art is a still: App Store Connect takes video for the header (ios.header) and search "
            "results (ios.search-results) only.");
}

TEST(CreativeRules, UnknownCanvasGivesNoMotionCanvas) { EXPECT_TRUE(motionIssues(loopOf(8), creative("art", "tv")).empty()); }

TEST(CreativeRules, FrameRateOtherThanThirtyOrSixtyFails) {
  Motion m = loopOf(8);
  m.fps = 24;
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].message, "24 fps: App Store Connect takes 30 or 60.");
  m.fps = 60;
  EXPECT_TRUE(motionIssues(m).empty());
}

TEST(CreativeRules, PosterAtExactlyTheDurationPasses) {
  Motion m = loopOf(8);
  m.poster = 8;
  EXPECT_TRUE(motionIssues(m).empty());
  m.poster = 8.5;
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].message, "The poster at 8.5 s is outside the 8.0 s loop.");
  m.poster = -0.5;
  EXPECT_EQ(codes(motionIssues(m)), std::vector<std::string>{"motion.poster"});
}

TEST(CreativeRules, MotionNamingNoElementIsReportedWithTheOfferedIds) {
  Creative c = creative("header");
  c.slide.subhead = LocalizedText{{{"en-US", "For crews"}}};
  SlideElement phone;
  phone.id = "phone";
  c.slide.elements.push_back(phone);
  Motion m = loopOf(8);
  m.tracks = std::map<std::string, std::vector<Keyframe>>{{"ghost", {keyframe(0, 0.5), keyframe(8, 0.5)}},
                                                         {"phone", {keyframe(0, 0.5), keyframe(8, 0.5)}}};
  m.waves = std::map<std::string, std::vector<Wave>>{{"camera", {Wave{}}}, {"badge", {Wave{}}}};
  m.transition = MotionTransition{};
  m.transition->elements = std::map<std::string, TransitionStyle>{{"ghost", TransitionStyle::fade}};
  std::vector<Issue> issues = motionIssues(m, c);
  ASSERT_EQ(issues.size(), 2u);
  EXPECT_EQ(issues[0].message, "Motion names badge, which isn't an element of header. Ids: headline, phone, subhead.");
  EXPECT_EQ(issues[1].message, "Motion names ghost, which isn't an element of header. Ids: headline, phone, subhead.");
  EXPECT_EQ(issues[0].severity, Issue::Severity::warning);
}

TEST(CreativeRules, ScenesThatDoNotAddUpToTheDurationJump) {
  Motion m = loopOf(10);
  m.scenes = std::vector<MotionScene>{scene(4), scene(4)};
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].code, "motion.scenes");
  EXPECT_EQ(issues[0].message,
            "The scenes add up to 8.00 s but duration is 10.00 s, so they don't line up with the loop and it jumps. "
            "Leave duration out or match it.");
  m.duration = 8.005;
  EXPECT_TRUE(motionIssues(m).empty());
}

TEST(CreativeRules, QuickTransitionsReadAsCuts) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(3), scene(3)};
  m.transition = MotionTransition{};
  m.transition->duration = 0.3;
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(issues.size(), 1u);
  EXPECT_EQ(issues[0].severity, Issue::Severity::info);
  EXPECT_EQ(issues[0].message,
            "Transitions of 0.30 s read as cuts. Apple asks for calm motion without quick cuts; 0.8–1.2 s reads well.");
}

TEST(CreativeRules, SingleSceneOfOneSecondGetsNoMotionShort) {
  Motion m = loopOf(5);
  m.scenes = std::vector<MotionScene>{scene(1)};
  std::vector<Issue> issues = motionIssues(m);
  // The duration disagrees with the lone scene, but nothing says it is too short to read.
  EXPECT_EQ(codes(issues), std::vector<std::string>{"motion.scenes"});
}

TEST(CreativeRules, TwoScenesOfTwoSecondsWithATransitionOfOnePointOneRestPointNineAndAreShort) {
  Motion m;
  m.scenes = std::vector<MotionScene>{scene(2), scene(2)};
  m.transition = MotionTransition{};
  m.transition->duration = 1.1;
  std::vector<Issue> issues = motionIssues(m);
  EXPECT_EQ(codes(issues), (std::vector<std::string>{"motion.duration", "motion.short", "motion.short"}));
  EXPECT_EQ(issues[1].severity, Issue::Severity::warning);
  EXPECT_EQ(issues[1].message, "Scene 1 is on screen at rest for 0.9 s: too quick to read. Give it at least 2.6 s.");
  EXPECT_EQ(issues[2].message, "Scene 2 is on screen at rest for 0.9 s: too quick to read. Give it at least 2.6 s.");
  // 1.1 s is also the transition's length when none is given.
  m.transition.reset();
  EXPECT_EQ(motionIssues(m), issues);
}

TEST(CreativeRules, SceneWithoutDurationIsAnErrorAndNotAlsoShort) {
  Motion m = loopOf(8);
  m.scenes = std::vector<MotionScene>{scene(0), scene(8)};
  std::vector<Issue> issues = motionIssues(m);
  EXPECT_EQ(codes(issues), std::vector<std::string>{"motion.scene"});
  EXPECT_EQ(issues[0].message, "Scene 1 has no duration.");
  EXPECT_EQ(issues[0].severity, Issue::Severity::error);
}

TEST(CreativeRules, RestIsNeverBelowZero) {
  Motion m = loopOf(6);
  m.scenes = std::vector<MotionScene>{scene(1), scene(5)};
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(codes(issues), std::vector<std::string>{"motion.short"});
  EXPECT_EQ(issues[0].message, "Scene 1 is on screen at rest for 0.0 s: too quick to read. Give it at least 2.6 s.");
}

TEST(CreativeRules, KeyframeOutsideTheLoopIsReportedEach) {
  Creative c = creative("header");
  Motion m = loopOf(8);
  m.tracks = std::map<std::string, std::vector<Keyframe>>{
      {"headline", {keyframe(-0.5, 0.5), keyframe(0, 0.5), keyframe(8.0000005, 0.5), keyframe(9.25, 0.5)}}};
  std::vector<Issue> issues = motionIssues(m, c);
  ASSERT_EQ(codes(issues), (std::vector<std::string>{"motion.keyframe", "motion.keyframe"}));
  EXPECT_EQ(issues[0].message, "headline has a keyframe at -0.50 s, outside the 8.0 s loop.");
  EXPECT_EQ(issues[1].message, "headline has a keyframe at 9.25 s, outside the 8.0 s loop.");
}

TEST(CreativeRules, TrackThatEndsWhereItStartsGetsNoSeam) {
  Motion m = loopOf(8);
  m.tracks = std::map<std::string, std::vector<Keyframe>>{
      {"headline", {keyframe(0, 0.6, 0), keyframe(1.2, 0.55, 1), keyframe(6.8, 0.55), keyframe(8, 0.6, 0)}}};
  EXPECT_TRUE(motionIssues(m).empty());
}

TEST(CreativeRules, WaveGetsNoSeamSinceItLoopsByWholeCycles) {
  Motion m = loopOf(8);
  Wave wave;
  wave.property = MotionProperty::y;
  wave.amplitude = 0.05;
  wave.cycles = 2;
  m.waves = std::map<std::string, std::vector<Wave>>{{"headline", {wave}}};
  EXPECT_TRUE(motionIssues(m).empty());
}

TEST(CreativeRules, TrackThatEndsElsewhereJumpsAtTheSeam) {
  Motion m = loopOf(8);
  // Out of order on purpose: the rule reads the keyframes sorted by time.
  m.tracks = std::map<std::string, std::vector<Keyframe>>{
      {"headline", {keyframe(8, 0.55, 1), keyframe(0, 0.62, 1), keyframe(4, std::nullopt, 0.5)}}};
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(codes(issues), std::vector<std::string>{"motion.seam"});
  EXPECT_EQ(issues[0].message,
            "headline's y is 0.62 at the start and 0.55 at the end, so the loop jumps. Add a keyframe at 8.0 s with the "
            "starting value.");
}

TEST(CreativeRules, WaveOfFewerThanOneCycleIsReportedOncePerElement) {
  Motion m = loopOf(8);
  Wave broken;
  broken.cycles = 0;
  m.waves = std::map<std::string, std::vector<Wave>>{{"headline", {broken, broken}}};
  std::vector<Issue> issues = motionIssues(m);
  ASSERT_EQ(codes(issues), std::vector<std::string>{"motion.wave"});
  EXPECT_EQ(issues[0].message, "headline has a wave with fewer than 1 cycle: waves loop in whole cycles.");
}

// The documented order of the motion rules: canvas, duration, fps, poster, unknown ids, scenes,
// fast transitions, scene lengths, keyframes and seams, waves.
TEST(CreativeRules, MotionRulesComeInTheirDocumentedOrder) {
  Motion m;
  m.duration = 40;
  m.fps = 25;
  m.poster = 41;
  m.scenes = std::vector<MotionScene>{scene(1), scene(0)};
  m.transition = MotionTransition{};
  m.transition->duration = 0.2;
  Wave broken;
  broken.cycles = 0;
  m.waves = std::map<std::string, std::vector<Wave>>{{"headline", {broken}}};
  m.tracks = std::map<std::string, std::vector<Keyframe>>{{"ghost", {keyframe(0, 0.1), keyframe(50, 0.9)}}};
  EXPECT_EQ(codes(motionIssues(m, creative("art", "ios.universal"))),
            (std::vector<std::string>{"motion.canvas", "motion.duration", "motion.fps", "motion.poster",
                                      "motion.unknown-id", "motion.scenes", "motion.fast", "motion.short",
                                      "motion.scene", "motion.keyframe", "motion.seam", "motion.wave"}));
}

// The documented order of the creative rules, with the motion's issues in the middle.
TEST(CreativeRules, CreativeRulesComeInTheirDocumentedOrder) {
  Creative first = creative(".intro", "tv");
  Creative second = creative("intro", "tv");
  second.slide.id = ".intro";
  second.motion = loopOf(3);
  second.slide.eyebrow = LocalizedText{{{"en-US", "NEW"}}};
  Project p = projectWith({first, second});
  p.slides[0].id = ".intro";
  p.locales = {"en-US", "de-DE"};
  std::vector<Issue> issues = Linter::creativeIssues(p);
  EXPECT_EQ(codes(issues),
            (std::vector<std::string>{"creative.canvas", "creative.id-taken", "creative.id", "text.missing-locale",
                                      "creative.canvas", "creative.duplicate-id", "creative.id-taken", "creative.id",
                                      "motion.duration", "text.missing-locale", "text.missing-locale"}));
  EXPECT_EQ(issues.back().message.rfind("Eyebrow has no de-DE text.", 0), 0u);
}

}  // namespace
}  // namespace vorno::creative_rules_test
