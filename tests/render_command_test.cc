// `vorno render` and `vorno overview` as a person runs them: default paths under renders/, the
// validation errors with status 64, layers with layers.json, and sheets per look.
#include "kit/image/images.h"
#include "kit/util/geometry.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>

namespace vorno::testing::render_command_test {
namespace {

namespace fs = std::filesystem;

const char* theme = R"("theme": {"background": "#FFFFFF", "invertedBackground": "#000000", "foreground": "#000000",
    "invertedForeground": "#FFFFFF", "accent": "#FF0000", "muted": "#777777", "headlineWeight": "bold"})";

std::string document(const std::string& slides, const std::string& extra = "") {
  return std::string(R"({"schemaVersion": 5, "appName": "A", "locales": ["en-US"], "targets": ["ios.iphone-6.9"], )") +
         theme + R"(, "slides": )" + slides + extra + "}";
}

const char* twoSlides = R"([{"id": "intro", "headline": "Plan the week"},
  {"id": "share", "headline": "Share it", "elements": [
    {"id": "hero phone/1", "kind": "shape", "shape": "circle", "fill": "#FF3366"}]}])";

const char* headerCreative = R"(, "creatives": [{"canvas": "ios.header", "id": "summer", "headline": "Summer"}])";
const char* movingCreative = R"(, "creatives": [{"canvas": "ios.search-results", "id": "wave", "headline": "Wave",
  "motion": {"duration": 8, "tracks": {"headline": [{"t": 0, "y": 0.4}, {"t": 8, "y": 0.6}]}}}])";

class RenderCommand : public ::testing::Test {
 protected:
  std::string package(const std::string& text) {
    fs::path root = folder_.path() / "Set.vorno";
    fs::create_directories(root);
    std::ofstream(root / "project.json") << text;
    return root.string();
  }
  static std::string read(const fs::path& path) {
    std::ifstream in(path);
    std::stringstream text;
    text << in.rdbuf();
    return text.str();
  }

  TempFolder folder_{"vorno-render"};
};

TEST_F(RenderCommand, TextOverAPhotoIsCheckedAgainstThePhotosOwnPixels) {
  // Black words on a black photo: read from the photo, the contrast is 1:1. A program that
  // sampled no pixels would judge the words against a neutral grey and find them readable.
  auto root = package(document(R"([{"id": "night", "headline": "Dark mode",
      "background": {"image": "assets/night.png"}}])"));
  fs::create_directories(fs::path(root) / "assets");
  cairo_surface_t* photo = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 64, 64);
  cairo_t* cr = cairo_create(photo);
  cairo_set_source_rgb(cr, 0, 0, 0);
  cairo_paint(cr);
  cairo_destroy(cr);
  cairo_surface_write_to_png(photo, (fs::path(root) / "assets/night.png").c_str());
  cairo_surface_destroy(photo);
  auto result = runVorno({"render", "--project", root, "--slide", "night"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find("contrast is 1.0:1"), std::string::npos) << result.out;
}

TEST_F(RenderCommand, ProjectWithNoSlidesIsAValidationError) {
  auto root = package(document("[]"));
  auto result = runVorno({"render", "--project", root});
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("Error: No such slide or creative."), std::string::npos) << result.err;
  EXPECT_NE(result.err.find("Usage:"), std::string::npos) << result.err;
}

TEST_F(RenderCommand, FirstSlideGoesToRendersAtTheTargetsSize) {
  auto root = package(document(twoSlides));
  auto result = runVorno({"render", "--project", root});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path expected = fs::path(root) / "renders" / "intro-ios.iphone-6.9-en-US.png";
  EXPECT_EQ(result.out.substr(0, result.out.find('\n')), expected.string());
  auto size = Images::pixelSize(expected.string());
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 1320);
  EXPECT_EQ(size->height, 2868);
}

TEST_F(RenderCommand, UnknownTargetIsAValidationErrorListingTheKnownOnes) {
  auto root = package(document(twoSlides));
  auto result = runVorno({"render", "--project", root, "--target", "ios.watch"});
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("Error: Unknown target ios.watch. Known: ios.iphone-6.9, "), std::string::npos) << result.err;
}

TEST_F(RenderCommand, TargetOnACreativeIsIgnoredWithoutAWord) {
  auto root = package(document(twoSlides, headerCreative));
  auto result = runVorno({"render", "--project", root, "--slide", "summer", "--target", "play.phone"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path expected = fs::path(root) / "renders" / "summer-ios.header-en-US.png";
  EXPECT_EQ(result.out.substr(0, result.out.find('\n')), expected.string());
  EXPECT_EQ(result.err, "");
  auto size = Images::pixelSize(expected.string());
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 3840);
  EXPECT_EQ(size->height, 1646);
}

TEST_F(RenderCommand, GuidesOnACreativeNameThePreviewAndKeepItsSize) {
  auto root = package(document(twoSlides, headerCreative));
  auto result = runVorno({"render", "--project", root, "--slide", "summer", "--guides"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path expected = fs::path(root) / "renders" / "summer-ios.header-en-US-guides.png";
  auto size = Images::pixelSize(expected.string());
  ASSERT_TRUE(size) << result.out;
  EXPECT_EQ(size->width, 3840);
}

TEST_F(RenderCommand, LayersOnACreativeInMotionWritesNoLayers) {
  auto root = package(document(twoSlides, movingCreative));
  fs::path layers = folder_.path() / "layers";
  auto result = runVorno({"render", "--project", root, "--slide", "wave", "--layers", layers.string()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_FALSE(fs::exists(layers));
  EXPECT_EQ(result.out.find("layers.json"), std::string::npos);
}

// The mean row of the dark pixels of a picture: where black words on white stand.
double inkRow(const Image& image) {
  double rows = 0, count = 0;
  for (int y = 0; y < image.height(); ++y) {
    const auto* row = reinterpret_cast<const uint32_t*>(image.data() + static_cast<size_t>(y) * image.stride());
    for (int x = 0; x < image.width(); ++x)
      if (((row[x] >> 8) & 0xFF) < 100) {
        rows += y;
        ++count;
      }
  }
  return count ? rows / count : -1;
}

TEST_F(RenderCommand, TimeThreeNamesTheFileWithZeroPaddedSecondsAndDrawsThatMoment) {
  auto root = package(document(twoSlides, movingCreative));
  auto result = runVorno({"render", "--project", root, "--slide", "wave", "--time", "3"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path expected = fs::path(root) / "renders" / "wave-ios.search-results-en-US-03.00s.png";
  EXPECT_EQ(result.out.substr(0, result.out.find('\n')), expected.string());
  auto start = runVorno({"render", "--project", root, "--slide", "wave", "--time", "0"});
  ASSERT_EQ(start.status, 0) << start.err;

  // The headline's track takes its centre from 0.4 of the height at 0 s towards 0.6 at 8 s,
  // eased in and out: at 3 s it stands at 0.4 + 0.2 × 0.211, about 108 px lower.
  Image atThree = Images::load(expected.string());
  Image atZero = Images::load((fs::path(root) / "renders" / "wave-ios.search-results-en-US-00.00s.png").string());
  ASSERT_EQ(atThree.width(), 3840);
  EXPECT_NEAR(inkRow(atZero), 0.4 * 2560, 25);
  EXPECT_NEAR(inkRow(atThree) - inkRow(atZero), 0.2 * 4 * 0.375 * 0.375 * 0.375 * 2560, 12);
}

TEST_F(RenderCommand, FilmstripOfACreativeInMotionShowsEightMomentsOnOneSheet) {
  auto root = package(document(twoSlides, movingCreative));
  auto result = runVorno({"render", "--project", root, "--slide", "wave", "--filmstrip"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path expected = fs::path(root) / "renders" / "wave-ios.search-results-en-US-filmstrip.png";
  EXPECT_EQ(result.out, expected.string() + "\n");
  // Eight tiles in two rows of four on a sheet 2400 px wide: tiles (2400 − 5 × 24) / 4 = 570 px
  // wide, 380 high on the 3:2 canvas.
  auto size = Images::pixelSize(expected.string());
  ASSERT_TRUE(size);
  EXPECT_EQ(*size, (Size{2400, 2 * (380 + 54) + 3 * 24}));
}

TEST_F(RenderCommand, LayerIdHeroPhoneSlashOneBecomesASafeFileName) {
  auto root = package(document(twoSlides));
  fs::path layers = folder_.path() / "out" / "layers";  // intermediate folders are made
  auto result = runVorno({"render", "--project", root, "--slide", "share", "--layers", layers.string()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_NE(result.out.find((layers / "layers.json").string()), std::string::npos);
  auto list = nlohmann::json::parse(read(layers / "layers.json"));
  ASSERT_TRUE(list.is_array());
  ASSERT_GE(list.size(), 3u);
  EXPECT_EQ(list[0]["file"], "00-background.png");
  EXPECT_EQ(list[0]["label"], "Background");
  bool found = false;
  for (const auto& layer : list) {
    EXPECT_TRUE(fs::exists(layers / layer["file"].get<std::string>()));
    if (layer["id"] == "hero phone/1") {
      found = true;
      EXPECT_EQ(layer["file"].get<std::string>().substr(2), "-hero_phone_1.png");
    }
  }
  EXPECT_TRUE(found);
  auto size = Images::pixelSize((layers / "00-background.png").string());
  ASSERT_TRUE(size);
  EXPECT_EQ(size->width, 1320);
}

TEST_F(RenderCommand, OutIntoAMissingFolderFails) {
  auto root = package(document(twoSlides));
  auto result = runVorno({"render", "--project", root, "--out", (folder_.path() / "nowhere" / "a.png").string()});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err.rfind("Error: ", 0), 0u) << result.err;
}

TEST_F(RenderCommand, OutIsUsedAsItStands) {
  auto root = package(document(twoSlides));
  auto result = runVorno({"render", "--project", root, "--slide", "share", "--out", "mine.png"}, folder_.path());
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_TRUE(fs::exists(folder_.path() / "mine.png"));
  EXPECT_FALSE(fs::exists(fs::path(root) / "renders"));
}

TEST_F(RenderCommand, OverviewAllVariantsWithoutVariantsWritesOneSheetAndAllowsOut) {
  auto root = package(document(twoSlides));
  fs::path out = folder_.path() / "sheet.png";
  auto result = runVorno({"overview", "--project", root, "--all-variants", "--out", out.string()});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.substr(0, result.out.find('\n')), out.string());
  auto size = Images::pixelSize(out.string());
  ASSERT_TRUE(size);
  // Two tiles of 414 x 900 with gaps of 30.
  EXPECT_EQ(size->width, 30 + 2 * (414 + 30));
  EXPECT_EQ(size->height, 960);
  EXPECT_NE(result.out.find("Plan the week"), std::string::npos);
}

TEST_F(RenderCommand, OverviewAllVariantsWithOutAndTwoLooksIsAValidationError) {
  auto root = package(document(twoSlides, R"(, "variants": [{"id": "bold", "patch": {"theme": {"accent": "#00FF00"}}}])"));
  auto result = runVorno({"overview", "--project", root, "--all-variants", "--out", "x.png"}, folder_.path());
  EXPECT_EQ(result.status, 64);
  EXPECT_NE(result.err.find("Error: --out names one file; leave it out with --all-variants."), std::string::npos);
}

TEST_F(RenderCommand, OverviewNamesSheetsByTargetLocaleWordsAndVariant) {
  auto root = package(document(twoSlides, R"(, "variants": [{"id": "bold", "patch": {"theme": {"accent": "#00FF00"}}}])"));
  auto result = runVorno({"overview", "--project", root, "--all-variants", "--words-only"});
  ASSERT_EQ(result.status, 0) << result.err;
  fs::path renders = fs::path(root) / "renders";
  EXPECT_TRUE(fs::exists(renders / "overview-ios.iphone-6.9-en-US-words.png"));
  EXPECT_TRUE(fs::exists(renders / "overview-ios.iphone-6.9-en-US-words-bold.png"));
}

}  // namespace
}  // namespace vorno::testing::render_command_test
