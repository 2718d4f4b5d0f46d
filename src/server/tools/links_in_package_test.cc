// Symbolic links planted in a package (a cloned repository can hold any) must never carry a
// tool's write outside it: a folder that links elsewhere is refused before anything is written,
// and so is a file that links elsewhere; the file it points at keeps its bytes.
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include "server/tool_test_support.h"

namespace vorno::links_in_package_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;
using testing::ToolResult;

constexpr const char* kDejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

class LinksInPackage : public ::testing::Test {
 protected:
  void SetUp() override {
    package_ = harness_.package("App.vorno", {"intro"});
    outside_ = harness_.folder() / "outside";
    fs::create_directories(outside_);
    std::ofstream(outside_ / "canary.txt") << "untouched";
  }

  // The outside folder holds the canary, as it was, and nothing else.
  void expectOutsideUntouched() const {
    for (const auto& entry : fs::directory_iterator(outside_))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
    EXPECT_EQ(contents(outside_ / "canary.txt"), "untouched");
  }

  std::string folderRefusal(const std::string& relative) const {
    return "The folder " + (fs::path(package_) / relative).string() +
           " is a symbolic link. Vorno writes only inside the package and never through a link: make it a real "
           "folder, or remove it, and try again.";
  }

  ToolResult call(const std::string& tool, const std::string& rest) {
    return harness_.call(tool, R"({"project": ")" + package_ + R"(", )" + rest + "}");
  }

  ToolHarness harness_;
  std::string package_;
  fs::path outside_;
};

TEST_F(LinksInPackage, FontsFolderThatLinksOutsideIsRefusedByAssetAdd) {
  fs::create_symlink(outside_, fs::path(package_) / "fonts");
  ToolResult result = call("asset_add", std::string(R"("name": "Brand.ttf", "source_path": ")") + kDejaVu + "\"");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), folderRefusal("fonts"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, FontFileThatLinksOutsideIsRefusedAndWhatItPointsAtKeepsItsBytes) {
  fs::create_directories(fs::path(package_) / "fonts");
  fs::create_symlink(outside_ / "canary.txt", fs::path(package_) / "fonts" / "Brand.ttf");
  ToolResult result = call("asset_add", std::string(R"("name": "Brand.ttf", "source_path": ")") + kDejaVu + "\"");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), (fs::path(package_) / "fonts" / "Brand.ttf").string() +
                                " is a symbolic link. Vorno writes only inside the package and never through a link: "
                                "remove the link and try again.");
  EXPECT_TRUE(fs::is_symlink(fs::path(package_) / "fonts" / "Brand.ttf"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, AssetsFolderThatLinksOutsideIsRefusedByAssetAdd) {
  fs::create_symlink(outside_, fs::path(package_) / "assets");
  ToolResult result = call("asset_add", R"("name": "logo.svg", "svg": "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>")");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), folderRefusal("assets"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, AssetFileThatLinksOutsideIsRefusedByAssetAdd) {
  fs::create_directories(fs::path(package_) / "assets");
  fs::create_symlink(outside_ / "canary.txt", fs::path(package_) / "assets" / "logo.svg");
  ToolResult result = call("asset_add", R"("name": "logo.svg", "svg": "<svg xmlns='http://www.w3.org/2000/svg' width='4' height='4'/>")");
  EXPECT_TRUE(result.isError);
  EXPECT_NE(result.text(0).find("logo.svg is a symbolic link."), std::string::npos) << result.text(0);
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, FramesFolderThatLinksOutsideIsRefusedByAssetAdd) {
  fs::create_directories(fs::path(package_) / "assets");
  fs::create_symlink(outside_, fs::path(package_) / "assets" / "frames");
  ToolResult result = call("asset_add", std::string(R"("name": "phone.png", "frame": true, "source_path": ")") +
                                            (fs::path(package_) / "project.json").string() + "\"");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), folderRefusal("assets/frames"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, RendersFolderThatLinksOutsideIsRefusedByRenderSlide) {
  fs::remove_all(fs::path(package_) / "renders");
  fs::create_symlink(outside_, fs::path(package_) / "renders");
  ToolResult result = call("render_slide", R"("slide": "intro")");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), folderRefusal("renders"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, ExportsFolderThatLinksOutsideIsRefusedByExport) {
  fs::remove_all(fs::path(package_) / "exports");
  fs::create_symlink(outside_, fs::path(package_) / "exports");
  ToolResult result = call("export", R"("layout": "vorno")");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), folderRefusal("exports"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, NulInProjectCreatesPathIsRefusedAndCreatesNothing) {
  ToolResult result = harness_.call("project_create", R"({"project": "a\u0000b.vorno", "app_name": "A"})");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "The path a\\0b.vorno holds a NUL character, which no file name can hold: give the path "
                            "without it.");
  EXPECT_FALSE(fs::exists(harness_.folder() / "a"));
  expectOutsideUntouched();
}

TEST_F(LinksInPackage, NulInAssetAddsSourcePathIsRefused) {
  ToolResult result = call("asset_add", R"("name": "logo.png", "source_path": "logo.png\u0000.txt")");
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "The path logo.png\\0.txt holds a NUL character, which no file name can hold: give the "
                            "path without it.");
  EXPECT_FALSE(fs::exists(fs::path(package_) / "assets"));
}

TEST_F(LinksInPackage, NulInAToolsProjectIsRefusedWithoutReadingThePrefix) {
  // Cut at the NUL, the path would name the real package and the slide would be deleted.
  ToolResult result = harness_.call("slide_delete", R"({"project": ")" + package_ + R"(\u0000/x", "id": "intro"})");
  EXPECT_TRUE(result.isError);
  EXPECT_NE(result.text(0).find("holds a NUL character"), std::string::npos) << result.text(0);
  EXPECT_EQ(harness_.load(package_).slides.size(), 1u);
}

}  // namespace
}  // namespace vorno::links_in_package_test
