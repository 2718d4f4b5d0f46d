// Golden pictures: representative slides rendered at a quarter of their size and compared with
// tests/golden/*.png within a small tolerance (fonts and filters may move a few pixels by a few
// levels, never a whole element). After a deliberate change, `make goldens` rewrites them; look at
// every one before committing.
//
// The cases are built here, with captures drawn by the test itself (a gradient header, cards and
// rows that read as an app screen), so no picture depends on files outside the repository.
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

namespace vorno::testing::golden_test {
namespace {

namespace fs = std::filesystem;

constexpr double goldenScale = 0.25;

// An app screen of `width` x `height`: portrait or landscape alike.
void drawCapture(const fs::path& path, int width, int height, double hue) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, width, height);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 0.96, 0.97, 0.99);
  cairo_paint(cr);
  double band = height * 0.24;
  cairo_pattern_t* header = cairo_pattern_create_linear(0, 0, width, band);
  cairo_pattern_add_color_stop_rgb(header, 0, 0.2 + hue * 0.5, 0.35, 0.95 - hue * 0.5);
  cairo_pattern_add_color_stop_rgb(header, 1, 0.55, 0.25 + hue * 0.4, 0.85);
  cairo_set_source(cr, header);
  cairo_rectangle(cr, 0, 0, width, band);
  cairo_fill(cr);
  cairo_pattern_destroy(header);
  double unit = std::min(width, height) / 22.0;
  for (int i = 0; i < 8; ++i) {
    double y = band + unit + i * unit * 4.2;
    if (y + unit * 3.5 > height) break;
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_rectangle(cr, unit, y, width - 2 * unit, unit * 3.5);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.2 + 0.08 * i, 0.6, 0.5);
    cairo_arc(cr, unit * 2.8, y + unit * 1.75, unit, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.25, 0.27, 0.3);
    cairo_rectangle(cr, unit * 4.8, y + unit, (width - unit * 7) * (0.7 - 0.05 * i), unit * 0.6);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.65, 0.67, 0.7);
    cairo_rectangle(cr, unit * 4.8, y + unit * 2, (width - unit * 7) * 0.9, unit * 0.45);
    cairo_fill(cr);
  }
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

// A custom frame: a dark rounded body with a transparent rounded screen cut out of it.
void drawFrame(const fs::path& path) {
  const int width = 700, height = 1400;
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(surface);
  auto rounded = [&](double x, double y, double w, double h, double r) {
    cairo_new_sub_path(cr);
    cairo_arc(cr, x + w - r, y + r, r, -M_PI / 2, 0);
    cairo_arc(cr, x + w - r, y + h - r, r, 0, M_PI / 2);
    cairo_arc(cr, x + r, y + h - r, r, M_PI / 2, M_PI);
    cairo_arc(cr, x + r, y + r, r, M_PI, 3 * M_PI / 2);
    cairo_close_path(cr);
  };
  rounded(0, 0, width, height, 110);
  cairo_set_source_rgb(cr, 0.85, 0.35, 0.2);
  cairo_fill(cr);
  rounded(40, 40, width - 80, height - 80, 80);
  cairo_set_operator(cr, CAIRO_OPERATOR_CLEAR);
  cairo_fill(cr);
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

const char* themeJSON = R"("theme": {"background": {"angle": 160, "linear": ["#EAF1FF", "#C9D8FF"]},
  "invertedBackground": "#10131A", "foreground": "#14171D", "invertedForeground": "#FFFFFF",
  "accent": "#E8552D", "muted": "#6B7280", "headlineWeight": "heavy"})";

const char* slidesJSON = R"([
  {"id": "hero", "archetype": "hero", "eyebrow": "PLAN", "headline": "Plan your **whole week** at a glance",
   "device": {"screenshot": "captures/{locale}/home.png"}},
  {"id": "top", "archetype": "device-top", "headline": "Quotes out in **two taps**",
   "subhead": "Prices from your catalogue, sent as a tidy PDF.", "emphasisStyle": "highlight",
   "device": {"screenshot": "captures/{locale}/home.png"}},
  {"id": "words", "archetype": "text-only", "inverted": true, "eyebrow": "WHY CREWS SWITCH",
   "headline": "Less admin. **More work done.**", "subhead": "Everything in one place."},
  {"id": "marker", "archetype": "text-only", "headline": "Routes that **save an hour** a day", "emphasisStyle": "marker"},
  {"id": "sticker", "archetype": "text-only", "headline": "Paid **sooner**, every time", "emphasisStyle": "sticker"},
  {"id": "cards", "archetype": "text-only", "headline": "Crews **love** it",
   "elements": [
     {"id": "rating", "kind": "component", "component": {"type": "rating", "value": 4.8, "title": "Loved by 20,000 crews"}},
     {"id": "badge", "kind": "component", "component": {"type": "badge", "title": "Editors' Choice", "style": "dark"}},
     {"id": "award", "kind": "component", "component": {"type": "award", "title": "App of the Day", "subtitle": "2025"}},
     {"id": "review", "kind": "component", "component": {"type": "review", "title": "Saved my Mondays",
      "subtitle": "Sam, roofer", "value": 5}}],
   "overrides": {"ios.iphone-6.9": {"placements": {
     "headline": {"x": 0.5, "y": 0.13, "width": 0.84},
     "rating": {"x": 0.5, "y": 0.3, "width": 0.8}, "badge": {"x": 0.5, "y": 0.44, "width": 0.6},
     "award": {"x": 0.5, "y": 0.62, "width": 0.6}, "review": {"x": 0.5, "y": 0.84, "width": 0.84}}}}},
  {"id": "more-cards", "archetype": "text-only", "headline": "All in **one** place",
   "elements": [
     {"id": "stat", "kind": "component", "component": {"type": "stat", "title": "3 h", "subtitle": "saved each week"}},
     {"id": "list", "kind": "component", "component": {"type": "checklist", "style": "light",
      "items": ["Plan the day", "Send quotes", "Get paid sooner"]}},
     {"id": "ping", "kind": "component", "component": {"type": "notification", "title": "Crewday",
      "subtitle": "Job at Elm St. confirmed"}},
     {"id": "tip", "kind": "component", "component": {"type": "callout", "title": "Tap to assign"}}],
   "overrides": {"ios.iphone-6.9": {"placements": {
     "headline": {"x": 0.5, "y": 0.11, "width": 0.84},
     "stat": {"x": 0.5, "y": 0.3, "width": 0.6}, "list": {"x": 0.5, "y": 0.53, "width": 0.8},
     "ping": {"x": 0.5, "y": 0.71, "width": 0.88}, "tip": {"x": 0.5, "y": 0.87, "width": 0.5}}}}},
  {"id": "pano-a", "archetype": "hero", "headline": "One **map**"},
  {"id": "pano-b", "archetype": "hero", "headline": "Every **job**"},
  {"id": "turned", "archetype": "hero", "headline": "Wide views, **turned**",
   "device": {"screenshot": "captures/{locale}/wide.png"}},
  {"id": "flat", "archetype": "hero", "headline": "Quiet **flat** frames",
   "device": {"screenshot": "captures/{locale}/home.png", "finish": "flat-black"}},
  {"id": "custom", "archetype": "hero", "headline": "Your **own** frame",
   "device": {"screenshot": "captures/{locale}/home.png", "frame": "assets/frames/brand.png"}},
  {"id": "play", "archetype": "hero", "headline": "On **Android** too",
   "device": {"screenshot": "captures/{locale}/home.png"}}
])";

const char* spreadsJSON = R"(, "spreads": [{"id": "pano", "slides": ["pano-a", "pano-b"],
  "background": {"angle": 90, "linear": ["#FFE3C7", "#C7E4FF"]},
  "elements": [{"id": "bridge", "kind": "device", "z": 1, "device": {"screenshot": "captures/{locale}/home.png"}}],
  "overrides": {"ios.iphone-6.9": {"placements": {"bridge": {"x": 1.0, "y": 0.62, "width": 0.62}}}}}])";

struct GoldenCase {
  const char* name;
  const char* slide;
  const char* target;
  const char* locale;
};

const GoldenCase cases[] = {
    {"hero-device", "hero", "ios.iphone-6.9", "en-US"},
    {"device-top-highlight", "top", "ios.iphone-6.9", "en-US"},
    {"text-only-inverted-color", "words", "ios.iphone-6.9", "en-US"},
    {"emphasis-marker", "marker", "ios.iphone-6.9", "en-US"},
    {"emphasis-sticker", "sticker", "ios.iphone-6.9", "en-US"},
    {"components-rating-badge-award-review", "cards", "ios.iphone-6.9", "en-US"},
    {"components-stat-checklist-notification-callout", "more-cards", "ios.iphone-6.9", "en-US"},
    {"spread-second-slice", "pano-b", "ios.iphone-6.9", "en-US"},
    {"turned-device", "turned", "ios.iphone-6.9", "en-US"},
    {"flat-finish", "flat", "ios.iphone-6.9", "en-US"},
    {"custom-png-frame", "custom", "ios.iphone-6.9", "en-US"},
    {"android-phone", "play", "play.phone", "en-US"},
    {"cjk-headline", "hero", "ios.iphone-6.9", "ja-JP"},
    {"rtl-headline", "hero", "ios.iphone-6.9", "ar-SA"},
};

const char* localized = R"(, "locales": ["en-US", "ja-JP", "ar-SA"])";

// One package for every case, made once.
const fs::path& goldenPackage() {
  static const fs::path root = [] {
    static TempFolder temp("vorno-golden");  // removed at exit
    fs::path folder = temp.path() / "Golden.vorno";
    for (const char* locale : {"en-US", "ja-JP", "ar-SA"}) {
      fs::create_directories(folder / "captures" / locale);
      drawCapture(folder / "captures" / locale / "home.png", 1320, 2868, 0.1);
      drawCapture(folder / "captures" / locale / "wide.png", 2868, 1320, 0.6);
    }
    fs::create_directories(folder / "assets" / "frames");
    drawFrame(folder / "assets" / "frames" / "brand.png");
    std::string text = std::string(R"({"schemaVersion": 5, "appName": "Crewday", "targets": ["ios.iphone-6.9"], )") +
                       themeJSON + localized + R"(, "slides": )" + slidesJSON + spreadsJSON + "}";
    // The localised headline of the "hero" slide.
    const std::string plain = R"("headline": "Plan your **whole week** at a glance")";
    const std::string many = R"("headline": {"en-US": "Plan your **whole week** at a glance",
      "ja-JP": "一週間を\n**ひと目で**計画", "ar-SA": "خطّط **أسبوعك كله** بنظرة واحدة"})";
    text.replace(text.find(plain), plain.size(), many);
    std::ofstream(folder / "project.json") << text;
    return folder;
  }();
  return root;
}

struct Difference {
  double meanPerChannel = 0;
  double fractionFarOff = 0;  // pixels with a channel more than 40 levels off
};

Difference compare(const Image& a, const Image& b) {
  Difference d;
  long long sum = 0, far = 0;
  for (int y = 0; y < a.height(); ++y) {
    const auto* ra = reinterpret_cast<const uint32_t*>(a.data() + static_cast<size_t>(y) * a.stride());
    const auto* rb = reinterpret_cast<const uint32_t*>(b.data() + static_cast<size_t>(y) * b.stride());
    for (int x = 0; x < a.width(); ++x) {
      int worst = 0;
      for (int shift : {0, 8, 16}) {
        int delta = std::abs(static_cast<int>((ra[x] >> shift) & 0xFF) - static_cast<int>((rb[x] >> shift) & 0xFF));
        sum += delta;
        worst = std::max(worst, delta);
      }
      far += worst > 40;
    }
  }
  double pixels = static_cast<double>(a.width()) * a.height();
  d.meanPerChannel = sum / (pixels * 3);
  d.fractionFarOff = far / pixels;
  return d;
}

class Golden : public ::testing::TestWithParam<GoldenCase> {};

TEST_P(Golden, MatchesItsPicture) {
  const GoldenCase& c = GetParam();
  const fs::path& root = goldenPackage();
  Project project = FileProjectStore(root).load();
  const Slide* slide = project.slide(c.slide);
  ASSERT_TRUE(slide) << c.slide;
  const StoreTarget* target = StoreTarget::named(c.target);
  ASSERT_TRUE(target);
  RenderOutput out = SlideRenderer().render(project, root.string(), *slide, *target, c.locale, goldenScale);

  fs::path golden = fs::path(sourceDir()) / "tests" / "golden" / (std::string(c.name) + ".png");
  const char* update = std::getenv("VORNO_UPDATE_GOLDENS");
  if (update && std::string(update) == "1") {
    fs::create_directories(golden.parent_path());
    Images::write(out.image, golden.string(), Images::ImageType::png);
    GTEST_SKIP() << "rewrote " << golden.string();
  }
  ASSERT_TRUE(fs::exists(golden)) << golden.string() << " is missing: run `make goldens` and look at it.";
  Image expected = Images::load(golden.string());
  ASSERT_EQ(out.image.width(), expected.width());
  ASSERT_EQ(out.image.height(), expected.height());
  Difference d = compare(out.image, expected);
  EXPECT_LT(d.meanPerChannel, 1.5) << c.name;
  EXPECT_LE(d.fractionFarOff, 0.005) << c.name;
  if (HasFailure()) {
    fs::path actual = fs::temp_directory_path() / (std::string(c.name) + "-actual.png");
    Images::write(out.image, actual.string(), Images::ImageType::png);
    ADD_FAILURE() << "the picture is at " << actual.string();
  }
}

INSTANTIATE_TEST_SUITE_P(Cases, Golden, ::testing::ValuesIn(cases),
                         [](const ::testing::TestParamInfo<GoldenCase>& info) {
                           std::string name;
                           for (const char* p = info.param.name; *p; ++p) name += std::isalnum(*p) ? *p : '_';
                           return name;
                         });

}  // namespace
}  // namespace vorno::testing::golden_test
