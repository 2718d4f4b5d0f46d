#include "kit/model/project_json.h"

#include "kit/model/coding.h"
#include "kit/model/project.h"
#include "kit/util/json_output.h"

#include <gtest/gtest.h>

#include <fstream>
#include <sstream>

namespace vorno::project_json_test {
namespace {

// A document that sets every field of every record, in the form the writer gives back.
const char* everyField = R"json({
  "schemaVersion": 5,
  "appName": "Crewday",
  "locales": ["en-US", "de-DE"],
  "targets": ["ios.iphone-6.9", "play.phone"],
  "theme": {
    "background": {"linear": ["#EEF0F3", "#D0D4DA"], "angle": 170},
    "invertedBackground": "#14171D",
    "foreground": "#14171D",
    "invertedForeground": "#EEF0F3",
    "accent": "#C8216A",
    "muted": "#4A515E80",
    "fontFamily": "Inter",
    "headlineWeight": "black",
    "emphasisStyle": "marker",
    "textStyles": {
      "headline": {
        "fontFamily": "Inter Display", "weight": "bold", "scale": 1.1, "tracking": -0.02, "lineHeight": 0.95,
        "uppercase": true, "italic": false, "color": "#102030", "align": "center", "slant": 8,
        "emphasisStyle": "sticker",
        "mark": {"color": "#FFD60A", "textColor": "#000000", "paper": "#FFFFFF", "padding": 0.12, "radius": 0.2,
                 "tilt": -3, "height": 0.6, "offset": 0.05, "opacity": 0.9},
        "effect": {"outline": "#000000", "outlineWidth": 0.04, "shadow": "#FF0000", "shadowX": 0.02, "shadowY": 0.03},
        "fill": {"radial": ["#FF0000", "#0000FF"], "center": [0.3, 0.4], "radius": 0.9}
      },
      "caption": {}
    }
  },
  "slides": [
    {
      "id": "week",
      "archetype": "device-top",
      "eyebrow": {"en-US": "PLAN", "de-DE": "PLANEN"},
      "headline": {"en-US": "Plan your **week**", "de-DE": "Plane deine **Woche**"},
      "subhead": {"en-US": "All jobs in one place."},
      "device": {
        "screenshot": {"ios": "captures/{locale}/week.png", "android": "captures/{locale}/week-android.png"},
        "frame": "phone-frame", "finish": "silver", "width": 0.8, "offsetY": 0.05, "rotation": -4,
        "crop": {"x": 0, "y": 0.1, "width": 1, "height": 0.5},
        "outline": "#FFFFFF",
        "platforms": {"android": {"frame": "pixel-frame", "finish": "obsidian",
                                  "crop": {"x": 0.1, "y": 0.2, "width": 0.8, "height": 0.6}}}
      },
      "inverted": true,
      "background": {"image": "assets/bg.jpg", "fit": "contain", "dim": 0.3, "blur": 0.1},
      "overrides": {
        "ios.iphone-6.9": {"archetype": "hero", "deviceWidth": 0.7, "deviceOffsetY": 0.02, "headlineScale": 1.2,
                           "placements": {"headline": {"x": 0.5, "y": 0.2, "width": 0.9, "height": 0.15,
                                                       "fontScale": 1.1, "rotation": -2}}}
      },
      "elements": [
        {"id": "sticker", "kind": "text", "text": {"en-US": "New"}, "role": "caption", "color": "#FFFFFF",
         "align": "right", "image": "assets/logo.png", "device": {"screenshot": "captures/a.png"},
         "symbol": "star.fill", "shape": "rounded-rectangle",
         "component": {"type": "review", "style": "dark", "title": {"en-US": "Great"}, "subtitle": {"en-US": "Ana"},
                       "items": [{"en-US": "One"}, {"en-US": "Two"}], "value": 4.5, "symbol": "bell.fill",
                       "image": "assets/icon.png"},
         "fill": "#000000CC", "stroke": "#FF00FF", "strokeWidth": 2, "cornerRadius": 0.1, "aspect": 1.5,
         "opacity": 0.8, "shadow": true, "z": 3, "platforms": ["ios", "android"], "targets": ["ios.iphone-6.9"],
         "style": {"weight": "semibold"},
         "shadowStyle": {"color": "#000000", "opacity": 0.3, "blur": 0.05, "x": 0.01, "y": 0.02},
         "crop": {"x": 0.1, "y": 0.1, "width": 0.5, "height": 0.5}, "mask": "circle", "blur": 0.02,
         "path": "M0 0 L1 1", "blend": "soft-light", "decorative": true},
        {"id": "stars", "kind": "component", "component": {"type": "rating", "value": 4.8}}
      ],
      "textColors": {"headline": "#C8216A", "eyebrow": "#4A515E"},
      "emphasisStyle": "highlight",
      "textStyles": {"subhead": {"italic": true}},
      "accent": "#00AAFF"
    },
    {"id": "map", "archetype": "hero", "headline": {"en-US": "Every job, **on the map**"}}
  ],
  "spreads": [
    {"id": "pair", "slides": ["week", "map"], "background": "#112233",
     "elements": [{"id": "band", "kind": "shape", "shape": "capsule", "fill": "#FFFFFF", "z": -1}],
     "overrides": {"ios.iphone-6.9": {"placements": {"band": {"x": 1, "y": 0.5, "width": 1.2}}}}}
  ],
  "variants": [
    {"id": "bold", "name": "Bold look", "patch": {"slides": {"week": {"inverted": null}}, "theme": {"accent": "#FF0000"}}},
    {"id": "calm", "patch": {}}
  ],
  "creatives": [
    {
      "canvas": "ios.header", "id": "summer", "archetype": "text-only", "eyebrow": {"en-US": "NEW"},
      "motion": {
        "duration": 12, "fps": 60, "poster": 2.5,
        "scenes": [
          {"duration": 6, "show": ["phone", "title"], "texts": {"title": {"en-US": "First"}},
           "screens": {"phone": "captures/a.png"}},
          {"duration": 6, "show": ["title"], "screens": {"phone": {"ios": "captures/b.png"}}}
        ],
        "transition": {"style": "crossfade", "duration": 0.8, "elements": {"phone": "zoom"}},
        "tracks": {"phone": [{"t": 0, "x": 0.5, "y": 0.6, "scale": 1, "rotation": 0, "opacity": 0, "ease": "linear"},
                             {"t": 2, "y": 0.55, "ease": "in-out"}]},
        "waves": {"camera": [{"property": "scale", "amplitude": 0.01, "cycles": 2, "phase": 0.25}]}
      }
    },
    {"canvas": "ios.search-results", "id": "search", "archetype": "hero", "headline": {"en-US": "Find **crews**"}}
  ]
})json";

const char* minimal = R"({
  "schemaVersion": 5, "appName": "App", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
  "theme": {"background": "#EEF0F3", "invertedBackground": "#14171D", "foreground": "#14171D",
            "invertedForeground": "#EEF0F3", "accent": "#C8216A", "muted": "#4A515E", "headlineWeight": "heavy"},
  "slides": [{"id": "a", "headline": "One"}, {"id": "b", "headline": "Two"}, {"id": "c", "headline": "Three"}]
})";

std::string errorOf(const Json& json) {
  try {
    decodeProject(json);
  } catch (const DecodingError& error) {
    return error.summary();
  }
  return "no error";
}

// `minimal` with one change made at a JSON pointer.
Json minimalWith(const std::string& pointer, Json value) {
  Json json = parseJSON(minimal);
  json[Json::json_pointer(pointer)] = std::move(value);
  return json;
}

TEST(ProjectJSON, DocumentUsingEveryFieldWritesBackAsItWasRead) {
  Json json = parseJSON(everyField);
  Project project = decodeProject(json);
  EXPECT_EQ(encodeProject(project), json);
}

TEST(ProjectJSON, ReadWriteReadGivesAnEqualValueAndIdenticalBytes) {
  Project first = decodeProject(parseJSON(everyField));
  std::string written = documentJSON(encodeProject(first));
  Project second = decodeProject(parseJSON(written));
  EXPECT_EQ(second, first);
  EXPECT_EQ(documentJSON(encodeProject(second)), written);
}

TEST(ProjectJSON, EveryFieldLandsInItsRecord) {
  Project p = decodeProject(parseJSON(everyField));
  EXPECT_EQ(p.theme.headlineWeight, FontWeight::black);
  EXPECT_EQ(p.theme.muted.hex(), "#4A515E80");
  const Slide& week = p.slides[0];
  EXPECT_EQ(week.archetype, Archetype::deviceTop);
  EXPECT_TRUE(week.inverted);
  EXPECT_EQ(week.device->look(Platform::android).finish, "obsidian");
  EXPECT_EQ(week.elements[0].blend, BlendMode::softLight);
  EXPECT_EQ(week.elements[0].component->type, ComponentSpec::Kind::review);
  EXPECT_EQ(week.placement("headline", "ios.iphone-6.9")->fontScale, 1.1);
  EXPECT_EQ(p.spreads[0].elements[0].z, -1);
  EXPECT_EQ(p.variants[0].name, "Bold look");
  EXPECT_FALSE(p.variants[1].name);
  EXPECT_TRUE(p.creatives[0].slide.headline.isEmpty());
  EXPECT_EQ(p.creatives[0].motion->fps, 60);
  EXPECT_FALSE(p.creatives[1].motion);
}

TEST(ProjectJSON, MissingSpreadsVariantsAndCreativesReadEmptyAndAreNotWritten) {
  Project p = decodeProject(parseJSON(minimal));
  EXPECT_TRUE(p.spreads.empty());
  EXPECT_TRUE(p.variants.empty());
  EXPECT_TRUE(p.creatives.empty());
  Json written = encodeProject(p);
  EXPECT_FALSE(written.contains("spreads"));
  EXPECT_FALSE(written.contains("variants"));
  EXPECT_FALSE(written.contains("creatives"));
  // Empty lists in the file vanish too.
  Json withEmpty = parseJSON(minimal);
  withEmpty["spreads"] = Json::array();
  withEmpty["creatives"] = Json::array();
  EXPECT_EQ(encodeProject(decodeProject(withEmpty)), written);
}

TEST(ProjectJSON, SlidesAreWrittenEvenWhenEmpty) {
  Project p = decodeProject(minimalWith("/slides", Json::array()));
  EXPECT_EQ(encodeProject(p)["slides"], Json::array());
}

TEST(ProjectJSON, PlainStringHeadlineRoundTripsToEnUSObject) {
  Json written = encodeProject(decodeProject(parseJSON(minimal)));
  EXPECT_EQ(written["slides"][0]["headline"], parseJSON(R"({"en-US": "One"})"));
}

TEST(ProjectJSON, SlideWithoutHeadlineIsMissingHeadlineAtItsIndex) {
  Json json = parseJSON(minimal);
  json["slides"][2].erase("headline");
  EXPECT_EQ(errorOf(json), "missing headline at .slides[2]");
}

TEST(ProjectJSON, MissingRootKeysAreReported) {
  for (const char* key : {"schemaVersion", "appName", "locales", "targets", "theme", "slides"}) {
    Json json = parseJSON(minimal);
    json.erase(key);
    EXPECT_EQ(errorOf(json), std::string("missing ") + key) << key;
  }
  EXPECT_EQ(errorOf(minimalWith("/variants", parseJSON(R"([{"id": "v"}])"))), "missing patch at .variants[0]");
  EXPECT_EQ(errorOf(minimalWith("/creatives", parseJSON(R"([{"id": "c"}])"))), "missing canvas at .creatives[0]");
  EXPECT_EQ(errorOf(minimalWith("/spreads", parseJSON(R"([{"id": "s"}])"))), "missing slides at .spreads[0]");
  EXPECT_EQ(errorOf(minimalWith("/theme/muted", nullptr)),
            "Expected String value but found null instead. at .theme.muted");
}

TEST(ProjectJSON, WrongTypesAreReportedAtEveryDepth) {
  EXPECT_EQ(errorOf(Json::array()), "expected Dictionary");
  EXPECT_EQ(errorOf(minimalWith("/appName", 3)), "expected String at .appName");
  EXPECT_EQ(errorOf(minimalWith("/schemaVersion", "5")), "expected Int at .schemaVersion");
  EXPECT_EQ(errorOf(minimalWith("/locales/0", false)), "expected String at .locales[0]");
  EXPECT_EQ(errorOf(minimalWith("/slides/1/headline", 7)), "expected Dictionary at .slides[1].headline");
  EXPECT_EQ(errorOf(minimalWith("/slides/1/inverted", "yes")), "expected Bool at .slides[1].inverted");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/elements", parseJSON(R"([{"id": "x", "kind": "shape", "opacity": "half"}])"))),
            "expected Double at .slides[0].elements[0].opacity");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/overrides", parseJSON(R"({"play.phone": {"placements": {"device": {"x": 0.5, "y": "top", "width": 1}}}})"))),
            "expected Double at .slides[0].overrides.play.phone.placements.device.y");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/device", parseJSON(R"({"screenshot": "a.png", "platforms": {"ios": {"crop": {"x": 0, "y": 0, "width": 1}}}})"))),
            "missing height at .slides[0].device.platforms.ios.crop");
  EXPECT_EQ(errorOf(minimalWith("/theme/textStyles", parseJSON(R"({"headline": {"mark": {"paper": 1}}})"))),
            "expected String at .theme.textStyles.headline.mark.paper");
}

TEST(ProjectJSON, InvalidEnumValuesAreRefusedWithTheirPath) {
  EXPECT_EQ(errorOf(minimalWith("/theme/headlineWeight", "thin")),
            "Cannot initialize FontWeight from invalid String value thin. Use regular, medium, semibold, bold, heavy "
            "or black. at .theme.headlineWeight");
  EXPECT_EQ(errorOf(minimalWith("/slides/2/archetype", "textOnly")),
            "Cannot initialize Archetype from invalid String value textOnly. Use hero, device-top or text-only. at "
            ".slides[2].archetype");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/emphasisStyle", "underline")),
            "Cannot initialize EmphasisStyle from invalid String value underline. Use color, highlight, marker or "
            "sticker. at .slides[0].emphasisStyle");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/elements", parseJSON(R"([{"id": "x", "kind": "shape", "blend": "hue"}])"))),
            "Cannot initialize BlendMode from invalid String value hue. Use normal, multiply, screen, overlay, darken, "
            "lighten, color-dodge, color-burn, soft-light, hard-light, difference or exclusion. at "
            ".slides[0].elements[0].blend");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/elements", parseJSON(R"([{"id": "x", "kind": "shape", "shape": "star"}])"))),
            "Cannot initialize ShapeKind from invalid String value star. Use rectangle, rounded-rectangle, capsule, "
            "circle, arrow or path. at .slides[0].elements[0].shape");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/elements", parseJSON(R"([{"id": "x", "kind": "text", "role": "title"}])"))),
            "Cannot initialize TextRole from invalid String value title. Use eyebrow, headline, subhead or caption. "
            "at .slides[0].elements[0].role");
  EXPECT_EQ(errorOf(minimalWith("/slides/0/elements", parseJSON(R"([{"id": "x", "kind": "text", "align": "justify"}])"))),
            "Cannot initialize TextAlign from invalid String value justify. Use left, center or right. at "
            ".slides[0].elements[0].align");
}

TEST(ProjectJSON, UnknownKeysAreIgnoredAndNotKept) {
  Json json = parseJSON(minimal);
  json["colour"] = "red";
  json["slides"][0]["headlin"] = "typo";
  json["theme"]["shade"] = 1;
  Project p = decodeProject(json);
  EXPECT_EQ(p, decodeProject(parseJSON(minimal)));
  Json written = encodeProject(p);
  EXPECT_FALSE(written.contains("colour"));
  EXPECT_FALSE(written["slides"][0].contains("headlin"));
  EXPECT_FALSE(written["theme"].contains("shade"));
}

TEST(ProjectJSON, NullOptionalKeysReadAsAbsent) {
  Json json = parseJSON(minimal);
  json["spreads"] = nullptr;
  json["slides"][0]["eyebrow"] = nullptr;
  json["slides"][0]["archetype"] = nullptr;
  Project p = decodeProject(json);
  EXPECT_TRUE(p.spreads.empty());
  EXPECT_FALSE(p.slides[0].eyebrow);
  EXPECT_EQ(p.slides[0].archetype, Archetype::hero);
}

TEST(ProjectJSON, ExamplePackageReadsAndWritesStably) {
  std::ifstream file(std::string(VORNO_SOURCE_DIR) + "/examples/Demo.vorno/project.json");
  ASSERT_TRUE(file) << "example package missing";
  std::stringstream text;
  text << file.rdbuf();
  Project project = decodeProject(parseJSON(text.str()));
  EXPECT_FALSE(project.slides.empty());
  std::string written = documentJSON(encodeProject(project));
  Project again = decodeProject(parseJSON(written));
  EXPECT_EQ(again, project);
  EXPECT_EQ(documentJSON(encodeProject(again)), written);
}

}  // namespace
}  // namespace vorno::project_json_test
