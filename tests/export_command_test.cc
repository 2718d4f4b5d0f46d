// `vorno export` as a person runs it: the layout checked after loading, the printed lines, a
// variant's folder, every look with the removal of looks that are gone, and subsets of targets
// and locales.
#include "tests/export_test_support.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <regex>

namespace vorno::testing::export_command_test {
namespace {

namespace fs = std::filesystem;

const char* theme = R"("theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
    "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"})";

class ExportCommand : public ::testing::Test {
 protected:
  std::string package(const std::string& slides, const std::string& extra = "",
                      const std::string& targets = R"(["play.phone"])") {
    fs::path root = folder_.path() / "Set.vorno";
    fs::create_directories(root);
    std::ofstream(root / "project.json")
        << R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US", "de-DE"], "targets": )" << targets << ", "
        << theme << R"(, "slides": )" << slides << extra << "}";
    return root.string();
  }
  fs::path exports() const { return folder_.path() / "Set.vorno" / "exports"; }

  TempFolder folder_{"vorno-export-cli"};
};

const char* twoSlides = R"([{"id": "intro", "headline": "Plan the week"}, {"id": "share", "headline": "Share it"}])";
const char* oneSlide = R"([{"id": "intro", "headline": "Plan the week"}])";

TEST_F(ExportCommand, LayoutFooInPackageExits64BeforeAnythingIsWritten) {
  auto root = package(twoSlides);
  auto result = runVorno({"export", "--project", root, "--layout", "foo"});
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("Error: Layout must be vorno or fastlane."), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(exports()));
}

TEST_F(ExportCommand, BadLayoutWithoutPackageReportsTheLoadFailure) {
  auto result = runVorno({"export", "--project", (folder_.path() / "none.vorno").string(), "--layout", "foo"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.find("Layout must be"), std::string::npos) << result.err;
  EXPECT_EQ(result.err.rfind("Error: ", 0), 0u) << result.err;
}

TEST_F(ExportCommand, PrintsWrittenRemovedIssuesAndTime) {
  auto root = package(twoSlides);
  auto first = runVorno({"export", "--project", root});
  ASSERT_EQ(first.status, 0) << first.err;
  EXPECT_NE(first.out.find("Wrote 4 files to " + exports().string() + "\n"), std::string::npos) << first.out;
  EXPECT_TRUE(std::regex_search(first.out, std::regex("\nDone in [0-9]+\\.[0-9]s\n$"))) << first.out;
  // Google Play wants two screenshots at least: an issue of the set, printed, with status 0.
  package(oneSlide);
  auto second = runVorno({"export", "--project", root});
  ASSERT_EQ(second.status, 0) << second.err;
  EXPECT_NE(second.out.find("Wrote 2 files to "), std::string::npos) << second.out;
  for (std::string locale : {"en-US", "de-DE"})
    EXPECT_NE(second.out.find("Removed " + (exports() / "android/play.phone" / locale / "02-share.png").string() +
                              " (no longer produced)\n"),
              std::string::npos)
        << second.out;
  EXPECT_NE(second.out.find("[error] "), std::string::npos) << second.out;
}

TEST_F(ExportCommand, FastlaneLayoutPutsAndroidFilesInPhoneScreenshots) {
  auto root = package(oneSlide);
  auto result = runVorno({"export", "--project", root, "--layout", "fastlane"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(filesUnder(exports()), (std::set<std::string>{
                                       ".vorno-export.json",
                                       "fastlane/metadata/android/de-DE/images/phoneScreenshots/01_intro.png",
                                       "fastlane/metadata/android/en-US/images/phoneScreenshots/01_intro.png"}));
}

TEST_F(ExportCommand, RepeatedTargetAndLocaleExportSubsets) {
  auto root = package(oneSlide, "", R"(["play.phone", "ios.iphone-6.9", "play.tablet-7"])");
  auto result = runVorno({"export", "--project", root, "--target", "play.phone", "-t", "play.tablet-7", "--locale",
                          "de-DE"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(filesUnder(exports()),
            (std::set<std::string>{".vorno-export.json", "android/play.phone/de-DE/01-intro.png",
                                   "android/play.tablet-7/de-DE/01-intro.png"}));
}

TEST_F(ExportCommand, UnknownTargetIsAUsageError) {
  auto root = package(oneSlide);
  auto result = runVorno({"export", "--project", root, "--target", "ios.nope"});
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("Unknown target ios.nope. Known: ios.iphone-6.9"), std::string::npos) << result.err;
  EXPECT_FALSE(fs::exists(exports()));
}

TEST_F(ExportCommand, VariantGoesIntoItsOwnFolder) {
  auto root = package(oneSlide, R"(, "variants": [{"id": "bold", "patch": {"appName": "B"}}])");
  auto result = runVorno({"export", "--project", root, "--variant", "bold", "--locale", "en-US"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("Wrote 1 files to " + (exports() / "variants/bold").string()), std::string::npos)
      << result.out;
  EXPECT_TRUE(fs::exists(exports() / "variants/bold/android/play.phone/en-US/01-intro.png"));
  EXPECT_FALSE(fs::exists(exports() / "android"));
}

TEST_F(ExportCommand, AllVariantsPrefixesEachLookAndRemovesLooksThatAreGone) {
  auto root = package(oneSlide, R"(, "variants": [{"id": "bold", "patch": {"appName": "B"}}, {"id": "calm", "patch": {"appName": "C"}}])");
  ASSERT_EQ(runVorno({"export", "--project", root, "--all-variants", "--locale", "en-US"}).status, 0);
  EXPECT_TRUE(fs::exists(exports() / "variants/calm/android/play.phone/en-US/01-intro.png"));
  std::ofstream(exports() / "variants/notes.txt") << "mine";

  package(oneSlide, R"(, "variants": [{"id": "bold", "patch": {"appName": "B"}}])");
  auto result = runVorno({"export", "--project", root, "--all-variants", "--locale", "en-US"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("Removed " + (exports() / "variants/calm/android/play.phone/en-US/01-intro.png").string() +
                            " (that look is gone)\n"),
            std::string::npos)
      << result.out;
  EXPECT_NE(result.out.find("[base] Wrote 1 files to " + exports().string() + "\n"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("[bold] Wrote 1 files to " + (exports() / "variants/bold").string() + "\n"),
            std::string::npos)
      << result.out;
  EXPECT_FALSE(fs::exists(exports() / "variants/calm"));
  EXPECT_EQ(readText(exports() / "variants/notes.txt"), "mine");
}

}  // namespace
}  // namespace vorno::testing::export_command_test
