#include "kit/layout/text_checks.h"

#include "kit/layout/contrast_advice.h"
#include "kit/layout/layout_test_support.h"

#include <gtest/gtest.h>

namespace vorno::text_checks_test {
namespace {

using testing::heroSlide;
using testing::projectWith;
using testing::TestPackage;

RGBColor hex(const char* text) { return *RGBColor::fromHex(text); }

const Issue* contrastIssue(const ComposedSlide& c, const std::string& element) {
  for (const auto& i : c.issues)
    if (i.code == "text.contrast" && i.element == element) return &i;
  return nullptr;
}

ComposedSlide laid(const Project& project, const TestPackage& package) {
  return SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
}

// The background across a text's ink, as the check sees it.
std::vector<RGBColor> behindText(const ComposedSlide& c, const std::string& uid, const Fill& background) {
  const ElementLayout* e = c.element(uid);
  const StoreTarget t = StoreTarget::iphone69();
  return ContrastAdvice::behind(background, e->inkBounds(), {double(t.width), double(t.height)},
                                {double(t.width), double(t.height)}, 0);
}

TEST(TextContrast, SuggestionWrittenIntoTheSlideClearsTheWarning) {
  TestPackage package;
  Slide slide = heroSlide("a", "Plan the week");
  slide.subhead = testing::text("Jobs, crews and quotes in one place");
  slide.background = Fill{LinearFill{{hex("#F4F1EC"), hex("#C9B8A6")}, 180}};
  slide.textColors["subhead"] = hex("#A89C90");
  Project project = projectWith({slide});

  ComposedSlide before = laid(project, package);
  const Issue* warning = contrastIssue(before, "slide:a/subhead");
  ASSERT_NE(warning, nullptr);
  ASSERT_TRUE(warning->suggestedColor);
  // A subhead is small type: 4.5:1 is needed, and the suggestion clears it with room to spare.
  EXPECT_NE(warning->message.find("aim for 4.5:1"), std::string::npos) << warning->message;
  const RGBColor suggested = hex(warning->suggestedColor->c_str());
  EXPECT_GE(ContrastAdvice::worstContrast(suggested, behindText(before, "slide:a/subhead", *slide.background)), 4.6);

  project.slides[0].textColors["subhead"] = suggested;
  ComposedSlide after = laid(project, package);
  EXPECT_EQ(contrastIssue(after, "slide:a/subhead"), nullptr);
}

TEST(TextContrast, SuggestionHoldsAcrossAGradientRunningAlongTheText) {
  TestPackage package;
  // Light on the left, mid grey on the right: the middle of the headline alone would pass a
  // colour that fails at its right end.
  Slide slide = heroSlide("a", "Every job, quoted before you leave the driveway");
  slide.background = Fill{LinearFill{{hex("#FFFFFF"), hex("#6E6E6E")}, 90}};
  slide.textColors["headline"] = hex("#9A9A9A");
  Project project = projectWith({slide});

  ComposedSlide before = laid(project, package);
  const Issue* warning = contrastIssue(before, "slide:a/headline");
  ASSERT_NE(warning, nullptr);
  ASSERT_TRUE(warning->suggestedColor);
  const auto behind = behindText(before, "slide:a/headline", *slide.background);
  const RGBColor centreOnly = *hex("#9A9A9A").adjusted(3.0, slide.background->sample(0.5, 0.5, {1320, 2868}));
  EXPECT_LT(ContrastAdvice::worstContrast(centreOnly, behind), 3.0) << "the case needs a gradient that matters";
  EXPECT_GE(ContrastAdvice::worstContrast(hex(warning->suggestedColor->c_str()), behind), 3.1);

  project.slides[0].textColors["headline"] = hex(warning->suggestedColor->c_str());
  EXPECT_EQ(contrastIssue(laid(project, package), "slide:a/headline"), nullptr);
}

TEST(TextContrast, ThemeTextStyleColourIsNamedAndItsSuggestionClearsTheWarning) {
  TestPackage package;
  Slide slide = heroSlide("a", "Plan the week");
  slide.eyebrow = testing::text("Scheduling");
  slide.background = Fill::solid(hex("#FFFFFF"));
  slide.textColors["eyebrow"] = hex("#14171D");  // loses to the theme's style
  Project project = projectWith({slide});
  TextStyle eyebrowStyle;
  eyebrowStyle.color = hex("#F2C4A0");
  project.theme.textStyles = std::map<std::string, TextStyle>{{"eyebrow", eyebrowStyle}};

  ComposedSlide before = laid(project, package);
  const Issue* warning = contrastIssue(before, "slide:a/eyebrow");
  ASSERT_NE(warning, nullptr);
  ASSERT_TRUE(warning->suggestedColor);
  EXPECT_NE(warning->message.find("theme.textStyles.eyebrow.color"), std::string::npos) << warning->message;
  EXPECT_NE(warning->message.find("textStyles.eyebrow.color."), std::string::npos) << warning->message;

  // The field the message names as the slide's own takes the suggestion and wins.
  project.slides[0].textStyles["eyebrow"].color = hex(warning->suggestedColor->c_str());
  EXPECT_EQ(contrastIssue(laid(project, package), "slide:a/eyebrow"), nullptr);
}

TEST(TextContrast, ColourFromTheSlideNamesNoOtherField) {
  TestPackage package;
  Slide slide = heroSlide("a", "Plan the week");
  slide.background = Fill::solid(hex("#FFFFFF"));
  slide.textColors["headline"] = hex("#EEEEEE");
  Project project = projectWith({slide});
  // The issue lives in the laid-out slide, which must outlast it.
  const ComposedSlide composed = laid(project, package);
  const Issue* warning = contrastIssue(composed, "slide:a/headline");
  ASSERT_NE(warning, nullptr);
  EXPECT_EQ(warning->message.find("theme.textStyles"), std::string::npos) << warning->message;
}

TEST(ContrastAdvice, SuggestionIsCheckedAsTheHexItIsWrittenAs) {
  // Against several colours at once, the nearest mix toward a pole that clears all of them.
  const std::vector<RGBColor> behind{hex("#FFFFFF"), hex("#DDDDDD"), hex("#BBBBBB")};
  auto suggestion = ContrastAdvice::suggestion(hex("#AAAAAA"), behind, 4.6);
  ASSERT_TRUE(suggestion);
  EXPECT_EQ(*RGBColor::fromHex(suggestion->hex()), *suggestion);
  EXPECT_GE(ContrastAdvice::worstContrast(*suggestion, behind), 4.6);
  // Darker than needed would be further from the colour asked for: black itself is not the answer.
  EXPECT_NE(*suggestion, RGBColor::black());
  EXPECT_EQ(ContrastAdvice::suggestion(hex("#777777"), {hex("#777777")}, 22), std::nullopt);
}

}  // namespace
}  // namespace vorno::text_checks_test

namespace vorno::text_checks_test {
namespace {

std::string longCopy(size_t characters) {
  std::string text;
  while (text.size() < characters) text += "Plan the week with your whole team ";
  text.resize(characters);
  return text;
}

const Issue* cutIssue(const ComposedSlide& c, const std::string& element) {
  for (const auto& i : c.issues)
    if (i.code == "text.cut" && i.element == element) return &i;
  return nullptr;
}

TEST(TextLength, HeadlineAndComponentTitlePastTheLimitAreCutWithAWarning) {
  testing::TestPackage package;
  Slide slide = testing::heroSlide("a", longCopy(50'000));
  SlideElement callout;
  callout.id = "note";
  callout.kind = SlideElement::Kind::component;
  callout.component = ComponentSpec::starter(ComponentSpec::Kind::callout, "en-US");
  callout.component->title = testing::text(longCopy(100'000));
  slide.elements = {callout};
  Project project = testing::projectWith({slide});
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");

  const Issue* headline = cutIssue(c, "slide:a/headline");
  ASSERT_NE(headline, nullptr);
  EXPECT_EQ(headline->severity, Issue::Severity::warning);
  EXPECT_EQ(headline->message,
            "Headline is longer than 2000 characters; only the first 2000 are laid out and drawn, ending in \"…\". "
            "Shorten it.");
  EXPECT_NE(cutIssue(c, "slide:a/note"), nullptr);
  ASSERT_NE(c.element("slide:a/headline"), nullptr);
  EXPECT_NE(c.element("slide:a/note"), nullptr);
}

TEST(TextLength, TextAtTheLimitGivesNoWarning) {
  testing::TestPackage package;
  Project project = testing::projectWith({testing::heroSlide("a", longCopy(2000))});
  ComposedSlide c = SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), "en-US");
  EXPECT_EQ(cutIssue(c, "slide:a/headline"), nullptr);
}

}  // namespace
}  // namespace vorno::text_checks_test
