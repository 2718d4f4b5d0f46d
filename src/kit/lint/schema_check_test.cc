#include "kit/lint/schema_check.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <thread>

#include "kit/model/coding.h"

namespace vorno::schema_check_test {
namespace {

using Finding = SchemaCheck::Finding;
using Shape = SchemaCheck::Shape;

std::vector<std::string> messages(const std::vector<Finding>& findings) {
  std::vector<std::string> out;
  for (const auto& f : findings) out.push_back(f.message());
  return out;
}

// A project that uses every record the readers know, with variants in both patch forms.
const char* kFullProject = R"({
  "schemaVersion": 5,
  "appName": "Tradie",
  "locales": ["en-US", "de-DE"],
  "targets": ["ios.iphone-6.9", "ios.ipad-13", "play.phone"],
  "theme": {
    "background": {"linear": ["#FFD9C2", "#F2A07B"], "angle": 170},
    "invertedBackground": "#14171D",
    "foreground": "#14171D",
    "invertedForeground": "#EEF0F3",
    "accent": "#C8216A",
    "muted": "#4A515E",
    "fontFamily": "Inter",
    "headlineWeight": "heavy",
    "emphasisStyle": "marker",
    "textStyles": {
      "headline": {
        "fontFamily": "Inter", "weight": "black", "scale": 1.1, "tracking": -0.02, "lineHeight": 0.95,
        "uppercase": true, "italic": false, "color": "#000000", "align": "left", "slant": 0.1,
        "emphasisStyle": "sticker",
        "mark": {"color": "#FFEE00", "textColor": "#000000", "paper": "#FFFFFF", "padding": 0.1, "radius": 0.2,
                 "tilt": -2, "height": 0.6, "offset": 0.1, "opacity": 0.9},
        "effect": {"outline": "#000000", "outlineWidth": 0.02, "shadow": "#FF0000", "shadowX": 0.01, "shadowY": 0.02},
        "fill": {"radial": ["#FFE2C7", "#E4560F"], "center": [0.5, 0.25], "radius": 0.9}
      },
      "caption": {"fill": {"image": "assets/paper.jpg", "fit": "contain", "dim": 0.2, "blur": 0.1}}
    }
  },
  "slides": [
    {
      "id": "week",
      "archetype": "device-top",
      "eyebrow": "PLAN",
      "headline": {"en-US": "Your **week** at a glance", "de-DE": "Deine **Woche**"},
      "subhead": "Every job in one place",
      "device": {
        "screenshot": {"ios": "captures/{locale}/week.png", "play.phone": "captures/{locale}/week-android.png"},
        "frame": "iphone-16-pro", "finish": "black-titanium", "width": 0.8, "offsetY": 0.05, "rotation": -4,
        "crop": {"x": 0, "y": 0.1, "width": 1, "height": 0.5},
        "outline": "#FFFFFF",
        "platforms": {"android": {"frame": "pixel-9", "finish": "obsidian",
                                  "crop": {"x": 0, "y": 0, "width": 1, "height": 1}}}
      },
      "inverted": true,
      "background": "#FFE8D6",
      "overrides": {
        "ios.ipad-13": {
          "archetype": "hero", "deviceWidth": 0.6, "deviceOffsetY": 0.1, "headlineScale": 0.9,
          "placements": {"headline": {"x": 0.5, "y": 0.2, "width": 0.8, "height": 0.2, "fontScale": 1.2, "rotation": 3}}
        }
      },
      "elements": [
        {"id": "note", "kind": "text", "text": "New", "role": "caption", "color": "#FFFFFF", "align": "center",
         "fill": "#C8216A", "style": {"weight": "bold", "mark": {"radius": 0.1}}, "decorative": true,
         "opacity": 0.9, "shadow": true, "z": 3, "platforms": ["ios"], "targets": ["ios.iphone-6.9"],
         "shadowStyle": {"color": "#000000", "opacity": 0.3, "blur": 0.05, "x": 0, "y": 0.02}, "blend": "multiply"},
        {"id": "photo", "kind": "image", "image": "assets/team.jpg",
         "crop": {"x": 0.1, "y": 0.1, "width": 0.5, "height": 0.5},
         "mask": "circle", "cornerRadius": 0.1, "blur": 0.02},
        {"id": "second", "kind": "device", "device": {"screenshot": "captures/en-US/list.png", "frame": "none"}},
        {"id": "check", "kind": "symbol", "symbol": "checkmark.circle.fill", "color": "#00AA00"},
        {"id": "blob", "kind": "shape", "shape": "path", "path": "M0 0 L1 1 Z",
         "fill": {"linear": ["#000000", "#FFFFFF"]},
         "stroke": "#000000", "strokeWidth": 2, "aspect": 1.5},
        {"id": "stars", "kind": "component",
         "component": {"type": "review", "style": "dark", "title": "Great", "subtitle": "Ana", "items": ["One", "Two"],
                       "value": 5, "symbol": "star.fill", "image": "assets/icon.png"}}
      ],
      "textColors": {"headline": "#111111"},
      "emphasisStyle": "highlight",
      "textStyles": {"subhead": {"scale": 0.9}},
      "accent": "#FF0000"
    },
    {"id": "quotes", "headline": "Quotes in seconds"}
  ],
  "spreads": [
    {"id": "pair", "slides": ["week", "quotes"], "background": "#000000",
     "elements": [{"id": "arrow", "kind": "shape", "shape": "arrow"}],
     "overrides": {"ios.iphone-6.9": {"placements": {"arrow": {"x": 1.0, "y": 0.5, "width": 0.3}}}}}
  ],
  "creatives": [
    {
      "id": "header", "canvas": "ios.header", "headline": "Plan less", "background": "#FFFFFF",
      "elements": [{"id": "phone", "kind": "device", "device": {"screenshot": "captures/en-US/week.png"}}],
      "motion": {
        "duration": 8, "fps": 30, "poster": 1.5,
        "scenes": [
          {"duration": 4, "show": ["phone"], "texts": {"title": "One"}, "screens": {"phone": "captures/en-US/a.png"}},
          {"duration": 4, "texts": {"title": {"en-US": "Two"}}}
        ],
        "transition": {"style": "crossfade", "duration": 0.5, "elements": {"phone": "rise"}},
        "tracks": {"phone": [{"t": 0, "x": 0.5, "y": 0.5, "scale": 1, "rotation": 0, "opacity": 1, "ease": "in-out"},
                             {"t": 2, "scale": 1.1}],
                   "camera": [{"t": 0}]},
        "waves": {"phone": [{"property": "rotation", "amplitude": 2, "cycles": 1, "phase": 0.25}]}
      }
    }
  ],
  "variants": [
    {"id": "bold", "name": "Bold", "patch": {
      "theme": {"accent": "#FF0000", "fontFamily": null},
      "slides": {"week": {"eyebrow": null, "elements": {"note": {"text": "Neu"}, "photo": null}},
                 "extra": {"headline": "Hi"}},
      "creatives": {"header": {"motion": {"fps": 60}}}
    }},
    {"id": "calm", "patch": {"slides": [{"id": "only", "headline": "Calm"}], "spreads": null}}
  ]
})";

// MARK: The cases the check must get right.

TEST(SchemaCheck, MisspelledHeadlineSuggestsHeadline) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"id": "a", "headline": "x", "headlin": {"en-US": "Hi"}})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], (Finding{"", "headlin", "headline"}));
  EXPECT_EQ(findings[0].message(), "headlin isn't a field Vorno knows, so it was ignored. Did you mean headline?");
}

TEST(SchemaCheck, TextAlignYieldsTheAliasNotANearMatch) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"textAlign": "left"})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].suggestion, "align (in a text style: textStyles.<text>.align, or an element's style.align)");
}

TEST(SchemaCheck, XAtSlideLevelGetsThePlacementHint) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"x": 0.5})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message(),
            "x isn't a field Vorno knows, so it was ignored. Did you mean a placement in "
            "overrides.<target>.placements?");
}

TEST(SchemaCheck, XInsideAPlacementIsKnownAndSilent) {
  auto slide = parseJSON(
      R"({"overrides": {"ios.iphone-6.9": {"placements": {"headline": {"x": 0.5, "y": 0.3, "width": 0.8}}}}})");
  EXPECT_TRUE(SchemaCheck::slide(slide).empty());
}

TEST(SchemaCheck, MisspelledAngleInALinearFillSuggestsAngle) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"background": {"linear": ["#000000", "#FFFFFF"], "angel": 90}})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], (Finding{"background", "angel", "angle"}));
}

TEST(SchemaCheck, GradientKeyGetsTheFixedFillSentence) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"background": {"gradient": ["#000000", "#FFFFFF"]}})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message(),
            "background.gradient isn't a field Vorno knows, so it was ignored. Did you mean a fill: "
            "\"#RRGGBB\", {\"linear\": […]}, {\"radial\": […]} or {\"image\": …}?");
}

TEST(SchemaCheck, ElementWithIdReportsAtItsIdAndWithoutIdAtItsIndex) {
  auto findings = SchemaCheck::slide(parseJSON(
      R"({"elements": [{"id": "logo", "kind": "image", "colour": "#FFFFFF"}, {"kind": "text", "txt": "Hi"}]})"));
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(findings[0], (Finding{R"(elements["logo"])", "colour", "color"}));
  EXPECT_EQ(findings[0].field(), R"(elements["logo"].colour)");
  EXPECT_EQ(findings[1], (Finding{"elements[1]", "txt", "text"}));
}

TEST(SchemaCheck, ElementWithNonStringIdReportsAtItsIndex) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"elements": [{"id": 7, "colr": "#FFFFFF"}]})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].path, "elements[0]");
}

TEST(SchemaCheck, PatchNullOnAKnownKeyGivesNothing) {
  EXPECT_TRUE(SchemaCheck::patch(parseJSON(R"({"slides": {"week": {"eyebrow": null}}})")).empty());
}

TEST(SchemaCheck, PatchNullOnAnUnknownKeyIsAFinding) {
  auto findings = SchemaCheck::patch(parseJSON(R"({"slides": {"week": {"eybrow": null}}})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], (Finding{R"(slides["week"])", "eybrow", "eyebrow"}));
}

TEST(SchemaCheck, NullOutsideAPatchIsStillWalked) {
  // Outside a patch a null isn't a removal, but a null has no keys, so a known key stays silent.
  EXPECT_TRUE(SchemaCheck::slide(parseJSON(R"({"device": null})")).empty());
}

TEST(SchemaCheck, OneLetterKeyNeverMatchesALongerCandidate) {
  EXPECT_EQ(SchemaCheck::nearest("q", {"qua", "zq", "abc"}), "zq");
  EXPECT_EQ(SchemaCheck::nearest("q", {"qua", "abc", "quit"}), std::nullopt);
  auto findings = SchemaCheck::check(parseJSON(R"({"q": 1})"), Shape::wave());
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_FALSE(findings[0].suggestion.has_value());
}

// MARK: Nearest key and distance.

TEST(SchemaCheckNearest, TranspositionIsOneEdit) {
  EXPECT_EQ(SchemaCheck::distance("angel", "angle"), 1u);
  EXPECT_EQ(SchemaCheck::distance("ab", "ba"), 1u);
}

TEST(SchemaCheckNearest, DistanceIsOptimalStringAlignmentNotFullDamerau) {
  // Unrestricted Damerau distance is 2 here; optimal string alignment can't edit a swapped pair again.
  EXPECT_EQ(SchemaCheck::distance("ca", "abc"), 3u);
  EXPECT_EQ(SchemaCheck::distance("", "abc"), 3u);
  EXPECT_EQ(SchemaCheck::distance("kitten", "sitting"), 3u);
}

TEST(SchemaCheckNearest, ComparisonIgnoresCaseAndReturnsTheCandidatesSpelling) {
  EXPECT_EQ(SchemaCheck::distance("FONTFAMILY", "fontFamily"), 0u);
  EXPECT_EQ(SchemaCheck::nearest("FontFamily", {"fontFamily"}), "fontFamily");
  EXPECT_EQ(SchemaCheck::nearest("HEADLINE", {"headline"}), "headline");
}

TEST(SchemaCheckNearest, LimitGrowsWithKeyLength) {
  // Two letters: one edit.
  EXPECT_EQ(SchemaCheck::nearest("zz", {"z"}), "z");
  EXPECT_EQ(SchemaCheck::nearest("zz", {"ab"}), std::nullopt);
  // Four letters: (4 + 1) / 3 = 1 edit.
  EXPECT_EQ(SchemaCheck::nearest("abcd", {"abxd"}), "abxd");
  EXPECT_EQ(SchemaCheck::nearest("abcd", {"axyd"}), std::nullopt);
  // Five letters: two edits.
  EXPECT_EQ(SchemaCheck::nearest("abcde", {"axyde"}), "axyde");
  EXPECT_EQ(SchemaCheck::nearest("abcde", {"axyze"}), std::nullopt);
  // Seven letters: (7 + 1) / 3 = 2 edits.
  EXPECT_EQ(SchemaCheck::nearest("abcdefg", {"abxyefg"}), "abxyefg");
  EXPECT_EQ(SchemaCheck::nearest("abcdefg", {"axyzefg"}), std::nullopt);
  // Eight letters and more: three edits.
  EXPECT_EQ(SchemaCheck::nearest("abcdefgh", {"axyzefgh"}), "axyzefgh");
  EXPECT_EQ(SchemaCheck::nearest("abcdefghijkl", {"awxyzfghijkl"}), std::nullopt);
}

TEST(SchemaCheckNearest, SmallestDistanceWinsThenStringOrder) {
  EXPECT_EQ(SchemaCheck::nearest("colr", {"colors", "color"}), "color");
  EXPECT_EQ(SchemaCheck::nearest("tilx", {"tilt", "tile"}), "tile");
  EXPECT_EQ(SchemaCheck::nearest("tilx", {"tile", "tilt"}), "tile");
}

TEST(SchemaCheckNearest, NoCandidatesGiveNoSuggestion) { EXPECT_EQ(SchemaCheck::nearest("x", {}), std::nullopt); }

TEST(SchemaCheckNearest, MultiByteLettersCountAsOneCharacter) {
  EXPECT_EQ(SchemaCheck::distance("colör", "color"), 1u);
  EXPECT_EQ(SchemaCheck::nearest("sübhead", {"subhead"}), "subhead");
}

// MARK: Tables.

TEST(SchemaCheckTables, EveryAliasRowIsPresent) {
  const std::vector<std::pair<std::string, std::string>> rows{
      {"textAlign", "align (in a text style: textStyles.<text>.align, or an element's style.align)"},
      {"textAlignment", "align (in a text style)"},
      {"alignment", "align (in a text style)"},
      {"font", "fontFamily"},
      {"fontName", "fontFamily"},
      {"family", "fontFamily"},
      {"font-family", "fontFamily"},
      {"fontWeight", "weight"},
      {"fontSize", "scale (in a text style) or fontScale (in a placement)"},
      {"size", "scale or width"},
      {"letterSpacing", "tracking"},
      {"kerning", "tracking"},
      {"lineSpacing", "lineHeight"},
      {"leading", "lineHeight"},
      {"textTransform", "uppercase"},
      {"caps", "uppercase"},
      {"allCaps", "uppercase"},
      {"oblique", "slant (or italic for a true italic face)"},
      {"rotate", "rotation"},
      {"angle", "rotation (or angle inside a linear fill)"},
      {"bg", "background"},
      {"backgroundColor", "background"},
      {"colour", "color"},
      {"textColor", "color (on an element) or textColors / textStyles.<text>.color (on a slide)"},
      {"shadowColor", "shadowStyle.color"},
      {"dropShadow", "shadow or shadowStyle"},
      {"borderColor", "stroke or outline"},
      {"border", "stroke or outline"},
      {"radius", "cornerRadius"},
      {"borderRadius", "cornerRadius"},
      {"zIndex", "z"},
      {"blendMode", "blend"},
      {"mixBlendMode", "blend"},
      {"emphasis", "emphasisStyle"},
      {"highlight", "emphasisStyle: \"highlight\""},
      {"textPosition", "archetype (hero, device-top, text-only) or a placement"},
      {"position", "a placement in overrides.<target>.placements"},
      {"x", "a placement in overrides.<target>.placements"},
      {"y", "a placement in overrides.<target>.placements"},
      {"offsetX", "a placement's x"},
  };
  const auto& aliases = SchemaCheck::aliases();
  EXPECT_EQ(aliases.size(), 40u);
  for (const auto& [key, suggestion] : rows) {
    auto it = aliases.find(key);
    ASSERT_NE(it, aliases.end()) << key;
    EXPECT_EQ(it->second, suggestion) << key;
  }
}

TEST(SchemaCheckTables, AliasesAreUsedForUnknownKeysOnly) {
  // `radius` is a mark's own key, and the alias is for a shape's corner.
  EXPECT_TRUE(SchemaCheck::check(parseJSON(R"({"radius": 0.2})"), Shape::mark()).empty());
  auto findings = SchemaCheck::slide(parseJSON(R"({"elements": [{"id": "s", "radius": 4}]})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].suggestion, "cornerRadius");
}

TEST(SchemaCheckTables, AliasSentenceWithQuotes) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"highlight": true})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].message(),
            "highlight isn't a field Vorno knows, so it was ignored. Did you mean emphasisStyle: \"highlight\"?");
}

TEST(SchemaCheckTables, FillKindsInOrderWithTheirKeys) {
  const auto& kinds = SchemaCheck::fillKinds();
  ASSERT_EQ(kinds.size(), 3u);
  EXPECT_EQ(kinds[0].key, "linear");
  EXPECT_EQ(kinds[0].keys, (std::vector<std::string>{"linear", "angle"}));
  EXPECT_EQ(kinds[1].key, "radial");
  EXPECT_EQ(kinds[1].keys, (std::vector<std::string>{"radial", "center", "radius"}));
  EXPECT_EQ(kinds[2].key, "image");
  EXPECT_EQ(kinds[2].keys, (std::vector<std::string>{"image", "fit", "dim", "blur"}));
}

TEST(SchemaCheckTables, ShapeLabels) {
  EXPECT_EQ(Shape::crop().label(), "crop");
  EXPECT_EQ(Shape::mark().label(), "mark");
  EXPECT_EQ(Shape::effect().label(), "effect");
  EXPECT_EQ(Shape::shadowStyle().label(), "shadowStyle");
  EXPECT_EQ(Shape::placement().label(), "placement");
  EXPECT_EQ(Shape::override().label(), "override");
  EXPECT_EQ(Shape::component().label(), "component");
  EXPECT_EQ(Shape::element().label(), "element");
  EXPECT_EQ(Shape::device().label(), "device");
  EXPECT_EQ(Shape::look().label(), "device look");
  EXPECT_EQ(Shape::slide().label(), "slide");
  EXPECT_EQ(Shape::spread().label(), "spread");
  EXPECT_EQ(Shape::theme().label(), "theme");
  EXPECT_EQ(Shape::textStyle().label(), "text style");
  EXPECT_EQ(Shape::variant().label(), "variant");
  EXPECT_EQ(Shape::project().label(), "project");
  EXPECT_EQ(Shape::creative().label(), "creative");
  EXPECT_EQ(Shape::keyframe().label(), "keyframe");
  EXPECT_EQ(Shape::wave().label(), "wave");
  EXPECT_EQ(Shape::motion().label(), "motion");
  EXPECT_EQ(Shape::scene().label(), "scene");
  EXPECT_EQ(Shape::transition().label(), "transition");
}

std::vector<std::string> sorted(std::vector<std::string> keys) {
  std::sort(keys.begin(), keys.end());
  return keys;
}

TEST(SchemaCheckTables, KeySetsOfTheRecords) {
  EXPECT_EQ(Shape::project().keys(), sorted({"schemaVersion", "appName", "locales", "targets", "theme", "slides",
                                             "spreads", "variants", "creatives"}));
  EXPECT_EQ(Shape::slide().keys(),
            sorted({"id", "archetype", "eyebrow", "headline", "subhead", "device", "inverted", "background",
                    "overrides", "elements", "textColors", "emphasisStyle", "textStyles", "accent"}));
  auto creativeKeys = Shape::slide().keys();
  creativeKeys.push_back("canvas");
  creativeKeys.push_back("motion");
  EXPECT_EQ(Shape::creative().keys(), sorted(creativeKeys));
  EXPECT_EQ(Shape::spread().keys(), sorted({"id", "slides", "background", "elements", "overrides"}));
  EXPECT_EQ(Shape::variant().keys(), sorted({"id", "name", "patch"}));
  EXPECT_EQ(Shape::crop().keys(), sorted({"x", "y", "width", "height"}));
  EXPECT_EQ(Shape::look().keys(), sorted({"frame", "finish", "crop"}));
  EXPECT_EQ(Shape::override().keys(),
            sorted({"archetype", "deviceWidth", "deviceOffsetY", "headlineScale", "placements"}));
  EXPECT_EQ(Shape::motion().keys(), sorted({"duration", "fps", "poster", "scenes", "transition", "tracks", "waves"}));
  EXPECT_EQ(Shape::keyframe().keys(), sorted({"t", "x", "y", "scale", "rotation", "opacity", "ease"}));
  EXPECT_EQ(Shape::element().keys().size(), 29u);
  EXPECT_EQ(Shape::textStyle().keys().size(), 14u);
  EXPECT_EQ(Shape::theme().keys().size(), 10u);
}

TEST(SchemaCheckTables, NestedShapesHaveTheirKinds) {
  EXPECT_EQ(Shape::project().field("slides")->kind(), Shape::Kind::keyed);
  EXPECT_EQ(Shape::project().field("variants")->kind(), Shape::Kind::any);
  EXPECT_EQ(Shape::slide().field("overrides")->kind(), Shape::Kind::map);
  EXPECT_EQ(Shape::slide().field("overrides")->item()->label(), "override");
  EXPECT_EQ(Shape::theme().field("invertedBackground")->kind(), Shape::Kind::fill);
  EXPECT_EQ(Shape::element().field("fill")->kind(), Shape::Kind::fill);
  EXPECT_EQ(Shape::device().field("platforms")->item()->label(), "device look");
  EXPECT_EQ(Shape::motion().field("tracks")->item()->kind(), Shape::Kind::array);
  EXPECT_EQ(Shape::slide().field("headlin"), nullptr);
  EXPECT_EQ(Shape::any().field("x"), nullptr);
  EXPECT_TRUE(Shape::fill().keys().empty());
}

// MARK: Messages and issues.

TEST(SchemaCheckFinding, MessageWithoutSuggestion) {
  Finding finding{"theme", "zzzzzz", std::nullopt};
  EXPECT_EQ(finding.message(), "theme.zzzzzz isn't a field Vorno knows, so it was ignored.");
}

TEST(SchemaCheckFinding, IssueIsAnUnknownSchemaWarning) {
  Finding finding{"", "headlin", "headline"};
  Issue issue = finding.issue("week");
  EXPECT_EQ(issue.severity, Issue::Severity::warning);
  EXPECT_EQ(issue.code, "schema.unknown");
  EXPECT_EQ(issue.message, finding.message());
  EXPECT_EQ(issue.slide, "week");
  EXPECT_FALSE(finding.issue().slide.has_value());
}

// MARK: Whole documents.

TEST(SchemaCheckProject, FullValidProjectHasNoFindings) {
  Json project = parseJSON(kFullProject);
  EXPECT_EQ(messages(SchemaCheck::project(project)), std::vector<std::string>{});
  EXPECT_TRUE(SchemaCheck::creative(project["creatives"][0]).empty());
  EXPECT_TRUE(SchemaCheck::spread(project["spreads"][0]).empty());
  EXPECT_TRUE(SchemaCheck::theme(project["theme"]).empty());
  EXPECT_TRUE(SchemaCheck::slide(project["slides"][0]).empty());
}

TEST(SchemaCheckProject, MisspellingsAtSeveralDepthsReportTheirPaths) {
  Json project = parseJSON(kFullProject);
  project["appNme"] = "x";
  project["theme"]["textStyles"]["headline"]["mark"]["tilts"] = 2;
  project["slides"][0]["device"]["platforms"]["android"]["finsh"] = "x";
  project["slides"][0]["elements"][5]["component"]["titel"] = "x";
  project["slides"][0]["overrides"]["ios.ipad-13"]["placements"]["headline"]["rotaton"] = 1;
  project["spreads"][0]["elements"][0]["strokeWidht"] = 1;
  project["creatives"][0]["motion"]["tracks"]["phone"][1]["eas"] = "in";
  project["creatives"][0]["motion"]["scenes"][1]["shwo"] = Json::array();
  project["creatives"][0]["motion"]["transition"]["stlye"] = "fade";
  project["creatives"][0]["motion"]["waves"]["phone"][0]["amplitud"] = 1;
  project["variants"][0]["patch"]["slides"]["week"]["elements"]["note"]["txet"] = "x";
  project["variants"][1]["patch"]["slides"][0]["subhed"] = "x";
  std::vector<Finding> expected{
      {"", "appNme", "appName"},
      {R"(creatives["header"].motion.scenes[1])", "shwo", "show"},
      {R"(creatives["header"].motion.tracks.phone[1])", "eas", "ease"},
      {R"(creatives["header"].motion.transition)", "stlye", "style"},
      {R"(creatives["header"].motion.waves.phone[0])", "amplitud", "amplitude"},
      {R"(slides["week"].device.platforms.android)", "finsh", "finish"},
      {R"(slides["week"].elements["stars"].component)", "titel", "title"},
      {R"(slides["week"].overrides.ios.ipad-13.placements.headline)", "rotaton", "rotation"},
      {R"(spreads["pair"].elements["arrow"])", "strokeWidht", "strokeWidth"},
      {"theme.textStyles.headline.mark", "tilts", "tilt"},
      {R"(variants["bold"].patch.slides["week"].elements["note"])", "txet", "text"},
      {R"(variants["calm"].patch.slides["only"])", "subhed", "subhead"},
  };
  EXPECT_EQ(SchemaCheck::project(project), expected);
}

TEST(SchemaCheckProject, VariantWithoutIdIsReportedByIndex) {
  auto findings = SchemaCheck::project(
      parseJSON(R"({"variants": [{"id": "a", "patch": {}}, {"patch": {"apName": "x", "theme": {"acent": null}}}]})"));
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(findings[0], (Finding{"variants[1].patch", "apName", "appName"}));
  EXPECT_EQ(findings[1], (Finding{"variants[1].patch.theme", "acent", "accent"}));
}

TEST(SchemaCheckProject, VariantKeysThemselvesAreLeftToTheReader) {
  EXPECT_TRUE(SchemaCheck::project(parseJSON(R"({"variants": [{"id": "a", "nam": "x", "patch": {}}]})")).empty());
}

TEST(SchemaCheckProject, VariantsThatAreNotAllRecordsAreNotWalked) {
  EXPECT_TRUE(SchemaCheck::project(parseJSON(R"({"variants": [{"patch": {"apName": 1}}, 3]})")).empty());
  EXPECT_TRUE(SchemaCheck::project(parseJSON(R"({"variants": {"a": {"patch": {"apName": 1}}}})")).empty());
}

TEST(SchemaCheckProject, PatchModeAllowsKeyedObjectsAndRemovals) {
  auto findings = SchemaCheck::patch(parseJSON(
      R"({"appName": null, "slides": {"week": null, "new": {"headline": "x", "elements": {"a": {"colr": 1}}}}})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], (Finding{R"(slides["new"].elements["a"])", "colr", "color"}));
}

TEST(SchemaCheckProject, KeyedObjectOutsideAPatchIsWalkedInPatchMode) {
  // An object under a keyed key is only meaningful as a patch, so its nulls are removals.
  EXPECT_TRUE(SchemaCheck::project(parseJSON(R"({"slides": {"week": {"eyebrow": null}}})")).empty());
}

TEST(SchemaCheckProject, FindingsInSortedKeyOrder) {
  auto findings = SchemaCheck::slide(parseJSON(R"({"zeta": 1, "alpha": 2, "Beta": 3})"));
  ASSERT_EQ(findings.size(), 3u);
  EXPECT_EQ(findings[0].key, "Beta");
  EXPECT_EQ(findings[1].key, "alpha");
  EXPECT_EQ(findings[2].key, "zeta");
}

TEST(SchemaCheckProject, ValuesOfTheWrongTypeGiveNothing) {
  EXPECT_TRUE(SchemaCheck::slide(parseJSON(R"(["headlin"])")).empty());
  EXPECT_TRUE(SchemaCheck::slide(parseJSON(R"("headlin")")).empty());
  EXPECT_TRUE(SchemaCheck::project(parseJSON("null")).empty());
  EXPECT_TRUE(SchemaCheck::slide(parseJSON(R"({"elements": "x", "overrides": [1], "background": 3})")).empty());
}

TEST(SchemaCheckProject, FillKeysOutsideTheChosenKindAreReported) {
  auto findings = SchemaCheck::theme(
      parseJSON(R"({"background": {"radial": ["#000000", "#FFFFFF"], "centre": [0.5, 0.5], "radious": 1}})"));
  ASSERT_EQ(findings.size(), 2u);
  EXPECT_EQ(findings[0], (Finding{"background", "centre", "center"}));
  EXPECT_EQ(findings[1], (Finding{"background", "radious", "radius"}));
}

TEST(SchemaCheckProject, CreativeAddsCanvasAndMotionToTheSlideKeys) {
  EXPECT_TRUE(SchemaCheck::creative(parseJSON(R"({"id": "a", "canvas": "ios.header", "motion": {}})")).empty());
  auto findings = SchemaCheck::slide(parseJSON(R"({"id": "a", "canvas": "ios.header"})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0].key, "canvas");
}

class SchemaCheckFile : public ::testing::Test {
 protected:
  void SetUp() override {
    dir_ = std::filesystem::temp_directory_path() / ("schema_check_test_" + std::to_string(::getpid()));
    std::filesystem::create_directories(dir_);
  }
  void TearDown() override { std::filesystem::remove_all(dir_); }
  std::filesystem::path write(const std::string& name, const std::string& text) {
    auto path = dir_ / name;
    std::ofstream(path) << text;
    return path;
  }
  std::filesystem::path dir_;
};

TEST_F(SchemaCheckFile, ReadsAndChecksAProjectFile) {
  auto findings = SchemaCheck::projectFile(write("project.json", R"({"appName": "x", "slidess": []})"));
  ASSERT_EQ(findings.size(), 1u);
  EXPECT_EQ(findings[0], (Finding{"", "slidess", "slides"}));
}

TEST_F(SchemaCheckFile, UnreadableFileGivesNoFindings) {
  EXPECT_TRUE(SchemaCheck::projectFile(dir_ / "missing.json").empty());
  EXPECT_TRUE(SchemaCheck::projectFile(dir_).empty());
}

TEST_F(SchemaCheckFile, UnparsableFileGivesNoFindings) {
  EXPECT_TRUE(SchemaCheck::projectFile(write("broken.json", R"({"appNme": )")).empty());
  EXPECT_TRUE(SchemaCheck::projectFile(write("empty.json", "")).empty());
}

TEST(SchemaCheckThreads, ShapesAreSharedSafelyAcrossThreads) {
  Json project = parseJSON(kFullProject);
  project["slides"][1]["headlin"] = "x";
  std::vector<std::vector<Finding>> results(4);
  std::vector<std::thread> threads;
  for (size_t i = 0; i < results.size(); ++i)
    threads.emplace_back([&, i] {
      for (int n = 0; n < 20; ++n) results[i] = SchemaCheck::project(project);
    });
  for (auto& t : threads) t.join();
  for (const auto& r : results) {
    ASSERT_EQ(r.size(), 1u);
    EXPECT_EQ(r[0], (Finding{R"(slides["quotes"])", "headlin", "headline"}));
  }
}

}  // namespace
}  // namespace vorno::schema_check_test
