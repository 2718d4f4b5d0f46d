#include <cairo.h>
#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <sstream>
#include <string>
#include <utility>

#include "kit/util/atomic_write.h"
#include "server/tool_test_support.h"

namespace vorno::asset_tools_test {
namespace {

namespace fs = std::filesystem;
using testing::ToolHarness;

constexpr const char* kInter = "/usr/share/fonts/opentype/inter/Inter-SemiBold.otf";
constexpr const char* kDejaVu = "/usr/share/fonts/truetype/dejavu/DejaVuSans.ttf";
constexpr const char* kSquare =
    R"(<svg xmlns="http://www.w3.org/2000/svg" width="24" height="24"><rect width="24" height="24" fill="#C8216A"/></svg>)";

/// A PNG of `width` × `height`: opaque grey, with the rectangle `hole` cut out when it is given.
void writePNG(const fs::path& path, int width, int height, std::optional<std::array<int, 4>> hole = std::nullopt) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 0.2, 0.2, 0.2);
  cairo_paint(cr);
  if (hole) {
    cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
    cairo_rectangle(cr, (*hole)[0], (*hole)[1], (*hole)[2], (*hole)[3]);
    cairo_fill(cr);
  }
  cairo_destroy(cr);
  ASSERT_EQ(cairo_surface_write_to_png(surface, path.c_str()), CAIRO_STATUS_SUCCESS);
  cairo_surface_destroy(surface);
}

std::string contents(const fs::path& path) {
  std::ifstream file(path, std::ios::binary);
  std::stringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

std::string assetCall(const std::string& package, const std::string& rest) {
  return R"({"project": ")" + package + R"(", )" + rest + "}";
}

TEST(AssetAddTool, ANameWithABlankFailsThePattern) {
  ToolHarness harness;
  std::string package = harness.package();
  writePNG(harness.folder() / "logo.png", 10, 10);
  auto result = harness.call("asset_add", assetCall(package, R"("name": "a b.png", "source_path": "logo.png")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "name must be a plain file name ending in .png, .jpg, .heic, .pdf, .svg, .ttf or .otf.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets" / "a b.png"));
}

TEST(AssetAddTool, NamesWithAPathOrAnotherFormatFailThePattern) {
  ToolHarness harness;
  std::string package = harness.package();
  // Extensions are matched as written: "Logo.PNG" is no name the pattern takes.
  for (const char* name : {"../logo.png", "logo.gif", "logo", "logo.png.txt", "Logo.PNG"}) {
    auto result = harness.call("asset_add", assetCall(package, std::string(R"("name": ")") + name + R"(", "svg": "x")"));
    EXPECT_EQ(result.text(0), "name must be a plain file name ending in .png, .jpg, .heic, .pdf, .svg, .ttf or .otf.")
        << name;
  }
}

TEST(AssetAddTool, SvgMarkupWithAPngNameFailsWithTheInlineMarkupSentence) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call("asset_add", assetCall(package, R"("name": "x.png", "svg": "<svg/>")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Inline markup must be saved with an .svg name.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets" / "x.png"));
}

TEST(AssetAddTool, ATtfWithFrameTrueGoesToTheFontPath) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call(
      "asset_add", assetCall(package, std::string(R"("name": "Brand.ttf", "frame": true, "source_path": ")") + kDejaVu + "\""));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved fonts/Brand.ttf: family DejaVu Sans (Book). Use it as \"fontFamily\": \"DejaVu Sans\" in the theme, "
            "in theme.textStyles.<role>, a slide's textStyles, or an element's style.");
  EXPECT_EQ(contents(fs::path(package) / "fonts" / "Brand.ttf"), contents(kDejaVu));
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets" / "frames" / "Brand.ttf"));
}

TEST(AssetAddTool, AFontNamesTheFamilyThatMatchesEveryWeight) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call("asset_add",
                             assetCall(package, std::string(R"("name": "Inter-SemiBold.otf", "source_path": ")") + kInter + "\""));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved fonts/Inter-SemiBold.otf: family Inter (Semi Bold). Use it as \"fontFamily\": \"Inter\" in the "
            "theme, in theme.textStyles.<role>, a slide's textStyles, or an element's style.");
  EXPECT_TRUE(fs::is_regular_file(fs::path(package) / "fonts" / "Inter-SemiBold.otf"));
}

TEST(AssetAddTool, AFontNeedsASourcePath) {
  ToolHarness harness;
  std::string package = harness.package();
  auto result = harness.call("asset_add", assetCall(package, R"("name": "Brand.otf", "svg": "<svg/>")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Fonts need source_path: a .ttf or .otf file.");
}

TEST(AssetAddTool, AFileThatIsNoFontFailsAndIsNotCopied) {
  ToolHarness harness;
  std::string package = harness.package();
  std::ofstream(harness.folder() / "notes.txt") << "not a font";
  auto result = harness.call("asset_add", assetCall(package, R"("name": "Brand.ttf", "source_path": "notes.txt")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Brand.ttf isn't a readable font.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "fonts" / "Brand.ttf"));
}

TEST(AssetAddTool, AMissingSourceFileNamesTheResolvedPath) {
  ToolHarness harness;
  std::string package = harness.package();
  auto image = harness.call("asset_add", assetCall(package, R"("name": "logo.png", "source_path": "gone/logo.png")"));
  EXPECT_TRUE(image.isError);
  EXPECT_EQ(image.text(0), "No file at " + (harness.folder() / "gone" / "logo.png").string() + ".");
  auto font = harness.call("asset_add", assetCall(package, R"("name": "Brand.ttf", "source_path": "gone.ttf")"));
  EXPECT_EQ(font.text(0), "No file at " + (harness.folder() / "gone.ttf").string() + ".");
}

TEST(AssetAddTool, InlineSvgIsSavedAsVectorWithItsSize) {
  ToolHarness harness;
  std::string package = harness.package();
  nlohmann::json arguments = {{"project", package}, {"name", "logo.svg"}, {"svg", kSquare}};
  auto result = harness.call("asset_add", arguments.dump());
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved assets/logo.svg (24×24, vector). Use \"image\": \"assets/logo.svg\" in an image element.");
  EXPECT_EQ(contents(fs::path(package) / "assets" / "logo.svg"), kSquare);
  // Nothing of the check is left beside the asset.
  int entries = 0;
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(fs::path(package) / "assets")) ++entries;
  EXPECT_EQ(entries, 1);
}

TEST(AssetAddTool, ARelativePngIsCopiedWithItsPixelSize) {
  ToolHarness harness;
  std::string package = harness.package();
  fs::create_directories(harness.folder() / "icons");
  writePNG(harness.folder() / "icons" / "icon.png", 30, 20);
  auto result = harness.call("asset_add", assetCall(package, R"("name": "icon.png", "source_path": "icons/icon.png")"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0), "Saved assets/icon.png (30×20). Use \"image\": \"assets/icon.png\" in an image element.");
  EXPECT_EQ(contents(fs::path(package) / "assets" / "icon.png"), contents(harness.folder() / "icons" / "icon.png"));
}

TEST(AssetAddTool, AnExistingAssetOfThatNameIsReplaced) {
  ToolHarness harness;
  std::string package = harness.package();
  writePNG(harness.folder() / "small.png", 10, 10);
  writePNG(harness.folder() / "large.png", 40, 40);
  harness.call("asset_add", assetCall(package, R"("name": "logo.png", "source_path": "small.png")"));
  auto result = harness.call("asset_add", assetCall(package, R"("name": "logo.png", "source_path": "large.png")"));
  EXPECT_EQ(result.text(0), "Saved assets/logo.png (40×40). Use \"image\": \"assets/logo.png\" in an image element.");
  EXPECT_EQ(contents(fs::path(package) / "assets" / "logo.png"), contents(harness.folder() / "large.png"));
}

TEST(AssetAddTool, AnUnreadableImageFailsAndLeavesTheOldAsset) {
  ToolHarness harness;
  std::string package = harness.package();
  writePNG(harness.folder() / "good.png", 10, 10);
  std::ofstream(harness.folder() / "bad.png") << "no picture here";
  harness.call("asset_add", assetCall(package, R"("name": "logo.png", "source_path": "good.png")"));
  auto result = harness.call("asset_add", assetCall(package, R"("name": "logo.png", "source_path": "bad.png")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "logo.png isn't a readable image.");
  EXPECT_EQ(contents(fs::path(package) / "assets" / "logo.png"), contents(harness.folder() / "good.png"));
}

TEST(AssetAddTool, AFramePngIsMeasuredIntoAssetsFrames) {
  ToolHarness harness;
  std::string package = harness.package();
  writePNG(harness.folder() / "phone.png", 200, 400, std::array<int, 4>{20, 30, 160, 340});
  auto result = harness.call("asset_add",
                             assetCall(package, R"("name": "phone.png", "frame": true, "source_path": "phone.png")"));
  ASSERT_FALSE(result.isError) << result.text();
  EXPECT_EQ(result.text(0),
            "Saved assets/frames/phone.png: screen 160×340 px, corner radius 0 px. Use \"frame\": "
            "\"assets/frames/phone.png\" on a device (or in device.platforms.ios/android). Captures should match the "
            "screen's aspect.");
  EXPECT_TRUE(fs::is_regular_file(fs::path(package) / "assets" / "frames" / "phone.png"));
}

TEST(AssetAddTool, AFrameThatIsNoPngFails) {
  ToolHarness harness;
  std::string package = harness.package();
  nlohmann::json arguments = {{"project", package}, {"name", "phone.svg"}, {"svg", kSquare}, {"frame", true}};
  auto result = harness.call("asset_add", arguments.dump());
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0), "Frames must be PNG images with a transparent screen.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets" / "frames" / "phone.svg"));
}

TEST(AssetAddTool, AFrameWithoutATransparentScreenSaysWhatIsWrong) {
  ToolHarness harness;
  std::string package = harness.package();
  writePNG(harness.folder() / "slab.png", 200, 400);
  auto result = harness.call("asset_add",
                             assetCall(package, R"("name": "slab.png", "frame": true, "source_path": "slab.png")"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0),
            "The frame image needs a transparent screen: the pixel at its center is opaque. Export the PNG with the "
            "screen cut out.");
  EXPECT_FALSE(fs::exists(fs::path(package) / "assets" / "frames" / "slab.png"));
}

TEST(AssetAddTool, WithoutAPackageNothingIsWritten) {
  ToolHarness harness;
  auto result = harness.call("asset_add", std::string(R"({"project": "Missing.vorno", "name": "logo.svg", "svg": "<svg/>"})"));
  EXPECT_TRUE(result.isError);
  EXPECT_EQ(result.text(0).rfind("No project at ", 0), 0u) << result.text(0);
  EXPECT_FALSE(fs::exists(harness.folder() / "Missing.vorno" / "assets"));
}

TEST(AssetAddTool, LogsTheAssetsName) {
  ToolHarness harness;
  std::string package = harness.package();
  nlohmann::json arguments = {{"project", package}, {"name", "logo.svg"}, {"svg", kSquare}};
  harness.call("asset_add", arguments.dump());
  std::ifstream log(fs::path(package) / ".activity.jsonl");
  std::string line;
  ASSERT_TRUE(std::getline(log, line));
  EXPECT_EQ(nlohmann::json::parse(line)["summary"], "Added asset logo.svg");
}

// Runs `act` once, when a write of a file whose name ends in `suffix` has renamed it into place;
// leaves the hook as it found it.
class WhenWritten {
 public:
  WhenWritten(std::string suffix, std::function<void()> act) {
    suffix_ = std::move(suffix);
    act_ = std::move(act);
    atomicWriteStepHook = [](const fs::path& target, const fs::path&, WriteStep step) {
      if (step != WriteStep::renamed || !act_ || !target.filename().string().ends_with(suffix_)) return;
      std::exchange(act_, nullptr)();
    };
  }
  ~WhenWritten() {
    atomicWriteStepHook = nullptr;
    act_ = nullptr;
  }
  bool happened() const { return !act_; }

 private:
  static inline std::string suffix_;
  static inline std::function<void()> act_;
};

// The image is staged beside its place and checked; before it is renamed into place, assets/
// becomes a link to a folder outside the package.
TEST(AssetAddTool, AssetsFolderSwappedForALinkBeforeTheRenameKeepsTheAssetInTheFolderLookedAt) {
  ToolHarness harness;
  const fs::path package = harness.package();
  const fs::path outside = harness.folder() / "outside";
  fs::create_directories(outside);
  std::ofstream(outside / "canary.txt") << "untouched";
  fs::create_directories(package / "assets");
  writePNG(harness.folder() / "logo.png", 10, 10);
  WhenWritten swap("-logo.png", [&] {
    fs::rename(package / "assets", package / "assets-looked-at");
    fs::create_directory_symlink(outside, package / "assets");
  });
  auto result = harness.call(
      "asset_add", assetCall(package.string(), R"("name": "logo.png", "source_path": ")" +
                                                   (harness.folder() / "logo.png").string() + "\""));
  ASSERT_TRUE(swap.happened()) << "the image was never staged";
  EXPECT_FALSE(result.isError) << result.text(0);
  EXPECT_EQ(contents(package / "assets-looked-at" / "logo.png"), contents(harness.folder() / "logo.png"));
  int entries = 0;  // the asset alone: no staged file left beside it
  for ([[maybe_unused]] const auto& entry : fs::directory_iterator(package / "assets-looked-at")) ++entries;
  EXPECT_EQ(entries, 1);
  EXPECT_EQ(contents(outside / "canary.txt"), "untouched");
  for (const auto& entry : fs::directory_iterator(outside))
    EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
}

}  // namespace
}  // namespace vorno::asset_tools_test
