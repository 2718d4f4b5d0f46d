#include "server/guide.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>

#include "kit/model/slide_element.h"
#include "kit/model/store_target.h"
#include "kit/util/format.h"
#include "mcp/mcp_error.h"
#include "server/creative_docs.h"
#include "server/vorno_server.h"
#include "tests/temp_folder.h"

namespace vorno::guide_test {
namespace {

std::string read(const std::string& uri) {
  mcp::Value answer = VornoServer::readResource(mcp::Value::Object{{"uri", uri}});
  const mcp::Value* contents = answer.find("contents");
  EXPECT_TRUE(contents && contents->arrayValue() && contents->arrayValue()->size() == 1);
  const mcp::Value& content = contents->arrayValue()->front();
  EXPECT_EQ(*content.find("mimeType")->stringValue(), "text/markdown");
  EXPECT_EQ(*content.find("uri")->stringValue(), uri);
  return *content.find("text")->stringValue();
}

bool contains(const std::string& text, const std::string& part) { return text.find(part) != std::string::npos; }

void expectSizeNear(const std::string& text, double designed) {
  EXPECT_GE(text.size(), designed * 0.75);
  EXPECT_LE(text.size(), designed * 1.25);
}

TEST(Guide, ResourcesAreListedInOrderAsMarkdown) {
  const auto& resources = Guide::resources();
  ASSERT_EQ(resources.size(), 3u);
  EXPECT_EQ(resources[0].uri, "vorno://guide");
  EXPECT_EQ(resources[1].uri, "vorno://targets");
  EXPECT_EQ(resources[2].uri, "vorno://recipes");
  EXPECT_EQ(resources[0].name, "Vorno design guide");
  EXPECT_EQ(resources[1].name, "Store targets");
  EXPECT_EQ(resources[2].name, "Recipes");
  for (const auto& resource : resources) EXPECT_EQ(resource.mimeType, "text/markdown");
}

TEST(Guide, TextsThatTeachComponentsNameEveryKindOfTheCatalogue) {
  EXPECT_TRUE(contains(Guide::resources()[2].description,
                       "Copy-ready JSON for components (" + ComponentSpec::kindNames(", ") + "), panoramas"));
  // The written guide and recipes are prose; a kind added to the catalogue must be taught there too.
  const std::string guide = *Guide::text("vorno://guide");
  const std::string recipes = *Guide::text("vorno://recipes");
  for (std::string_view kind : EnumNames<ComponentSpec::Kind>::names) {
    EXPECT_TRUE(contains(guide, "`" + std::string(kind) + "` (")) << kind;
    EXPECT_TRUE(contains(recipes, "\"type\": \"" + std::string(kind) + "\"")) << kind;
  }
}

TEST(Guide, ReadingTargetsListsEveryStoreTargetAndCanvas) {
  std::string text = read("vorno://targets");
  for (const StoreTarget& target : StoreTarget::all()) {
    std::string row = "| " + target.id + " | " + std::to_string(target.width) + "×" + std::to_string(target.height) +
                      " | " + std::to_string(target.minCount) + "–" + std::to_string(target.maxCount) + " | " +
                      target.note + " |\n";
    EXPECT_TRUE(contains(text, row)) << row;
  }
  for (const StoreTarget& canvas : StoreTarget::canvases()) {
    EXPECT_TRUE(contains(text, "| " + canvas.id + " | " + std::to_string(canvas.width) + "×" +
                                   std::to_string(canvas.height) + " | "))
        << canvas.id;
    EXPECT_TRUE(contains(text, canvas.note + " |\n")) << canvas.id;
  }
}

TEST(Guide, ReadingTwiceGivesEqualText) {
  for (const auto& resource : Guide::resources()) {
    std::string first = read(resource.uri);
    EXPECT_FALSE(first.empty());
    EXPECT_EQ(first, read(resource.uri)) << resource.uri;
  }
}

TEST(Guide, TargetsFollowTheOrderOfTheTable) {
  std::string text = Guide::targets();
  EXPECT_EQ(text.rfind("# Store targets\n\n| id | size | store limit | note |\n|---|---|---|---|\n"
                       "| ios.iphone-6.9 | 1320×2868 | 1–10 | Required for iPhone apps. Smaller iPhones are scaled "
                       "from this. |\n| ios.iphone-6.5 | 1284×2778 | 1–10 |",
                       0),
            0u);
  EXPECT_TRUE(contains(text, "| play.phone | 1080×1920 | 2–8 | 9:16 at 1080px qualifies for featuring. |\n"
                             "| play.tablet-7 | 1200×1920 | 0–8 | Optional. |\n"));
  EXPECT_TRUE(contains(text, "| play.tablet-10 | 1600×2560 | 0–8 | Optional. |\n\nApple requires only iPhone 6.9″ "
                             "(or 6.5″) and, for iPad apps, iPad 13″; from April 2027 also iPhone Duo. Google Play "
                             "rejects images whose long side exceeds twice the short side.\n\nios.iphone-duo is one "
                             "App Store set for the iPhone Duo (iOS 27.1, it opens like a book). Its slides are the "
                             "same slides."));
}

TEST(Guide, TargetsTellHowToCaptureTheDuo) {
  std::string text = Guide::targets();
  size_t start = text.find("ios.iphone-duo is one App Store set");
  size_t end = text.find("\n\n", start);
  ASSERT_NE(start, std::string::npos);
  std::string paragraph = text.substr(start, end - start);
  for (const char* part : {"iPhone Duo simulator", "2853×2007", "2007×2853", "1398×2034", "boots folded",
                           "simctl can't unfold it", "Unfolded in Device Hub's toolbar", "capture_screenshot",
                           "whichever display is lit",
                           "Without a Duo capture the slide shows the iPhone and its capture"})
    EXPECT_TRUE(contains(paragraph, part)) << part;
}

TEST(Guide, TargetsEndWithTheCanvases) {
  std::string text = Guide::targets();
  std::string canvases = CreativeDocs::canvases();
  ASSERT_GE(text.size(), canvases.size());
  EXPECT_EQ(text.substr(text.size() - canvases.size()), canvases);
  EXPECT_TRUE(contains(text, "capture.\n\n# Creative canvases (App Store, iOS 27)\n\n"));
}

TEST(Guide, UnknownUriIsNoneAndAnInvalidParamsError) {
  EXPECT_FALSE(Guide::text("vorno://nothing"));
  EXPECT_FALSE(Guide::text("vorno://guide/"));
  EXPECT_FALSE(Guide::text("VORNO://GUIDE"));
  EXPECT_FALSE(Guide::text(""));
  try {
    VornoServer::readResource(mcp::Value::Object{{"uri", "vorno://nothing"}});
    ADD_FAILURE() << "no error";
  } catch (const mcp::MCPError& error) {
    EXPECT_EQ(error.code(), -32602);
    EXPECT_EQ(error.message(), "Invalid params: Unknown resource vorno://nothing");
  }
}

TEST(Guide, DesignGuideHasEverySectionOfItsOutline) {
  std::string text = *Guide::text("vorno://guide");
  for (const char* section :
       {"The story", "The look: this app's, not Vorno's", "Toolbox", "Components", "Captures",
        "Every target and language", "Header and search results (App Store, iOS 27)",
        "Header and search results in motion", "Store rules Vorno checks", "Loop"})
    EXPECT_TRUE(contains(text, "\n## " + std::string(section) + "\n")) << section;
}

TEST(Guide, DesignGuideStatesWhatTheProgramLeansOn) {
  std::string text = *Guide::text("vorno://guide");
  for (const char* fact : {
           "2 lines", "at most 8 words", "`**…**`", "\"platforms\"", "\"targets\"",              // the story
           "comes from the app's brand", "only a starting point",                           // the look
           "`text`", "`image`", "`device`", "`symbol`", "`shape`", "`component`",             // toolbox
           "ready-made components before hand-built pills",                                  // components
           "populated", "Android captures for Google Play targets",                         // captures
           "a placement made on one phone is used on the other phones until they get their own",
           "safe area", "`ios.header`", "`ios.search-results`", "`ios.universal`",          // creatives
           "5–30 s", "30 or 60 fps", "whole cycles",                                        // motion
           "no alpha channel", "1–10 per locale", "2–8", "twice the short side", "prices", "discounts",
           "URLs", "©", "unverified awards", "other platforms", "Apple's own badges", "4+", "`appstore.policy`",
           "\"#1\"", "\"best\"", "\"top\"", "\"free\"", "\"install now\"", "ratings, awards, rankings or reviews",
           "No other platform's hardware",                                                   // store rules
           "`render_overview` `words_only`", "`slide_upsert`", "`render_slide`", "then `export`"})  // loop
    EXPECT_TRUE(contains(text, fact)) << fact;
}

TEST(Guide, RecipesOpenWithTheCoordinateRule) {
  std::string text = *Guide::text("vorno://recipes");
  EXPECT_TRUE(contains(text, "Adapt ids, captures, colors and copy. Positions are per target; repeat `placements` "
                             "for each target you ship."));
  EXPECT_TRUE(contains(text, "centre"));
  EXPECT_TRUE(contains(text, "1.0 is the first seam of a spread"));
  EXPECT_TRUE(contains(text, "a fraction of one slide's width"));
  EXPECT_LT(text.find("Adapt ids"), text.find("\n## "));
}

TEST(Guide, RecipesHaveEverySectionOfTheirOutline) {
  std::string text = *Guide::text("vorno://recipes");
  size_t last = 0;
  for (const char* section :
       {"Panorama: one background, a tilted phone across the seam", "Photo background", "Two phones on one slide",
        "Components: ready-made pieces (use these first)", "Logo lockup",
        "Detail card: zoom into the part of the screen that proves the headline", "Highlighted payoff",
        "Annotation: arrow + sticker", "Sticker headlines (game-ad energy)", "Poster type",
        "Gradient letters, glow and light", "Photos and avatars", "A day in order", "Callout over the UI", "Frames",
        "Rules of thumb"}) {
    size_t at = text.find("\n## " + std::string(section) + "\n");
    EXPECT_NE(at, std::string::npos) << section;
    if (at == std::string::npos) continue;
    EXPECT_GT(at, last) << section << " is out of order";
    last = at;
  }
}

TEST(Guide, DocumentsAreAboutTheirDesignedSize) {
  expectSizeNear(*Guide::text("vorno://guide"), 11083);
  expectSizeNear(*Guide::text("vorno://recipes"), 9369);
}

TEST(Guide, MissingDocumentIsAnsweredWithARepairSentence) {
  testing::TempFolder empty("vorno-guide-empty");
  std::string text = Guide::authored("guide.md", "Vorno design guide", {empty.path().string()});
  EXPECT_EQ(text, "# Vorno design guide\n\nThis installation of Vorno is missing guide.md (looked in " +
                      empty.path().string() +
                      "). Reinstall Vorno, or set VORNO_SHARE_DIR to the folder that holds guide.md.\n");
  EXPECT_EQ(Guide::authored("recipes.md", "Recipes", {}),
            "# Recipes\n\nThis installation of Vorno is missing recipes.md (looked in no folder). Reinstall Vorno, "
            "or set VORNO_SHARE_DIR to the folder that holds recipes.md.\n");
}

TEST(Guide, DocumentComesFromTheFirstFolderThatHoldsIt) {
  testing::TempFolder first("vorno-guide-a"), second("vorno-guide-b");
  std::ofstream(second.file("recipes.md")) << "# Second\n";
  EXPECT_EQ(Guide::authored("recipes.md", "Recipes", {first.path().string(), second.path().string()}), "# Second\n");
  std::ofstream(first.file("recipes.md")) << "# First\n";
  EXPECT_EQ(Guide::authored("recipes.md", "Recipes", {first.path().string(), second.path().string()}), "# First\n");
}

TEST(Guide, ShareFolderFromTheEnvironmentComesFirst) {
  testing::TempFolder share("vorno-guide-share");
  std::ofstream(share.file("guide.md")) << "# Installed elsewhere\n";
  const char* old = std::getenv("VORNO_SHARE_DIR");
  std::string saved = old ? old : "";
  setenv("VORNO_SHARE_DIR", share.path().c_str(), 1);
  std::optional<std::string> text = Guide::text("vorno://guide");
  std::vector<std::string> folders = Guide::folders();
  if (old) {
    setenv("VORNO_SHARE_DIR", saved.c_str(), 1);
  } else {
    unsetenv("VORNO_SHARE_DIR");
  }
  EXPECT_EQ(text, "# Installed elsewhere\n");
  ASSERT_FALSE(folders.empty());
  EXPECT_EQ(folders.front(), share.path().string());
}

}  // namespace
}  // namespace vorno::guide_test
