#include "server/creative_docs.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "kit/lint/linter.h"
#include "kit/lint/schema_check.h"
#include "kit/model/codings.h"
#include "kit/model/creative.h"
#include "kit/model/motion.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/util/format.h"
#include "kit/util/geometry.h"

namespace vorno::creative_docs_test {
namespace {

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

// The JSON object that opens at `start`, braces counted outside strings.
std::string objectAt(const std::string& text, size_t start) {
  int depth = 0;
  bool inString = false, escaped = false;
  for (size_t i = start; i < text.size(); ++i) {
    char c = text[i];
    if (inString) {
      if (escaped) escaped = false;
      else if (c == '\\') escaped = true;
      else if (c == '"') inString = false;
    } else if (c == '"') {
      inString = true;
    } else if (c == '{') {
      ++depth;
    } else if (c == '}' && --depth == 0) {
      return text.substr(start, i - start + 1);
    }
  }
  return "";
}

nlohmann::json creativeExample() {
  std::string text = CreativeDocs::description();
  size_t at = text.find("Example: {\"id\"");
  EXPECT_NE(at, std::string::npos);
  return nlohmann::json::parse(objectAt(text, text.find('{', at)));
}

nlohmann::json motionExample() {
  std::string text = CreativeDocs::description();
  size_t at = text.find("\n\"motion\": {");
  EXPECT_NE(at, std::string::npos);
  return nlohmann::json::parse(objectAt(text, text.find('{', at)));
}

TEST(CreativeDocs, DescriptionOpensWithTheCanvases) {
  std::string text = CreativeDocs::description();
  std::string opening =
      "Create or replace a creative by id: App Store art beyond screenshots, shown on iOS 27 and iPadOS 27 and "
      "later.\nEach creative is drawn on one canvas:\n";
  EXPECT_EQ(text.rfind(opening, 0), 0u);
  size_t at = opening.size();
  for (const StoreTarget& canvas : StoreTarget::canvases()) {
    size_t end = text.find('\n', at);
    std::string line = text.substr(at, end - at);
    EXPECT_EQ(line.rfind("- " + canvas.id + " (", 0), 0u) << line;
    EXPECT_TRUE(contains(line, canvas.note)) << line;
    at = end + 1;
  }
}

TEST(CreativeDocs, SafeAreasAreFractionsWithThreeDecimals) {
  std::string text = CreativeDocs::description();
  EXPECT_TRUE(contains(text, " Safe area x 0.286–0.714, y 0.300–0.701.\n"));
  EXPECT_TRUE(contains(text, " Safe area x 0.218–0.782, y 0.299–0.701.\n"));
  for (const StoreTarget& canvas : StoreTarget::canvases()) {
    const Rect& safe = *canvas.safeArea;
    std::string expected = formatted(" Safe area x %.3f–%.3f, y %.3f–%.3f.\n", safe.x / canvas.width,
                                     safe.maxX() / canvas.width, safe.y / canvas.height, safe.maxY() / canvas.height);
    EXPECT_TRUE(contains(text, canvas.note + expected)) << canvas.id;
  }
}

TEST(CreativeDocs, DescriptionHasEveryPartInOrder) {
  std::string text = CreativeDocs::description();
  size_t safe = text.find("The safe area is what every device shows");
  size_t json = text.find("Creative JSON is a slide (slide_upsert lists every field) plus \"canvas\"; the headline is "
                          "optional");
  size_t rules = text.find("Apple's rules for store art");
  size_t motion = text.find("Motion (header and search results only)");
  ASSERT_NE(safe, std::string::npos);
  ASSERT_NE(json, std::string::npos);
  ASSERT_NE(rules, std::string::npos);
  ASSERT_NE(motion, std::string::npos);
  EXPECT_LT(safe, json);
  EXPECT_LT(json, rules);
  EXPECT_LT(rules, motion);
  for (const char* rule : {"prices", "discounts", "URLs", "©", "4+", "other platform"})
    EXPECT_TRUE(contains(text.substr(rules, motion - rules), rule)) << rule;
  for (const char* word : {"creative.safe-area", "110 px", "130 px"}) EXPECT_TRUE(contains(text, word)) << word;
}

TEST(CreativeDocs, CreativeExampleIsAValidCreativeOnAKnownCanvas) {
  nlohmann::json json = creativeExample();
  EXPECT_TRUE(SchemaCheck::creative(json).empty());
  Creative creative = Reader(json).decode<Creative>();
  EXPECT_NE(StoreTarget::canvas(creative.canvas), nullptr);
  EXPECT_TRUE(creative.slide.device.has_value());
}

TEST(CreativeDocs, MotionExampleIsAValidCalmLoop) {
  nlohmann::json creative = creativeExample();
  creative["motion"] = motionExample();
  // The example names elements of its own; give the creative those elements.
  creative["elements"] = nlohmann::json::array(
      {{{"id", "plan"}, {"kind", "text"}, {"text", "Plan"}}, {{"id", "paid"}, {"kind", "text"}, {"text", "Paid"}}});
  EXPECT_TRUE(SchemaCheck::creative(creative).empty());
  Creative decoded = Reader(creative).decode<Creative>();
  ASSERT_TRUE(decoded.motion);
  EXPECT_EQ(decoded.motion->fps, 30);
  ASSERT_TRUE(decoded.motion->scenes);
  EXPECT_EQ(decoded.motion->scenes->size(), 2u);
  EXPECT_TRUE(decoded.motion->transition);
  Project project("App", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), {}, {});
  Slide slide;
  slide.id = "intro";
  slide.headline = LocalizedText{{{"en-US", "Hi"}}};
  project.slides.push_back(slide);
  project.creatives.push_back(decoded);
  for (const Issue& issue : Linter::lint(project))
    EXPECT_NE(issue.code.rfind("motion.", 0), 0u) << issue.description();
}

TEST(CreativeDocs, EveryMotionFieldItNamesIsOneTheReaderKnows) {
  std::string text = CreativeDocs::description();
  std::string motion = text.substr(text.find("Motion (header and search results only)"));
  using Shape = SchemaCheck::Shape;
  auto knows = [](const Shape& shape, const std::string& key) {
    auto keys = shape.keys();
    return std::find(keys.begin(), keys.end(), key) != keys.end();
  };
  for (const char* key : {"fps", "duration", "poster", "scenes", "transition", "tracks", "waves"}) {
    EXPECT_TRUE(contains(motion, key)) << key;
    EXPECT_TRUE(knows(Shape::motion(), key)) << key;
  }
  for (const char* key : {"duration", "show", "texts", "screens"}) EXPECT_TRUE(knows(Shape::scene(), key)) << key;
  for (const char* key : {"style", "duration", "elements"}) EXPECT_TRUE(knows(Shape::transition(), key)) << key;
  for (const char* key : {"t", "x", "y", "scale", "rotation", "opacity", "ease"}) {
    EXPECT_TRUE(contains(motion, "\"" + std::string(key) + "\"")) << key;
    EXPECT_TRUE(knows(Shape::keyframe(), key)) << key;
  }
  for (const char* key : {"property", "amplitude", "cycles", "phase"}) EXPECT_TRUE(knows(Shape::wave(), key)) << key;
  // The values it lists are the readers' own words.
  for (const char* style : {"rise", "fade", "crossfade", "slide", "zoom", "cut"}) EXPECT_TRUE(contains(motion, style));
  for (const char* ease : {"linear", "in, out, in-out", "hold"}) EXPECT_TRUE(contains(motion, ease));
  nlohmann::json keyframe = {{"t", 0}, {"ease", "in-out"}};
  EXPECT_NO_THROW(Reader(keyframe).decode<Keyframe>());
  nlohmann::json wave = {{"property", "opacity"}, {"amplitude", 0.1}};
  EXPECT_NO_THROW(Reader(wave).decode<Wave>());
}

TEST(CreativeDocs, CanvasesTableHasEveryCanvasWithItsSafeAreaInPixels) {
  std::string text = CreativeDocs::canvases();
  EXPECT_EQ(text.rfind("# Creative canvases (App Store, iOS 27)\n\nEach creative is drawn on one of these "
                       "(creative_upsert):\n\n| canvas | size | safe area (px from top-left) | note |\n",
                       0),
            0u);
  EXPECT_TRUE(contains(text, "| ios.header | 3840×1646 | 1646×661 at 1097,493 | 21:9, the first thing on the "
                             "product page. Brand, a season, new content: one clear idea. |\n"));
  EXPECT_TRUE(contains(text, "| ios.search-results | 3840×2560 | 2168×1030 at 836,765 | "));
  EXPECT_TRUE(contains(text, "| ios.universal | 5244×2950 | 1402×962 at 1921,660 | "));
}

}  // namespace
}  // namespace vorno::creative_docs_test
