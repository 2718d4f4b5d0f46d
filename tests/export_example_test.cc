// The example package exported in both layouts into one folder, every file checked: its path
// (worked out here from project.json, not by the exporter's own path function), its exact pixel
// size, no alpha of any kind (read by libspng directly), and the manifest's entries.
#include "tests/export_test_support.h"
#include "tests/ffprobe.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <map>

namespace vorno::testing::export_example_test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

struct Expected {
  std::string path, layout, target, locale;
  int width = 0, height = 0;
};

// Sizes of the example's slots and canvas, as the stores publish them.
const std::map<std::string, std::pair<int, int>> sizes{{"ios.iphone-6.9", {1320, 2868}},
                                                       {"ios.iphone-duo", {2007, 2853}},
                                                       {"play.phone", {1080, 1920}},
                                                       {"ios.header", {3840, 1646}}};

std::string nn(size_t index) {
  char text[8];
  std::snprintf(text, sizeof text, "%02zu", index);
  return text;
}

std::vector<Expected> expectedFiles(const Json& project, const std::string& layout) {
  std::vector<Expected> out;
  for (const auto& targetJSON : project["targets"]) {
    const std::string target = targetJSON;
    const auto [width, height] = sizes.at(target);
    for (const auto& localeJSON : project["locales"]) {
      const std::string locale = localeJSON;
      size_t index = 0;
      for (const auto& slide : project["slides"]) {
        const std::string id = slide["id"];
        const std::string n = nn(++index);
        std::string path;
        if (layout == "vorno") {
          path = (target.rfind("ios.", 0) == 0 ? "ios/" : "android/") + target + "/" + locale + "/" + n + "-" + id + ".png";
        } else if (target == "ios.iphone-6.9") {
          path = "fastlane/screenshots/" + locale + "/" + n + "_ios.iphone-6.9.png";
        } else if (target == "ios.iphone-duo") {
          path = "fastlane/iphone-duo/" + locale + "/" + n + "_" + id + ".png";
        } else {
          path = "fastlane/metadata/android/" + locale + "/images/phoneScreenshots/" + n + "_" + id + ".png";
        }
        out.push_back({path, layout, target, locale, width, height});
      }
    }
  }
  for (const auto& creative : project["creatives"]) {
    const std::string id = creative["id"], canvas = creative["canvas"];
    const auto [width, height] = sizes.at(canvas);
    for (const auto& localeJSON : project["locales"]) {
      const std::string locale = localeJSON;
      const std::string path = layout == "vorno" ? "ios/" + canvas + "/" + locale + "/" + id + ".png"
                                                 : "fastlane/creatives/" + locale + "/" + canvas + "/" + id + ".png";
      out.push_back({path, layout, canvas, locale, width, height});
    }
  }
  // The videos of creatives in motion come after every picture, at the canvas's size.
  for (const auto& creative : project["creatives"]) {
    if (!creative.contains("motion") || creative["canvas"] == "ios.universal") continue;
    const std::string id = creative["id"], canvas = creative["canvas"];
    const auto [width, height] = sizes.at(canvas);
    for (const auto& localeJSON : project["locales"]) {
      const std::string locale = localeJSON;
      const std::string path = layout == "vorno" ? "ios/" + canvas + "/" + locale + "/" + id + ".mp4"
                                                 : "fastlane/creatives/" + locale + "/" + canvas + "/" + id + ".mp4";
      out.push_back({path, layout, canvas, locale, width, height});
    }
  }
  return out;
}

void checkFiles(const fs::path& folder, const std::vector<Expected>& files) {
  for (const auto& file : files) {
    if (fs::path(file.path).extension() == ".mp4") {
      VideoProbe video = probeVideo((folder / file.path).string());
      ASSERT_TRUE(video.error.empty()) << file.path << ": " << video.error;
      EXPECT_EQ(video.codec, "h264") << file.path;
      EXPECT_EQ(video.width, file.width) << file.path;
      EXPECT_EQ(video.height, file.height) << file.path;
      continue;
    }
    auto facts = readPNG((folder / file.path).string());
    ASSERT_TRUE(facts) << file.path;
    EXPECT_EQ(facts->width, static_cast<uint32_t>(file.width)) << file.path;
    EXPECT_EQ(facts->height, static_cast<uint32_t>(file.height)) << file.path;
    EXPECT_EQ(facts->colorType, SPNG_COLOR_TYPE_TRUECOLOR) << file.path;
    EXPECT_FALSE(facts->hasTransparencyChunk) << file.path;
    EXPECT_TRUE(facts->decodes) << file.path;
  }
}

Json manifestOf(const std::vector<Expected>& files) {
  Json list = Json::array();
  for (const auto& f : files) list.push_back({{"layout", f.layout}, {"locale", f.locale}, {"path", f.path}, {"target", f.target}});
  return list;
}

TEST(ExportExample, BothLayoutsEveryFileExactSizeNoAlphaAndManifest) {
  TempFolder temp("vorno-export-example");
  const fs::path root = copyExample(temp.path());
  const Json project = Json::parse(readText(root / "project.json"));
  const fs::path exports = root / "exports";

  auto vorno = runVorno({"export", "--project", root.string()});
  ASSERT_EQ(vorno.status, 0) << vorno.err;
  const auto vornoFiles = expectedFiles(project, "vorno");
  // 7 slides x 3 targets x 2 locales, and the header in 2 locales as its poster and its video
  EXPECT_EQ(vornoFiles.size(), 46u);
  EXPECT_NE(vorno.out.find("Wrote 46 files to " + exports.string() + "\n"), std::string::npos) << vorno.out;
  checkFiles(exports, vornoFiles);
  EXPECT_EQ(Json::parse(readText(exports / ".vorno-export.json")), (Json{{"files", manifestOf(vornoFiles)}}));

  auto fastlane = runVorno({"export", "--project", root.string(), "--layout", "fastlane"});
  ASSERT_EQ(fastlane.status, 0) << fastlane.err;
  const auto fastlaneFiles = expectedFiles(project, "fastlane");
  checkFiles(exports, fastlaneFiles);

  // The first layout's files stay, uncovered by the second run, and both sets stay listed.
  std::set<std::string> expected{".vorno-export.json"};
  Json both = manifestOf(vornoFiles);
  for (const auto& f : vornoFiles) expected.insert(f.path);
  for (const auto& f : fastlaneFiles) expected.insert(f.path);
  for (const auto& entry : manifestOf(fastlaneFiles)) both.push_back(entry);
  EXPECT_EQ(filesUnder(exports), expected);
  EXPECT_EQ(Json::parse(readText(exports / ".vorno-export.json")), (Json{{"files", both}}));
  // The manifest is written the house way: pretty, sorted keys, "/" unescaped, final newline.
  const std::string text = readText(exports / ".vorno-export.json");
  EXPECT_EQ(text.find("\\/"), std::string::npos);
  EXPECT_EQ(text.back(), '\n');
  EXPECT_EQ(text.rfind("{\n  \"files\": [\n    {\n      \"layout\": ", 0), 0u);
}

}  // namespace
}  // namespace vorno::testing::export_example_test
