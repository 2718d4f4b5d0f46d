// `vorno lint` as a person runs it: schema findings first, then the project's rules, and the exit
// status set by errors only after everything is printed.
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace vorno::testing {
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

TEST_F(LintCommand, ExamplePackageIsClean) {
  auto result = runVorno({"lint", "-p", sourceDir() + "/examples/Demo.vorno"});
  EXPECT_EQ(result.status, 0) << result.out << result.err;
}

}  // namespace
}  // namespace vorno::testing
