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

namespace vorno::testing::writes_outside_package_test {
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

  // Nothing beside the package but the canary (and `planted`, a folder the test made), and the
  // canary as it was.
  void expectNothingOutsideBut(const std::string& planted) const {
    for (const auto& entry : fs::directory_iterator(folder_.path()))
      EXPECT_TRUE(entry.path() == root_ || entry.path() == canary() || entry.path().filename() == planted ||
                  entry.path().filename().string().starts_with("out-"))
          << "written outside the package: " << entry.path();
    for (const auto& entry : fs::directory_iterator(folder_.path()))
      EXPECT_EQ(entry.path().filename().string().find("outside"), std::string::npos) << entry.path();
    std::ifstream in(canary());
    std::stringstream text;
    text << in.rdbuf();
    EXPECT_EQ(text.str(), "untouched");
  }
  void expectNothingOutside() const { expectNothingOutsideBut("out.png"); }

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

// Symbolic links inside the package: nothing is written through them.

std::string linkedFolderRefusal(const fs::path& folder, const std::string& within = "the package") {
  return "Error: The folder " + folder.string() + " is a symbolic link. Vorno writes only inside " + within +
         " and never through a link: make it a real folder, or remove it, and try again.\n";
}

TEST_F(WritesOutsidePackage, RendersFolderThatLinksOutsideIsRefusedByRender) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "renders");
  ProcessResult r = render();
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "renders"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, RenderFileThatLinksOutsideIsRefusedAndTheLinkStays) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(root_ / "renders");
  const fs::path file = root_ / "renders" / "intro-ios.iphone-6.9-en-US.png";
  fs::create_symlink(canary(), file);
  ProcessResult r = render();
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: " + file.string() +
                       " is a symbolic link. Vorno writes only inside the package and never through a link: remove the "
                       "link and try again.\n");
  EXPECT_TRUE(fs::is_symlink(fs::symlink_status(file)));
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OverviewIntoRendersThatLinksOutsideIsRefused) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "renders");
  ProcessResult r = runVorno({"overview", "--project", root_.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "renders"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, ExportsFolderThatLinksOutsideIsRefusedBeforeAnythingIsWritten) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "exports");
  ProcessResult r = runVorno({"export", "--project", root_.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "exports"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, ExportSubFolderThatLinksOutsideIsRefusedBeforeAnythingIsWritten) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(root_ / "exports");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "exports" / "ios");
  ProcessResult r = runVorno({"export", "--project", root_.string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "exports" / "ios"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  EXPECT_FALSE(fs::exists(root_ / "exports" / ".vorno-export.json")) << "the manifest was written before the refusal";
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, FastlaneExportFolderThatLinksOutsideIsRefused) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(root_ / "exports" / "fastlane");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "exports" / "fastlane" / "screenshots");
  ProcessResult r = runVorno({"export", "--project", root_.string(), "--layout", "fastlane"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "exports" / "fastlane" / "screenshots"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, VariantExportFolderThatLinksOutsideStopsAllVariantsBeforeAnyLook) {
  write(R"([{"id": "intro", "headline": "Hello"}])",
        R"(, "variants": [{"id": "green", "patch": {"theme": {"accent": "#00AA00"}}}])");
  fs::create_directories(root_ / "exports");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "exports" / "variants");
  ProcessResult r = runVorno({"export", "--project", root_.string(), "--all-variants"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "exports" / "variants"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  EXPECT_FALSE(fs::exists(root_ / "exports" / "ios")) << "the base look was exported before the refusal";
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, LayersFolderThatIsALinkIsRefused) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(folder_.path() / "elsewhere");
  fs::create_symlink(folder_.path() / "elsewhere", root_ / "layers");
  ProcessResult r = render({"--layers", (root_ / "layers").string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, linkedFolderRefusal(root_ / "layers", "the layers folder"));
  EXPECT_TRUE(fs::is_empty(folder_.path() / "elsewhere"));
  expectNothingOutsideBut("elsewhere");
}

TEST_F(WritesOutsidePackage, LayerFileThatIsALinkIsRefusedAndWhatItPointsAtKeepsItsBytes) {
  write(R"([{"id": "intro", "headline": "Hello"}])");
  fs::create_directories(root_ / "layers");
  fs::create_symlink(canary(), root_ / "layers" / "layers.json");
  ProcessResult r = render({"--layers", (root_ / "layers").string()});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Error: " + (root_ / "layers" / "layers.json").string() +
                       " is a symbolic link. Vorno writes only inside the layers folder and never through a link: "
                       "remove the link and try again.\n");
  EXPECT_FALSE(fs::exists(root_ / "layers" / "00-background.png")) << "a layer was written before the refusal";
  expectNothingOutside();
}

TEST_F(WritesOutsidePackage, OverviewOfAllVariantsRefusesABadVariantBeforeTheFirstSheet) {
  write(R"([{"id": "intro", "headline": "Hello"}])",
        R"(, "variants": [{"id": "green", "patch": {"theme": {"accent": "#00AA00"}}},
                          {"id": "../../outside-look", "patch": {}}])");
  ProcessResult r = runVorno({"overview", "--project", root_.string(), "--all-variants"});
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, refusal("Variant id", "../../outside-look"));
  EXPECT_EQ(r.out, "");
  EXPECT_FALSE(fs::exists(root_ / "renders" / "overview-ios.iphone-6.9-en-US.png"));
  EXPECT_FALSE(fs::exists(root_ / "renders" / "overview-ios.iphone-6.9-en-US-green.png"));
  expectNothingOutside();
}

}  // namespace
}  // namespace vorno::testing::writes_outside_package_test
