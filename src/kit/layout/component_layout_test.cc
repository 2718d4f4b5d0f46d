#include "kit/layout/component_layout.h"

#include "kit/model/slide_element.h"
#include "kit/model/theme.h"

#include <gtest/gtest.h>

#include <cmath>

namespace vorno::component_layout_test {
namespace {

using D = ComponentDrawing;
using Kind = ComponentSpec::Kind;
using Style = ComponentSpec::Style;

// A font-free measure: every character is half the size wide, a line is size x line height
// tall, and text wraps into as many lines as its width needs. Geometry can then be checked to
// the unit.
TextMeasure fakeMeasure(const TextSpec& s, double width) {
  size_t chars = 0;
  for (unsigned char c : s.text)
    if ((c & 0xC0) != 0x80) ++chars;
  double natural = static_cast<double>(chars) * s.size * 0.5;
  int lines = std::max(1, static_cast<int>(std::ceil(natural / width - 1e-9)));
  return {{std::min(natural, width), lines * s.size * s.lineHeight}, lines};
}

// What the layout makes of the fake measure: rounded up, plus 2 units of slack.
double fakeWidth(std::string_view text, double size) { return std::ceil(text.size() * size * 0.5) + 2; }
double fakeHeight(double size, double lineHeight, int lines = 1) { return std::ceil(lines * size * lineHeight) + 2; }

LocalizedText en(std::string text) { return LocalizedText{{{"en-US", std::move(text)}}}; }

Theme testTheme() {
  Theme t;
  t.accent = *RGBColor::fromHex("#3366FF");
  return t;
}

const RGBColor fg = *RGBColor::fromHex("#202020");
const RGBColor muted = *RGBColor::fromHex("#707070");

D make(const ComponentSpec& spec, std::optional<std::string> root = std::nullopt) {
  return ComponentLayout::make(spec, testTheme(), fg, muted, "en-US", root, fakeMeasure);
}

template <class T>
std::vector<T> partsOf(const D& d) {
  std::vector<T> out;
  for (const auto& p : d.parts)
    if (const T* t = std::get_if<T>(&p)) out.push_back(*t);
  return out;
}

ComponentSpec specOf(Kind kind) {
  ComponentSpec s;
  s.type = kind;
  return s;
}

TEST(ComponentLayout, NamedColours) {
  EXPECT_EQ(ComponentLayout::ink().hex(), "#14171D");
  EXPECT_EQ(ComponentLayout::gold().hex(), "#FFB21A");
}

TEST(ComponentLayout, RatingWithNoValueHasNoNumberAndFullStars) {
  ComponentSpec spec = specOf(Kind::rating);
  spec.title = en("Loved");
  D d = make(spec);
  auto stars = partsOf<D::Stars>(d);
  ASSERT_EQ(stars.size(), 1u);
  EXPECT_EQ(stars[0].value, 5);
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(texts.size(), 1u);  // the title only: no number
  EXPECT_EQ(texts[0].spec.text, "Loved");
  EXPECT_EQ(texts[0].rect.x, 95 + 516 + 50);
}

TEST(ComponentLayout, RatingPlacesStarsNumberAndTitleOnOneLine) {
  ComponentSpec spec = specOf(Kind::rating);
  spec.value = 4.9;
  spec.title = en("Loved by our users");
  D d = make(spec);
  ASSERT_EQ(d.parts.size(), 4u);
  auto card = std::get<D::Card>(d.parts[0]);
  EXPECT_EQ(card.radius, 115);
  EXPECT_EQ(card.color, RGBColor::white());
  auto stars = std::get<D::Stars>(d.parts[1]);
  EXPECT_EQ(stars.rect, (Rect{95, 69, 516, 92}));
  EXPECT_EQ(stars.value, 4.9);
  EXPECT_EQ(stars.color, ComponentLayout::gold());
  EXPECT_NEAR(stars.empty.a, 0.28, 1e-12);
  auto number = std::get<D::Text>(d.parts[2]);
  EXPECT_EQ(number.spec.text, "4.9");
  EXPECT_EQ(number.spec.size, 100);
  EXPECT_EQ(number.spec.lineHeight, 1.18);
  EXPECT_EQ(number.spec.color, ComponentLayout::ink());
  EXPECT_EQ(number.rect.x, 95 + 516 + 50);
  EXPECT_EQ(number.rect.midY(), 115);
  EXPECT_EQ(number.rect.height, fakeHeight(100, 1.18));
  auto title = std::get<D::Text>(d.parts[3]);
  EXPECT_EQ(title.rect.x, number.rect.maxX() + 42);
  EXPECT_EQ(title.rect.midY(), 115);
  EXPECT_EQ(title.spec.weight, FontWeight::semibold);
  EXPECT_NEAR(title.spec.color.a, 0.58, 1e-12);
  EXPECT_EQ(title.rect.width, fakeWidth("Loved by our users", 100));
  EXPECT_EQ(d.size, (Size{title.rect.maxX() + 95, 230}));
  EXPECT_EQ(card.rect, (Rect{0, 0, d.size.width, 230}));
}

TEST(ComponentLayout, RatingValueIsClampedAndWrittenWithOneDecimal) {
  ComponentSpec spec = specOf(Kind::rating);
  spec.value = 7;
  D d = make(spec);
  EXPECT_EQ(partsOf<D::Stars>(d)[0].value, 5);
  EXPECT_EQ(partsOf<D::Text>(d)[0].spec.text, "5.0");
}

TEST(ComponentLayout, StatWithNoSubtitleIsOneLineHigh) {
  ComponentSpec spec = specOf(Kind::stat);
  spec.title = en("2x");
  D one = make(spec);
  EXPECT_EQ(one.size.height, fakeHeight(320, 1));  // clear: no inset
  EXPECT_EQ(partsOf<D::Text>(one).size(), 1u);
  EXPECT_TRUE(partsOf<D::Card>(one).empty());

  spec.subtitle = en("faster");
  D two = make(spec);
  EXPECT_EQ(two.size.height, fakeHeight(320, 1) + 20 + fakeHeight(90, 1.18));
  auto caption = partsOf<D::Text>(two)[1];
  EXPECT_EQ(caption.rect.y, fakeHeight(320, 1) + 20);
  EXPECT_EQ(caption.spec.color, muted);

  spec.style = Style::dark;
  D carded = make(spec);
  EXPECT_EQ(carded.size.height, 110 + fakeHeight(320, 1) + 20 + fakeHeight(90, 1.18) + 110);
  EXPECT_EQ(partsOf<D::Card>(carded)[0].radius, 80);
  auto title = partsOf<D::Text>(carded)[0];
  EXPECT_EQ(title.spec.weight, FontWeight::black);
  EXPECT_EQ(title.spec.tracking, -0.03);
  EXPECT_EQ(title.spec.color, RGBColor::white());
}

TEST(ComponentLayout, NotificationOnClearHasTheSameCardAsOnLight) {
  ComponentSpec spec = ComponentSpec::starter(Kind::notification, "en-US");
  spec.style = Style::clear;
  D clear = make(spec);
  spec.style = Style::light;
  D light = make(spec);
  EXPECT_EQ(clear, light);
  auto card = std::get<D::Card>(clear.parts[0]);
  EXPECT_EQ(card.color, RGBColor::white());
  EXPECT_EQ(card.radius, 58);
  EXPECT_EQ(card.rect.width, 1000);
}

TEST(ComponentLayout, CalloutNarrowerThan264MovesItsTailLeft) {
  ComponentSpec spec = specOf(Kind::callout);  // no symbol, no title: one blank
  D narrow = make(spec);
  double width = narrow.size.width;
  ASSERT_LT(width, 264);
  auto tail = partsOf<D::Tail>(narrow);
  ASSERT_EQ(tail.size(), 1u);
  EXPECT_EQ(tail[0].rect, (Rect{width - 124, 228, 93, 64}));
  EXPECT_GT(tail[0].rect.minX(), 0);
  EXPECT_LT(tail[0].rect.maxX(), width);
  EXPECT_EQ(narrow.size.height, 292);

  spec.title = en("Drag to reschedule");
  D wide = make(spec);
  EXPECT_EQ(partsOf<D::Tail>(wide)[0].rect.x, 140);
  // The tail has the card's colour: the accent, on the callout's default style.
  EXPECT_EQ(partsOf<D::Tail>(wide)[0].color, testTheme().accent);
  EXPECT_EQ(partsOf<D::Card>(wide)[0].color, testTheme().accent);
}

TEST(ComponentLayout, BadgeWithoutSymbolStartsItsLabelAtTheInset) {
  ComponentSpec spec = specOf(Kind::badge);
  spec.title = en("Works offline");
  EXPECT_EQ(partsOf<D::Text>(make(spec))[0].rect.x, 95);
  spec.symbol = "";
  EXPECT_EQ(partsOf<D::Text>(make(spec))[0].rect.x, 95);
  EXPECT_TRUE(partsOf<D::Symbol>(make(spec)).empty());

  spec.symbol = "checkmark.circle.fill";
  D with = make(spec);
  EXPECT_EQ(partsOf<D::Text>(with)[0].rect.x, 95 + 157);
  auto symbol = partsOf<D::Symbol>(with);
  ASSERT_EQ(symbol.size(), 1u);
  EXPECT_EQ(symbol[0].rect, (Rect{95, 57.5, 115, 115}));

  spec.style = Style::clear;
  EXPECT_EQ(partsOf<D::Text>(make(spec))[0].rect.x, 157);
}

TEST(ComponentLayout, BadgeImageTakesTheIconPlaceFromThePackage) {
  ComponentSpec spec = specOf(Kind::badge);
  spec.title = en("Editor's choice");
  spec.image = "assets/seal.png";
  D d = make(spec, "/tmp/App.vorno");
  auto images = partsOf<D::Image>(d);
  ASSERT_EQ(images.size(), 1u);
  EXPECT_EQ(images[0].path, "/tmp/App.vorno/assets/seal.png");
  EXPECT_EQ(images[0].rect, (Rect{95, 57.5, 115, 115}));
  EXPECT_GT(images[0].radius, 0);
  EXPECT_EQ(partsOf<D::Text>(d)[0].rect.x, 95 + 157);
  EXPECT_EQ(d.size.width, 95 + 157 + fakeWidth("Editor's choice", 100) + 95);

  // An image and a symbol: the user's own image is the icon, drawn once.
  spec.symbol = "star.fill";
  D both = make(spec, "/tmp/App.vorno");
  EXPECT_EQ(partsOf<D::Image>(both).size(), 1u);
  EXPECT_TRUE(partsOf<D::Symbol>(both).empty());

  // An absolute path stays as it is; an empty one is no icon.
  spec.image = "/abs/seal.png";
  EXPECT_EQ(partsOf<D::Image>(make(spec, "/tmp/App.vorno"))[0].path, "/abs/seal.png");
  spec.image = "";
  spec.symbol.reset();
  EXPECT_TRUE(partsOf<D::Image>(make(spec)).empty());
  EXPECT_EQ(partsOf<D::Text>(make(spec))[0].rect.x, 95);
}

TEST(ComponentLayout, CalloutImageSitsWhereItsSymbolWould) {
  ComponentSpec spec = ComponentSpec::starter(Kind::callout, "en-US");
  spec.image = "assets/hand.png";
  D d = make(spec, "/tmp/App.vorno");
  auto images = partsOf<D::Image>(d);
  ASSERT_EQ(images.size(), 1u);
  EXPECT_EQ(images[0].rect, (Rect{95, 57.5, 115, 115}));
  EXPECT_EQ(partsOf<D::Text>(d)[0].rect.x, 95 + 157);
}

TEST(ComponentLayout, BadgeSymbolTakesTheAccentAtReadableContrast) {
  ComponentSpec spec = specOf(Kind::badge);
  spec.symbol = "bolt.fill";
  Theme pale = testTheme();
  pale.accent = *RGBColor::fromHex("#FFE680");  // too light on white
  D d = ComponentLayout::make(spec, pale, fg, muted, "en-US", std::nullopt, fakeMeasure);
  RGBColor mark = partsOf<D::Symbol>(d)[0].color;
  EXPECT_GE(mark.contrast(RGBColor::white()), 3.0);
  EXPECT_NE(mark, pale.accent);
  // An accent that reads already is kept.
  EXPECT_EQ(partsOf<D::Symbol>(make(spec))[0].color, testTheme().accent);
}

TEST(ComponentLayout, CalloutSymbolAndLabelUseTheMainColour) {
  ComponentSpec spec = ComponentSpec::starter(Kind::callout, "en-US");
  spec.symbol = "hand.point.up";
  D d = make(spec);
  EXPECT_EQ(partsOf<D::Symbol>(d)[0].color, RGBColor::white());  // on the blue accent
  EXPECT_EQ(partsOf<D::Text>(d)[0].spec.weight, FontWeight::bold);
  Theme light = testTheme();
  light.accent = *RGBColor::fromHex("#FFE680");  // luminance above 0.55: ink on it
  D onLight = ComponentLayout::make(spec, light, fg, muted, "en-US", std::nullopt, fakeMeasure);
  EXPECT_EQ(partsOf<D::Text>(onLight)[0].spec.color, ComponentLayout::ink());
}

TEST(ComponentLayout, AwardLaurelsFrameTheTextColumn) {
  ComponentSpec spec = ComponentSpec::starter(Kind::award, "en-US");  // clear by default
  D d = make(spec);
  double column = std::max({200.0, fakeWidth("AWARD WINNER", 86), fakeWidth("Name the award", 74)});
  EXPECT_EQ(d.size, (Size{250 + 60 + column, 310}));
  auto laurels = partsOf<D::Laurel>(d);
  ASSERT_EQ(laurels.size(), 2u);
  EXPECT_EQ(laurels[0].rect, (Rect{0, 0, 125, 310}));
  EXPECT_FALSE(laurels[0].mirrored);
  EXPECT_EQ(laurels[1].rect, (Rect{d.size.width - 125, 0, 125, 310}));
  EXPECT_TRUE(laurels[1].mirrored);
  EXPECT_NEAR(laurels[0].color.a, 0.9, 1e-12);
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(texts.size(), 2u);
  EXPECT_EQ(texts[0].rect.x, 155);
  EXPECT_EQ(texts[0].rect.width, column);
  EXPECT_EQ(texts[0].spec.weight, FontWeight::heavy);
  EXPECT_EQ(texts[0].spec.tracking, 0.06);
  EXPECT_EQ(texts[0].spec.lineHeight, 1.08);
  double block = fakeHeight(86, 1.08) + 12 + fakeHeight(74, 1);
  EXPECT_EQ(texts[0].rect.y, (310 - block) / 2);
  EXPECT_EQ(texts[1].rect.y, texts[0].rect.maxY() + 12);

  spec.style = Style::light;
  D carded = make(spec);
  EXPECT_EQ(carded.size, (Size{160 + 250 + 60 + column, 160 + 310}));
  EXPECT_EQ(partsOf<D::Card>(carded)[0].radius, 70);
  EXPECT_EQ(partsOf<D::Text>(carded)[0].rect.x, 80 + 155);
  EXPECT_EQ(partsOf<D::Laurel>(carded)[1].rect.x, carded.size.width - 80 - 125);
}

TEST(ComponentLayout, AwardColumnIsAtLeast200Wide) {
  ComponentSpec spec = specOf(Kind::award);
  spec.title = en("A");
  D d = make(spec);
  EXPECT_EQ(partsOf<D::Text>(d)[0].rect.width, 200);
  EXPECT_EQ(d.size.width, 250 + 60 + 200);
}

TEST(ComponentLayout, ReviewStacksStarsQuoteAndName) {
  ComponentSpec spec = ComponentSpec::starter(Kind::review, "en-US");
  D d = make(spec);
  EXPECT_EQ(d.size.width, 1000);
  EXPECT_EQ(std::get<D::Card>(d.parts[0]).radius, 56);
  EXPECT_EQ(partsOf<D::Stars>(d)[0].rect, (Rect{64, 64, 262, 46}));
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(texts.size(), 2u);
  double column = 1000 - 128;
  std::string quote = spec.title->resolve("en-US").value();
  int quoteLines = static_cast<int>(std::ceil(fakeMeasure(texts[0].spec, column).size.height / 54));
  EXPECT_EQ(texts[0].rect, (Rect{64, 64 + 76, column, fakeHeight(54, 1, quoteLines)}));
  EXPECT_EQ(texts[1].rect.y, texts[0].rect.maxY() + 24);
  EXPECT_EQ(texts[1].spec.size, 38);
  EXPECT_EQ(d.size.height, texts[1].rect.maxY() + 64);
}

TEST(ComponentLayout, ChecklistRowsCentreOneLineAndTopAlignSeveral) {
  ComponentSpec spec = specOf(Kind::checklist);
  std::string longItem(60, 'x');  // 60 x 27 = 1620 units: two lines in an 904-unit column
  spec.items = std::vector<LocalizedText>{en("Plan the day"), en(""), en(longItem)};
  D d = make(spec);
  auto checks = partsOf<D::Check>(d);
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(checks.size(), 2u);  // the empty item takes no room
  ASSERT_EQ(texts.size(), 2u);
  double column = 1000 - 96;
  // One line: the row is 67.5 tall and the check sits on its middle.
  EXPECT_EQ(checks[0].rect, (Rect{0, (67.5 - 66) / 2, 66, 66}));
  EXPECT_EQ(texts[0].rect.x, 96);
  EXPECT_EQ(texts[0].rect.width, column);
  EXPECT_EQ(texts[0].rect.midY(), 67.5 / 2);
  // Two lines: the text starts at the row's top, the check is centred on the first line.
  double secondTop = 67.5 + 34;
  EXPECT_EQ(texts[1].rect.y, secondTop);
  EXPECT_EQ(checks[1].rect.midY(), secondTop + 54.0 / 2);
  EXPECT_EQ(d.size, (Size{1000, secondTop + fakeHeight(54, 1, 2)}));
  EXPECT_EQ(checks[0].fill, testTheme().accent);
  EXPECT_EQ(checks[0].mark, RGBColor::white());
}

TEST(ComponentLayout, NotificationLaysIconTitleTimeAndSubtitle) {
  ComponentSpec spec = ComponentSpec::starter(Kind::notification, "en-US");
  D d = make(spec);
  auto texts = partsOf<D::Text>(d);
  ASSERT_EQ(texts.size(), 3u);
  const D::Text& time = texts[0];
  EXPECT_EQ(time.spec.text, "now");
  EXPECT_EQ(time.rect.maxX(), 962);
  const D::Text& title = texts[1];
  EXPECT_EQ(title.rect.x, 172);
  EXPECT_EQ(title.rect.width, 790 - 20 - fakeWidth("now", 32));
  const D::Text& subtitle = texts[2];
  EXPECT_EQ(subtitle.rect.width, 790);
  EXPECT_EQ(subtitle.rect.y, title.rect.maxY() + 6);
  double textHeight = subtitle.rect.maxY() - title.rect.y;
  EXPECT_EQ(d.size.height, std::max(104.0, textHeight) + 76);
  // No image: the stock bell on the accent, centred on the card's height.
  auto cards = partsOf<D::Card>(d);
  ASSERT_EQ(cards.size(), 2u);
  EXPECT_EQ(cards[1].rect, (Rect{38, (d.size.height - 104) / 2, 104, 104}));
  EXPECT_EQ(cards[1].radius, 23.4);
  EXPECT_EQ(cards[1].color, testTheme().accent);
  auto symbols = partsOf<D::Symbol>(d);
  ASSERT_EQ(symbols.size(), 1u);
  EXPECT_EQ(symbols[0].name, "bell.fill");
}

TEST(ComponentLayout, NotificationIconImageIsBelowTheRoot) {
  ComponentSpec spec = ComponentSpec::starter(Kind::notification, "en-US");
  spec.image = "assets/icon.png";
  D d = make(spec, "/tmp/App.vorno");
  auto images = partsOf<D::Image>(d);
  ASSERT_EQ(images.size(), 1u);
  EXPECT_EQ(images[0].path, "/tmp/App.vorno/assets/icon.png");
  EXPECT_EQ(images[0].radius, 23.4);
  EXPECT_TRUE(partsOf<D::Symbol>(d).empty());
  spec.image = "/abs/icon.png";
  EXPECT_EQ(partsOf<D::Image>(make(spec, "/tmp/App.vorno"))[0].path, "/abs/icon.png");
}

TEST(ComponentLayout, TextsResolveForTheLocale) {
  ComponentSpec spec = specOf(Kind::badge);
  spec.title = LocalizedText{{{"en-US", "Offline"}, {"de-DE", "Offline nutzbar"}}};
  D d = ComponentLayout::make(spec, testTheme(), fg, muted, "de-DE", std::nullopt, fakeMeasure);
  auto text = partsOf<D::Text>(d)[0];
  EXPECT_EQ(text.spec.text, "Offline nutzbar");
  EXPECT_EQ(text.spec.language, "de-DE");
}

TEST(ComponentLayout, DescriptionNamesEveryValueThatChangesPixels) {
  ComponentSpec spec = ComponentSpec::starter(Kind::rating, "en-US");
  D a = make(spec);
  EXPECT_EQ(a.description(), make(spec).description());
  EXPECT_NE(a.description().find("stars("), std::string::npos);
  spec.value = 4.8;
  EXPECT_NE(make(spec).description(), a.description());
  ComponentSpec dark = ComponentSpec::starter(Kind::rating, "en-US");
  dark.style = Style::dark;
  EXPECT_NE(make(dark).description(), a.description());
  D b = a;
  std::get<D::Text>(b.parts[3]).spec.emphasis = RGBColor::black();
  EXPECT_NE(b.description(), a.description());
  // A text holding the separators can't pass for another part: its length comes first.
  D c = a;
  std::get<D::Text>(c.parts[3]).spec.text = "x)|text(";
  EXPECT_NE(c.description().find("8:x)|text("), std::string::npos);
}

TEST(ComponentLayout, EmptyComponentStillHasASize) {
  D d = make(specOf(Kind::stat));
  EXPECT_GE(d.size.width, 1);
  EXPECT_GE(d.size.height, 1);
  EXPECT_TRUE(d.parts.empty());
}

}  // namespace
}  // namespace vorno::component_layout_test
