// `vorno lint` as a person runs it: schema findings first, then the project's rules, and the exit
// status set by errors only after everything is printed.
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorno::testing::lint_command_test {
namespace {

namespace fs = std::filesystem;

std::string document(const std::string& targets, const std::string& slides, const std::string& extra = "") {
  return R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": )" + targets +
         R"(, "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
            "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"},
         "slides": )" + slides + extra + "}";
}

class LintCommand : public ::testing::Test {
 protected:
  void SetUp() override { folder_ = makeTempFolder("vorno-lint"); }
  void TearDown() override { fs::remove_all(folder_); }

  std::string package(const std::string& text) {
    fs::path root = fs::path(folder_) / "Set.vorno";
    fs::create_directories(root);
    std::ofstream(root / "project.json") << text;
    return root.string();
  }

  std::string folder_;
};

TEST_F(LintCommand, CleanProjectPrintsNoIssues) {
  auto root = package(document(R"(["ios.iphone-6.9", "ios.iphone-duo"])", R"([{"id": "a", "headline": "Hi"}])"));
  auto result = runVorno({"lint", "--project", root});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out, "No issues.\n");
}

TEST_F(LintCommand, FolderThatIsNoPackageReportsLoadFailureAndNoIssue) {
  // project.json parses (so the schema check has a finding) but does not decode.
  auto root = package(R"({"schemaVersion": 5, "headlin": "x"})");
  auto result = runVorno({"lint", "-p", root});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.out, "");
  EXPECT_EQ(result.err, "Error: project.json is invalid: missing appName\n");

  auto none = runVorno({"lint"}, folder_);
  EXPECT_EQ(none.status, 1);
  EXPECT_EQ(none.out, "");
  EXPECT_EQ(none.err, "Error: No project at " + folder_ + ". Create one with project_create.\n");
}

TEST_F(LintCommand, WarningsOnlyExitZero) {
  auto root = package(document(R"(["ios.iphone-6.9", "ios.iphone-duo"])", R"([{"id": "a", "headline": "Hi", "headlin": "x"}])"));
  auto result = runVorno({"lint", "-p", root});
  EXPECT_EQ(result.status, 0);
  EXPECT_EQ(result.out,
            "[warning] schema.unknown: slides[\"a\"].headlin isn't a field Vorno knows, so it was ignored. Did you mean "
            "headline?\n");
}

TEST_F(LintCommand, OneErrorAmongWarningsExitsOneAfterPrintingAll) {
  auto root = package(document(R"(["ios.iphone-6.9", "ios.iphone-duo", "ios.header"])",
                               R"([{"id": "a", "headline": {"de-DE": "Hallo"}, "headlin": "x"}])"));
  auto result = runVorno({"lint", "-p", root});
  EXPECT_EQ(result.status, 1);
  // The schema finding comes first, then the rules in their order; the error is in the middle.
  std::string expected =
      "[warning] schema.unknown: slides[\"a\"].headlin isn't a field Vorno knows, so it was ignored. Did you mean "
      "headline?\n"
      "[error] target.unknown: Unknown target ios.header. Known: ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, "
      "ios.ipad-13, play.phone, play.tablet-7, play.tablet-10.\n"
      "[warning] text.missing-locale (a · en-US): Headline has no en-US text.\n";
  EXPECT_EQ(result.out, expected);
  EXPECT_EQ(result.err, "");
}

TEST_F(LintCommand, ReportsTheOverlapARenderWouldOnEveryTarget) {
  auto root = package(document(R"(["ios.iphone-6.9", "ios.iphone-duo"])",
                               R"([{"id": "a", "headline": "The whole week\non one screen", "elements": [)"
                               R"({"id": "days", "kind": "component", "component": {"type": "stat", "title": "21 days"}}],)"
                               R"( "overrides": {"ios.iphone-6.9": {"placements": {"days": {"x": 0.5, "y": 0.12, "width": 0.7}}}}}])"));
  auto result = runVorno({"lint", "--project", root});
  EXPECT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("[warning] layout.overlap (a · ios.iphone-6.9 · en-US): Stat days covers"), std::string::npos)
      << result.out;
  // The Duo borrows the iPhone's placement, scaled to its canvas: still across the words.
  EXPECT_NE(result.out.find("[warning] layout.overlap (a · ios.iphone-duo · en-US): Stat days covers"), std::string::npos)
      << result.out;
}

TEST_F(LintCommand, ExamplePackageIsClean) {
  auto result = runVorno({"lint", "-p", sourceDir() + "/examples/Demo.vorno"});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

// Packages written by the store, each made to trigger one family of rules, linted by the real
// executable. The lines must come in the documented order (schema findings, then the rules in
// theirs) and the status must be 1 only when an error is among them, after all are printed.

Slide slideSaying(const std::string& id, std::map<std::string, std::string> headline) {
  Slide slide;
  slide.id = id;
  slide.headline = LocalizedText{std::move(headline)};
  return slide;
}

Project baseProject(std::vector<std::string> targets) {
  Project project;
  project.appName = "Crewday";
  project.locales = {"en-US", "de-DE"};
  project.targets = std::move(targets);
  // Readable colours, so that the layout's findings don't crowd the rules under test.
  project.theme = Theme::vorno();
  return project;
}

Variant look(const std::string& id, nlohmann::json patch, std::optional<std::string> name = std::nullopt) {
  Variant variant;
  variant.id = id;
  variant.name = std::move(name);
  variant.patch = std::move(patch);
  return variant;
}

class LintPackage : public ::testing::Test {
 protected:
  /// Writes `project` as a new package through the store and returns its folder.
  std::string write(const Project& project) {
    FileProjectStore(packageRoot()).create(project);
    return packageRoot().string();
  }
  std::filesystem::path packageRoot() const { return folder_.path() / "Set.vorno"; }

  TempFolder folder_{"vorno-lint-package"};
};

std::string lines(std::initializer_list<std::string> list) {
  std::string text;
  for (const std::string& line : list) text += line + "\n";
  return text;
}

const std::string knownTargets =
    "Known: ios.iphone-6.9, ios.iphone-6.5, ios.iphone-duo, ios.ipad-13, play.phone, play.tablet-7, play.tablet-10.";

TEST_F(LintPackage, ProjectRulesPrintInRuleOrderAndTheirErrorsExitOne) {
  Project project = baseProject({"ios.iphone-6.9", "ios.watch"});
  std::map<std::string, std::string> translated{{"en-US", "Plan your day"}, {"de-DE", "Plane deinen Tag"}};
  project.slides = {slideSaying("a", translated), slideSaying("x/y", translated),
                    slideSaying("b", {{"en-US", "one two three four five six seven eight nine"}}),
                    slideSaying("c", translated)};
  Spread backwards;
  backwards.id = "pair";
  backwards.slides = {"c", "b"};
  project.spreads = {backwards};
  project.variants = {look("bold", nlohmann::json::object()), look("bold", nlohmann::json::object()),
                      look("calm", {{"appName", 5}}), look("wide", nlohmann::json::object(), "Wide")};

  ProcessResult result = runVorno({"lint", "--project", write(project)});
  EXPECT_EQ(result.out,
            lines({"[error] target.unknown: Unknown target ios.watch. " + knownTargets,
                   "[error] variant.duplicate-id: Two variants share the id bold.",
                   "[error] variant.invalid: Variant calm has the wrong kind of value at appName: Expected String but "
                   "found a number.",
                   "[info] variant.store-limit: App Store and Google Play test at most 3 looks against the original at "
                   "once. Wide won't fit in the same test; delete a look or run a second test.",
                   "[error] slide.id (x/y): Slide id \"x/y\" can't be a file name: use letters, digits, - and _ "
                   "(no /, no leading dot).",
                   "[error] spread.order (pair): Spread pair slides must be next to each other, in order. Reorder "
                   "the slides or the spread.",
                   "[info] target.duo: From April 2027 App Store Connect requires iPhone Duo screenshots for every "
                   "submission. Add the target ios.iphone-duo (2007×2853): slides render on it as they are, and a "
                   "capture from the iPhone Duo simulator shows the Duo itself.",
                   "[warning] text.missing-locale (b · de-DE): Headline has no de-DE text.",
                   "[info] text.long (b): Headline has 9 words; 5–7 reads best at thumbnail size.",
                   // Then what the renders would say, on the one known target.
                   "[warning] text.wrap (b · ios.iphone-6.9 · en-US): Headline wraps to 3 lines in en-US; it was "
                   "written as 1. Shorten it or move the line break.",
                   "[warning] text.wrap (b · ios.iphone-6.9 · de-DE): Headline wraps to 3 lines in de-DE; it was "
                   "written as 1. Shorten it or move the line break."}));
  EXPECT_EQ(result.err, "");
  EXPECT_EQ(result.status, 1);
}

TEST_F(LintPackage, GooglePlayClaimsComeBeforeAppStorePolicyAndAClaimExitsOne) {
  Project project = baseProject({"ios.iphone-6.9", "ios.iphone-duo", "play.phone"});
  Slide intro = slideSaying("intro", {{"en-US", "The best planner"}, {"de-DE", "Der beste Planer"}});
  intro.subhead = LocalizedText{{{"en-US", "Only $5 a month"}, {"de-DE", "Nur $5 im Monat"}}};
  Slide share = slideSaying("share", {{"en-US", "#1 in Fitness"}, {"de-DE", "Nr. 1 für Fitness"}});
  SlideElement caption;
  caption.id = "caption";
  caption.text = LocalizedText{{{"en-US", "Visit crewday.com."}}};
  SlideElement playBadge;
  playBadge.id = "play-badge";
  playBadge.text = LocalizedText{{{"en-US", "Get it on Google Play"}}};
  playBadge.platforms = std::vector<Platform>{Platform::android};
  share.elements = {caption, playBadge};
  project.slides = {intro, share};

  ProcessResult result = runVorno({"lint", "--project", write(project)});
  // "beste" is no claim; the price shows in both locales but is reported once; the German
  // caption falls back to the English one; the Android-only badge is not App Store art.
  EXPECT_EQ(result.out,
            lines({"[error] play.policy (intro · en-US): \"best\" is a ranking or promotional claim Google Play "
                   "rejects in graphics.",
                   "[error] play.policy (share · en-US): \"#1\" is a ranking or promotional claim Google Play rejects "
                   "in graphics.",
                   "[warning] appstore.policy (intro · en-US): \"$5\" is a price. Apple asks store art to leave out "
                   "prices and discounts, so it's right in every country and stays true.",
                   "[warning] appstore.policy (share · en-US): \"crewday.com\" is a web address. Apple asks store "
                   "art to leave out URLs.",
                   // Then what the renders would say: the fallbacks, on every target that shows them.
                   "[warning] text.missing-locale (share · ios.iphone-6.9 · de-DE): Text caption has no de-DE text; "
                   "using a fallback.",
                   "[warning] text.missing-locale (share · ios.iphone-duo · de-DE): Text caption has no de-DE text; "
                   "using a fallback.",
                   "[warning] text.missing-locale (share · play.phone · de-DE): Text caption has no de-DE text; "
                   "using a fallback.",
                   "[warning] text.missing-locale (share · play.phone · de-DE): Text play-badge has no de-DE text; "
                   "using a fallback."}));
  EXPECT_EQ(result.status, 1);
}

TEST_F(LintPackage, AppStorePolicyWarningsAloneExitZero) {
  Project project = baseProject({"ios.iphone-6.9", "ios.iphone-duo"});
  Slide intro = slideSaying("intro", {{"en-US", "The best planner"}, {"de-DE", "Der beste Planer"}});
  intro.subhead = LocalizedText{{{"en-US", "© 2025 Crewday"}, {"de-DE", "© 2025 Crewday"}}};
  project.slides = {intro};

  ProcessResult result = runVorno({"lint", "--project", write(project)});
  // Without an Android target "best" is no finding at all.
  EXPECT_EQ(result.out, lines({"[warning] appstore.policy (intro · en-US): \"©\" is a copyright mark. Apple asks "
                               "store art to leave out ©."}));
  EXPECT_EQ(result.status, 0);
}

TEST_F(LintPackage, CreativeAndMotionRulesFollowEachCreativeAndOnlyTheirErrorsExitOne) {
  Project project = baseProject({"ios.iphone-6.9", "ios.iphone-duo"});
  project.slides = {slideSaying("intro", {{"en-US", "Plan your day"}, {"de-DE", "Plane deinen Tag"}})};

  Creative header;
  header.canvas = "ios.header";
  header.slide = slideSaying("header", {{"en-US", "Your week, sorted"}, {"de-DE", "Deine Woche"}});
  header.slide.eyebrow = LocalizedText{{{"en-US", "NEW"}}};
  Motion drifting;
  drifting.duration = 8;
  Keyframe start, end;
  start.t = 0;
  start.y = 0.6;
  end.t = 8;
  end.y = 0.55;
  drifting.tracks = std::map<std::string, std::vector<Keyframe>>{{"headline", {start, end}}};
  Wave bob;
  bob.property = MotionProperty::y;
  bob.amplitude = 0.01;
  drifting.waves = std::map<std::string, std::vector<Wave>>{{"badge", {bob}}};
  header.motion = drifting;
  project.creatives = {header};

  // Warnings only: the loop's seam, a name it doesn't offer, an untranslated eyebrow.
  const std::vector<std::string> headerLines{
      "[warning] motion.unknown-id (header): Motion names badge, which isn't an element of header. Ids: eyebrow, "
      "headline.",
      "[warning] motion.seam (header): headline's y is 0.6 at the start and 0.55 at the end, so the loop jumps. Add "
      "a keyframe at 8.0 s with the starting value.",
      "[warning] text.missing-locale (header · de-DE): Eyebrow has no de-DE text. Apple asks for every word in store "
      "art to be translated."};
  std::string root = write(project);
  ProcessResult warned = runVorno({"lint", "--project", root});
  EXPECT_EQ(warned.out, lines({headerLines[0], headerLines[1], headerLines[2]}));
  EXPECT_EQ(warned.status, 0);

  // A universal creative in motion that takes a slide's id: errors, after the header's lines.
  FileProjectStore(root).modify([](Project& p) {
    Creative still;
    still.canvas = "ios.universal";
    still.slide = slideSaying("intro", {{"en-US", "Crews love it"}, {"de-DE", "Teams lieben es"}});
    Motion tooShort;
    tooShort.duration = 3;
    still.motion = tooShort;
    p.creatives.push_back(still);
  });
  ProcessResult failed = runVorno({"lint", "--project", root});
  EXPECT_EQ(failed.out,
            lines({headerLines[0], headerLines[1], headerLines[2],
                   "[error] creative.id-taken (intro): Creative intro has a slide's id. Give it its own, e.g. header "
                   "or search.",
                   "[error] motion.canvas (intro): Universal creative art is a still: App Store Connect takes video "
                   "for the header (ios.header) and search results (ios.search-results) only.",
                   "[error] motion.duration (intro): The loop runs 3.0 s; App Store Connect takes 5–30 s."}));
  EXPECT_EQ(failed.status, 1);
}

TEST_F(LintPackage, SchemaFindingsComeFirstInDocumentOrderThenTheRules) {
  Project project = baseProject({"ios.iphone-6.9", "ios.iphone-duo"});
  Slide a = slideSaying("a", {{"en-US", "Plan your day"}});
  SlideElement title;
  title.id = "title";
  title.text = LocalizedText{{{"en-US", "Hello"}, {"de-DE", "Hallo"}}};
  a.elements = {title};
  project.slides = {a};
  project.variants = {look("bold", {{"theme", {{"accent", "#FFD23F"}}}})};
  std::string root = write(project);

  // The store writes only what the readers know; misspelled keys are what a hand or an agent
  // adds to the file afterwards.
  std::filesystem::path file = packageRoot() / "project.json";
  nlohmann::json document = nlohmann::json::parse(std::ifstream(file));
  document["locale"] = "en-US";
  document["theme"]["acent"] = "#FF0000";
  document["slides"][0]["headlin"] = "Plan";
  document["slides"][0]["elements"][0]["txt"] = "Hello";
  document["variants"][0]["patch"]["theme"]["mutedd"] = "#777777";
  std::ofstream(file) << document.dump(2) << "\n";

  ProcessResult result = runVorno({"lint", "--project", root});
  EXPECT_EQ(result.out,
            lines({"[warning] schema.unknown: locale isn't a field Vorno knows, so it was ignored. Did you mean "
                   "locales?",
                   "[warning] schema.unknown: slides[\"a\"].elements[\"title\"].txt isn't a field Vorno knows, so it "
                   "was ignored. Did you mean text?",
                   "[warning] schema.unknown: slides[\"a\"].headlin isn't a field Vorno knows, so it was ignored. Did "
                   "you mean headline?",
                   "[warning] schema.unknown: theme.acent isn't a field Vorno knows, so it was ignored. Did you mean "
                   "accent?",
                   "[warning] schema.unknown: variants[\"bold\"].patch.theme.mutedd isn't a field Vorno knows, so it "
                   "was ignored. Did you mean muted?",
                   "[warning] text.missing-locale (a · de-DE): Headline has no de-DE text."}));
  EXPECT_EQ(result.status, 0);
}

}  // namespace
}  // namespace vorno::testing::lint_command_test
