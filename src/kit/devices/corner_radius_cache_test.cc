#include "kit/devices/corner_radius_cache.h"

#include "kit/devices/device_fixtures.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <sys/stat.h>

#include <cstdlib>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

namespace vorno::corner_radius_cache_test {
namespace {

using testing::TempFolder;
using testing::writeMaskPDF;

std::string contents(const std::string& path) {
  std::ifstream in(path);
  std::stringstream text;
  text << in.rdbuf();
  return text.str();
}

TEST(CornerRadiusCacheKey, HoldsPathSizeSecondsAndMirrorWord) {
  TempFolder folder;
  std::string pdf = folder.file("m.pdf");
  writeMaskPDF(pdf, 10, 20, 2);
  struct stat info {};
  ASSERT_EQ(::stat(pdf.c_str(), &info), 0);
  std::string seconds = std::to_string(static_cast<long long>(info.st_mtime));
  EXPECT_EQ(CornerRadiusCache::key(pdf, 1206, 2622, false), "v2|" + pdf + "|1206x2622|" + seconds);
  EXPECT_EQ(CornerRadiusCache::key(pdf, 1206, 2622, true), "v2|" + pdf + "|1206x2622|" + seconds + "|right");
  EXPECT_EQ(CornerRadiusCache::key("/no/such.pdf", 1, 2, false), "v2|/no/such.pdf|1x2|0");
}

TEST(CornerRadiusCacheFit, FitsOnceWritesTheFileAndAFreshCacheReadsIt) {
  TempFolder folder;
  std::string pdf = folder.file("mask.pdf");
  writeMaskPDF(pdf, 134, 291.33, 19);  // 402 by 874 pixels at scale 3, radius 57
  std::string file = folder.file("corner-radii.json");
  CornerRadiusCache cache(file);
  auto radius = cache.radius(pdf, 402, 874, false);
  ASSERT_TRUE(radius);
  EXPECT_NEAR(*radius, 57, 1.0);

  nlohmann::json written = nlohmann::json::parse(contents(file));
  std::string key = CornerRadiusCache::key(pdf, 402, 874, false);
  ASSERT_TRUE(written.contains(key));
  EXPECT_EQ(written[key].get<double>(), *radius);

  // A new process finds the answer without fitting: removing the mask would change the key, so
  // instead the entry is planted with a value no fit would give.
  written[key] = 12.5;
  std::ofstream(file) << written.dump();
  CornerRadiusCache again(file);
  EXPECT_EQ(again.radius(pdf, 402, 874, false), 12.5);
}

TEST(CornerRadiusCacheFit, ThreadsFittingAtOnceAllGetTheAnswer) {
  TempFolder folder;
  std::vector<std::string> masks;
  for (int i = 0; i < 3; ++i) {
    masks.push_back(folder.file("mask" + std::to_string(i) + ".pdf"));
    writeMaskPDF(masks.back(), 400 + 20 * i, 860, 40 + 10 * i);
  }
  CornerRadiusCache cache(folder.file("corner-radii.json"));
  // Six threads over three masks: two threads fit each key at the same time, without a lock.
  std::vector<std::optional<double>> results(6);
  std::vector<std::thread> threads;
  for (int t = 0; t < 6; ++t)
    threads.emplace_back([&, t] { results[t] = cache.radius(masks[t % 3], 400 + 20 * (t % 3), 860, false); });
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < 6; ++t) {
    ASSERT_TRUE(results[t]) << t;
    EXPECT_NEAR(*results[t], 40 + 10 * (t % 3), 1.0) << t;
    EXPECT_EQ(results[t], results[t % 3]) << t;
  }
  nlohmann::json written = nlohmann::json::parse(contents(folder.file("corner-radii.json")));
  EXPECT_EQ(written.size(), 3u);
}

TEST(CornerRadiusCacheFit, UnreadableMaskStoresNothing) {
  TempFolder folder;
  std::string file = folder.file("corner-radii.json");
  CornerRadiusCache cache(file);
  EXPECT_FALSE(cache.radius(folder.file("missing.pdf"), 300, 600, false));
  EXPECT_FALSE(std::filesystem::exists(file));
  EXPECT_FALSE(cache.value(CornerRadiusCache::key(folder.file("missing.pdf"), 300, 600, false)));
}

TEST(CornerRadiusCacheFile, UndecodableOrOddFileGivesEmptyOrPartialMap) {
  TempFolder folder;
  std::ofstream(folder.file("bad.json")) << "{not json";
  CornerRadiusCache bad(folder.file("bad.json"));
  EXPECT_FALSE(bad.value("v2|x|1x1|0"));

  std::ofstream(folder.file("mixed.json")) << R"({"v2|a|1x1|0": 4.5, "v2|b|1x1|0": "six"})";
  CornerRadiusCache mixed(folder.file("mixed.json"));
  EXPECT_EQ(mixed.value("v2|a|1x1|0"), 4.5);
  EXPECT_FALSE(mixed.value("v2|b|1x1|0"));
}

TEST(CornerRadiusCacheFile, SetValueIsInMemoryOnly) {
  TempFolder folder;
  CornerRadiusCache cache(folder.file("c.json"));
  cache.setValue("v2|k|1x1|0", 165);
  EXPECT_EQ(cache.value("v2|k|1x1|0"), 165);
  EXPECT_FALSE(std::filesystem::exists(folder.file("c.json")));
}

TEST(CornerRadiusCacheShared, LivesInTheUserCachesFolder) {
  static TempFolder folder("vorno-caches");  // outlives the test: the shared cache keeps its path
  setenv("XDG_CACHE_HOME", folder.path().c_str(), 1);
  const auto& file = CornerRadiusCache::shared().file();
  EXPECT_EQ(file.filename(), "corner-radii.json");
  EXPECT_EQ(file.parent_path().filename(), "app.vorno");
  // When this process makes the shared cache here, its folder is made with it.
  if (file.parent_path().parent_path() == folder.path()) {
    EXPECT_TRUE(std::filesystem::is_directory(file.parent_path()));
  }
}

}  // namespace
}  // namespace vorno::corner_radius_cache_test
