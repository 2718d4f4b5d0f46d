// Component layout with the real text engine: the same rules hold with measured fonts.
#include "kit/layout/component_layout.h"

#include "kit/model/slide_element.h"
#include "kit/model/theme.h"
#include "kit/text/text_layout.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno::component_layout_text_test {
namespace {

using D = ComponentDrawing;
using Kind = ComponentSpec::Kind;

LocalizedText en(std::string text) { return LocalizedText{{{"en-US", std::move(text)}}}; }

D make(const ComponentSpec& spec) {
  Theme theme;
  theme.accent = *RGBColor::fromHex("#3366FF");
  return ComponentLayout::make(spec, theme, RGBColor::white(), *RGBColor::fromHex("#A0A0A0"), "en-US", std::nullopt);
}

template <class T>
std::vector<T> partsOf(const D& d) {
  std::vector<T> out;
  for (const auto& p : d.parts)
    if (const T* t = std::get_if<T>(&p)) out.push_back(*t);
  return out;
}

TEST(ComponentLayoutText, StatWithNoSubtitleIsOneLineHighWhenMeasured) {
  ComponentSpec spec;
  spec.type = Kind::stat;
  spec.title = en("2x faster");
  D one = make(spec);
  auto texts = partsOf<D::Text>(one);
  ASSERT_EQ(texts.size(), 1u);
  // One line of 320-unit type: a line's height, rounded up, plus the slack.
  EXPECT_GT(one.size.height, 300);
  EXPECT_LT(one.size.height, 450);
  EXPECT_EQ(one.size.height, texts[0].rect.height);
  EXPECT_EQ(one.size.height, std::ceil(one.size.height));
  spec.subtitle = en("than doing it by hand");
  D two = make(spec);
  EXPECT_GT(two.size.height, one.size.height + 20 + 90);
}

TEST(ComponentLayoutText, LabelsAreMeasuredToTheirWidth) {
  ComponentSpec spec;
  spec.type = Kind::badge;
  spec.title = en("Works offline");
  D shortLabel = make(spec);
  spec.title = en("Works offline, everywhere you go");
  D longLabel = make(spec);
  EXPECT_GT(longLabel.size.width, shortLabel.size.width + 500);
  EXPECT_EQ(longLabel.size.height, 230);
  auto text = partsOf<D::Text>(longLabel)[0];
  EXPECT_EQ(longLabel.size.width, text.rect.maxX() + 95);
}

TEST(ComponentLayoutText, EmptyCalloutKeepsItsCapsuleAndMovesItsTail) {
  ComponentSpec spec;
  spec.type = Kind::callout;
  D d = make(spec);
  EXPECT_LT(d.size.width, 264);
  EXPECT_GT(d.size.width, 190);  // both insets and one blank
  auto tail = partsOf<D::Tail>(d);
  ASSERT_EQ(tail.size(), 1u);
  EXPECT_EQ(tail[0].rect.x, d.size.width - 124);
  EXPECT_EQ(partsOf<D::Text>(d)[0].spec.text, " ");
}

TEST(ComponentLayoutText, TrackedAwardTitleStaysOnOneLineInItsColumn) {
  D d = make(ComponentSpec::starter(Kind::award, "en-US"));
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].spec.tracking, 0.06);
  for (const auto& t : texts) {
    TextLayout::Fitted laid = TextLayout::laid(t.spec, t.rect.width);
    EXPECT_EQ(laid.lineCount, 1) << t.spec.text;
    EXPECT_LE(laid.size.height, t.rect.height) << t.spec.text;
  }
}

TEST(ComponentLayoutText, EveryStarterLaysOut) {
  for (int k = 0; k < 8; ++k) {
    ComponentSpec spec = ComponentSpec::starter(static_cast<Kind>(k), "en-US");
    D d = make(spec);
    EXPECT_GT(d.size.width, 100) << k;
    EXPECT_GT(d.size.height, 100) << k;
    EXPECT_FALSE(d.parts.empty()) << k;
    for (const auto& t : partsOf<D::Text>(d)) {
      EXPECT_GT(t.rect.height, 0) << k;
      EXPECT_LE(t.rect.maxX(), d.size.width + 1e-9) << k;
    }
  }
}

}  // namespace
}  // namespace vorno::component_layout_text_test
