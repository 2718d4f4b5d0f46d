// Wrong documents and unreadable packages: each gives its one sentence, from the library and
// from `vorno lint`, and nothing crashes.
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "kit/util/vorno_error.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace vorno::testing::bad_input_test {
namespace {

namespace fs = std::filesystem;

// A valid document to break in one place at a time.
const char* validDocument = R"({
  "schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
  "theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
            "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"},
  "slides": [{"id": "a", "headline": "Hi", "elements": [{"id": "e", "kind": "shape", "opacity": 0.5}]}],
  "spreads": [], "creatives": [{"id": "c", "canvas": "ios.header", "motion": {"fps": 30}}]
})";

struct BadDocument {
  const char* name;
  std::string text;
  std::string sentence;
};

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

std::vector<BadDocument> badDocuments() {
  std::string valid = validDocument;
  const std::string prefix = "project.json is invalid: ";
  return {
      {"Truncated", valid.substr(0, 60), prefix + "The given data was not valid JSON (line 2, column 59)."},
      {"Empty", "", prefix + "The given data was not valid JSON (the file is empty)."},
      {"RootIsAnArray", "[]", prefix + "expected Dictionary"},
      {"AppNameIsANumber", replaced(valid, R"("appName": "A")", R"("appName": 3)"), prefix + "expected String at .appName"},
      {"LocalesIsAString", replaced(valid, R"("locales": ["en-US"])", R"("locales": "en-US")"),
       prefix + "expected Array at .locales"},
      {"ThemeIsAnArray", replaced(valid, R"("theme": {)", R"("theme": [], "x": {)"), prefix + "expected Dictionary at .theme"},
      {"MissingAppName", replaced(valid, R"("appName": "A", )", ""), prefix + "missing appName"},
      {"HeadlineIsANumber", replaced(valid, R"("headline": "Hi")", R"("headline": 5)"),
       prefix + "expected Dictionary at .slides[0].headline"},
      {"ElementOpacityIsAString", replaced(valid, R"("opacity": 0.5)", R"("opacity": "half")"),
       prefix + "expected Double at .slides[0].elements[0].opacity"},
      {"FractionalFrameRate", replaced(valid, R"("fps": 30)", R"("fps": 29.97)"),
       prefix + "Parsed JSON number <29.97> does not fit in Int. at .creatives[0].motion.fps"},
      {"ShortColour", replaced(valid, R"("accent": "#FF0000")", R"("accent": "#F00")"),
       prefix + "Invalid color #F00. Use #RRGGBB. at .theme.accent"},
      {"ColourAtAFillPosition", replaced(valid, R"("background": "#FFFFFF")", R"("background": "white")"),
       prefix + "expected Dictionary at .theme.background"},
      {"UnknownWeight", replaced(valid, R"("headlineWeight": "bold")", R"("headlineWeight": "bolder")"),
       prefix +
           "Cannot initialize FontWeight from invalid String value bolder. Use regular, medium, semibold, bold, heavy "
           "or black. at .theme.headlineWeight"},
      {"UnknownElementKind", replaced(valid, R"("kind": "shape")", R"("kind": "blob")"),
       prefix +
           "Cannot initialize Kind from invalid String value blob. Use text, image, device, symbol, shape or component. "
           "at .slides[0].elements[0].kind"},
      {"SchemaFromTheFuture", replaced(valid, R"("schemaVersion": 5)", R"("schemaVersion": 6)"),
       "Project schema 6 is newer than this Vorno (5). Update Vorno."},
  };
}

class BadInput : public ::testing::Test {
 protected:
  void SetUp() override { folder_ = makeTempFolder("vorno-bad-input"); }
  void TearDown() override { fs::remove_all(folder_); }

  std::string package(const std::string& name, const std::string& text) {
    fs::path root = fs::path(folder_) / (name + ".vorno");
    fs::create_directories(root);
    std::ofstream(root / "project.json") << text;
    return root.string();
  }

  std::string loadFailure(const std::string& root) {
    try {
      FileProjectStore(root).load();
    } catch (const VornoError& error) {
      return error.message();
    }
    return "(loaded)";
  }

  std::string folder_;
};

TEST_F(BadInput, EveryWrongDocumentGivesItsSentence) {
  for (const auto& bad : badDocuments()) {
    EXPECT_EQ(loadFailure(package(bad.name, bad.text)), bad.sentence) << bad.name;
  }
}

TEST_F(BadInput, LintPrintsTheSentenceAndExitsOne) {
  for (const auto& bad : badDocuments()) {
    auto result = runVorno({"lint", "--project", package(bad.name, bad.text)});
    EXPECT_EQ(result.status, 1) << bad.name;
    EXPECT_EQ(result.err, "Error: " + bad.sentence + "\n") << bad.name;
    EXPECT_EQ(result.out, "") << bad.name;
  }
}

TEST_F(BadInput, FolderWherePackageFileShouldBe) {
  fs::path root = fs::path(folder_) / "Dir.vorno";
  fs::create_directories(root / "project.json");
  std::string sentence = "Couldn't read " + (root / "project.json").string() + ": Is a directory.";
  EXPECT_EQ(loadFailure(root.string()), sentence);
  auto result = runVorno({"lint", "-p", root.string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: " + sentence + "\n");
}

TEST_F(BadInput, UnreadablePackageFile) {
  // Tests may run as root, where permissions don't stop a read; a link to itself does.
  fs::path root = fs::path(folder_) / "Loop.vorno";
  fs::create_directories(root);
  fs::create_symlink("project.json", root / "project.json");
  auto result = runVorno({"lint", "-p", root.string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("Error: ", 0), 0u) << result.err;
  EXPECT_NE(result.err.find(root.string()), std::string::npos) << result.err;
  EXPECT_EQ(result.err.find('\n'), result.err.size() - 1) << "one sentence, one line";
}

TEST_F(BadInput, NoPackageAtAll) {
  auto result = runVorno({"lint", "-p", folder_ + "/Nothing.vorno"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "Error: No project at " + folder_ + "/Nothing.vorno. Create one with project_create.\n");
}

}  // namespace
}  // namespace vorno::testing::bad_input_test
