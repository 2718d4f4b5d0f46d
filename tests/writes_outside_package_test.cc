// Hostile packages and paths on the command line: ids written into project.json by hand that
// would climb out of renders/ or exports/, and an --out that names something other than a file.
// Each case ends with one sentence, and a canary file beside the package stays as it was.
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <sys/sysmacros.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace vorno::testing {
namespace {

namespace fs = std::filesystem;

const char* theme = R"("theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
    "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"})";

std::string refusal(const std::string& what, const std::string& name) {
  return "Error: " + what + " \"" + name +
         "\" can't be used in a file name: use letters, digits, - and _ (no /, no leading dot).\n";
}

class WritesOutsidePackage : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    fs::create_directories(root_);
    std::ofstream(canary()) << "untouched";
  }

  void write(const std::string& slides, const std::string& extra = "") {
    std::ofstream(root_ / "project.json")
        << R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"], )" << theme
        << R"(, "slides": )" << slides << extra << "}";
  }

  fs::path canary() const { return folder_.path() / "canary.txt"; }

  // Nothing beside the package but the canary, and the canary as it was.
  void expectNothingOutside() const {
    for (const auto& entry : fs::directory_iterator(folder_.path()))
      EXPECT_TRUE(entry.path() == root_ || entry.path() == canary() || entry.path().filename().string().starts_with("out"))
          << "written outside the package: " << entry.path();
    for (const auto& entry : fs::directory_iterator(folder_.path()))
      EXPECT_EQ(entry.path().filename().string().find("outside"), std::string::npos) << entry.path();
    std::ifstream in(canary());
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "untouched");
  }

  ProcessResult render(const std::vector<std::string>& extra = {}) {
    std::vector<std::string> args{"render", "--project", root_.string()};
    args.insert(args.end(), extra.begin(), extra.end());
    return runVorno(args);
  }

  TempFolder folder_{"vorno-outside"};
  fs::path root_;
};

TEST_F(WritesOutsidePackage, HandWrittenSlideIdThatClimbsOutOfRendersIsRefused) {
  write(R"([{"id": "../../outside-render", "headline": "Hello"}])");
  ProcessResult r = render();
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Slide id", "../../outside-render"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, HandWrittenLocaleThatClimbsOutOfRendersIsRefused) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  ProcessResult r = render({"--locale", "x/../../../outside-locale"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Locale", "x/../../../outside-locale"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, HandWrittenCreativeIdThatClimbsOutIsRefusedByVideo) {
  write("[]", R"(, "creatives": [{"canvas": "ios.search-results", "id": "../../outside-video", "headline": "Wave",
      "motion": {"duration": 8, "tracks": {"headline": [{"t": 0, "y": 0.4}, {"t": 8, "y": 0.6}]}}}])");
  ProcessResult r = runVorno({"video", "--project", root_.string(), "--creative", "../../outside-video"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Creative id", "../../outside-video"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, HandWrittenVariantIdThatClimbsOutIsRefusedByOverview) {
  write(R"([{"id": "intro", "headline": "Hello"}])",
        R"(, "variants": [{"id": "../../outside-look", "patch": {"theme": {"accent": "#00AA00"}}}])");
  ProcessResult r = runVorno({"overview", "--project", root_.string(), "--variant", "../../outside-look"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Variant id", "../../outside-look"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, HandWrittenVariantIdThatClimbsOutIsRefusedByExportVariant) {
  write(R"([{"id": "intro", "headline": "Hello"}])",
        R"(, "variants": [{"id": "../../../outside-export", "patch": {"theme": {"accent": "#00AA00"}}}])");
  ProcessResult r = runVorno({"export", "--project", root_.string(), "--variant", "../../../outside-export"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Variant id", "../../../outside-export"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, HandWrittenVariantIdThatClimbsOutStopsAllVariantsBeforeAnyLook) {
  write(R"([{"id": "intro", "headline": "Hello"}])",
        R"(, "variants": [{"id": "../../../outside-export", "patch": {"theme": {"accent": "#00AA00"}}}])");
  ProcessResult r = runVorno({"export", "--project", root_.string(), "--all-variants"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Variant id", "../../../outside-export"));
  expectNothingOutside();
  EXPECT_FALSE(fs::exists(root_ / "exports" / "ios")) << "the base look was exported before the refusal";
}

// --out

TEST_F(WritesOutsidePackage, OutThatIsAFolderIsRefusedAndTheFolderStays) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  const fs::path out = folder_.path() / "out-folder";
  fs::create_directory(out);
  std::ofstream(out / "keep.txt") << "mine";
  ProcessResult r = render({"--out", out.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: The path " + out.string() +
                       " is a folder, not a file. Give --out the path of a file, or leave --out off to write into "
                       "renders/.\n");
  EXPECT_TRUE(fs::exists(out / "keep.txt"));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OutThatIsANamedPipeIsRefusedAndThePipeStays) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  const fs::path out = folder_.path() / "out.png";
  ASSERT_EQ(::mkfifo(out.c_str(), 0644), 0);
  ProcessResult r = runVorno({"overview", "--project", root_.string(), "--out", out.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: The path " + out.string() +
                       " is a named pipe, not a file. Give --out the path of a file, or leave --out off to write into "
                       "renders/.\n");
  EXPECT_TRUE(fs::is_fifo(fs::symlink_status(out)));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OutThatIsADeviceIsRefusedAndTheDeviceStays) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  // A node of our own where we may make one (as root), so that a regression replaces nothing of
  // the system's; elsewhere the system's /dev/null, which such a user can't replace.
  fs::path out = folder_.path() / "out-null";
  if (::mknod(out.c_str(), S_IFCHR | 0666, makedev(1, 3)) != 0) out = "/dev/null";
  ProcessResult r = render({"--out", out.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: The path " + out.string() +
                       " is a device, not a file. Give --out the path of a file, or leave --out off to write into "
                       "renders/.\n");
  EXPECT_TRUE(fs::is_character_file(fs::symlink_status(out)));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OutThatIsASymbolicLinkIsRefusedAndNeitherLinkNorTargetChanges) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  const fs::path out = folder_.path() / "out-link.png";
  fs::create_symlink(canary(), out);
  ProcessResult r = render({"--out", out.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: The path " + out.string() +
                       " is a symbolic link, not a file. Give --out the path of a file, or leave --out off to write "
                       "into renders/.\n");
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(out)));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OutThatIsARegularFileIsReplaced) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  const fs::path out = folder_.path() / "out.png";
  std::ofstream(out) << "old";
  ProcessResult r = render({"--out", out.string()});
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_GT(fs::file_size(out), 3u);
  expectNothingOutside();
}

}  // namespace
}  // namespace vorno::testing
