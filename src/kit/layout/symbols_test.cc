#include "kit/layout/symbols.h"

#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>

namespace vorno::symbols_test {
namespace {

namespace fs = std::filesystem;

std::string readAll(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

void writeText(const std::string& path, const std::string& text) {
  fs::create_directories(fs::path(path).parent_path());
  std::ofstream(path, std::ios::binary) << text;
}

TEST(Symbols, EveryTableEntryResolvesToAnExistingFile) {
  const SymbolTable& table = Symbols::shared();
  ASSERT_GE(table.stems().size(), 160u);
  for (const auto& [name, stem] : table.stems()) {
    std::optional<std::string> path = Symbols::svgPath(name);
    ASSERT_TRUE(path) << name << " -> " << stem;
    EXPECT_TRUE(fs::is_regular_file(*path)) << *path;
    EXPECT_EQ(fs::path(*path).filename().string(), stem + ".svg");
    EXPECT_NE(readAll(*path).find("<svg"), std::string::npos) << *path;
  }
}

TEST(Symbols, OutlineAndFillDiffer) {
  const SymbolTable& table = Symbols::shared();
  int pairs = 0;
  for (const auto& [name, stem] : table.stems()) {
    if (name.size() < 6 || name.compare(name.size() - 5, 5, ".fill") != 0) continue;
    auto outline = table.stems().find(name.substr(0, name.size() - 5));
    if (outline == table.stems().end()) continue;
    ++pairs;
    fs::path fillFile = *table.svgPath(name);
    if (outline->second == stem) {
      // Allowed only where the icon set has one face of the glyph: no "-fill" sibling, and not
      // itself a "-fill" face that has an outline sibling.
      EXPECT_FALSE(fs::exists(fillFile.parent_path() / (stem + "-fill.svg"))) << name;
      EXPECT_EQ(stem.find("-fill"), std::string::npos) << name;
      continue;
    }
    EXPECT_NE(readAll(*table.svgPath(outline->first)), readAll(fillFile)) << name;
  }
  EXPECT_GE(pairs, 100);
}

TEST(Symbols, UnknownNameDoesNotResolve) {
  EXPECT_FALSE(Symbols::resolves("no.such.symbol"));
  EXPECT_FALSE(Symbols::svgPath("no.such.symbol"));
  EXPECT_FALSE(Symbols::resolves(""));
  EXPECT_FALSE(Symbols::resolves("bell.fill "));
  EXPECT_FALSE(Symbols::resolves("Bell.Fill"));
  EXPECT_TRUE(Symbols::resolves("bell.fill"));
}

TEST(Symbols, NearMissSuggestsTheNamesItMostLikelyMeant) {
  std::vector<std::string> near = Symbols::closest("checkmark.circle.fil", 3);
  ASSERT_EQ(near.size(), 3u);
  EXPECT_EQ(near[0], "checkmark.circle.fill");
  for (const auto& name : near) {
    EXPECT_TRUE(Symbols::resolves(name)) << name;
    EXPECT_EQ(name.rfind("checkmark", 0), 0u) << name;
  }
}

TEST(Symbols, NamesAgentsUseMostAreInTheTable) {
  for (const char* name : {"checkmark.circle.fill", "bell.fill", "star.fill", "heart", "bolt.fill", "sparkles",
                           "flame.fill", "calendar", "clock", "lock.fill", "person.fill", "gear", "house.fill",
                           "magnifyingglass", "camera.fill", "photo", "cart.fill", "creditcard", "chart.bar.fill",
                           "map", "location.fill", "envelope.fill", "message.fill", "phone.fill", "play.fill",
                           "pause.fill", "music.note", "mic.fill", "cloud.fill", "sun.max.fill", "moon.fill",
                           "leaf.fill", "drop.fill", "globe", "book.fill", "bookmark.fill", "tag.fill", "gift.fill",
                           "trophy.fill", "crown", "flag.fill", "shield.fill", "checkmark", "xmark", "plus",
                           "minus", "info.circle", "questionmark.circle", "exclamationmark.triangle.fill",
                           "hand.thumbsup.fill", "face.smiling", "wand.and.stars", "paintbrush.fill", "pencil",
                           "trash", "folder.fill", "doc.text", "link", "paperplane.fill", "wifi", "battery.100",
                           "bolt", "timer", "stopwatch", "hourglass", "airplane", "car.fill", "bicycle",
                           "figure.walk", "heart.text.square", "cross.fill", "pills", "arrow.right",
                           "chevron.right"})
    EXPECT_TRUE(Symbols::resolves(name)) << name;
}

TEST(Symbols, TableFileIsSortedWithOneLinePerName) {
  std::ifstream in(std::string(VORNO_SOURCE_DIR) + "/resources/symbols.tsv");
  ASSERT_TRUE(in);
  std::string line, previous;
  int lines = 0;
  while (std::getline(in, line)) {
    ++lines;
    size_t tab = line.find('\t');
    ASSERT_NE(tab, std::string::npos) << line;
    EXPECT_EQ(line.find('\t', tab + 1), std::string::npos) << line;
    std::string name = line.substr(0, tab);
    if (lines > 1) {
      EXPECT_LT(previous, name) << "out of order or repeated: " << name;
    }
    previous = name;
  }
  EXPECT_EQ(static_cast<size_t>(lines), Symbols::shared().stems().size());
}

TEST(Symbols, ShareDirFromEnvironmentIsSearchedFirst) {
  const char* old = std::getenv("VORNO_SHARE_DIR");
  std::string saved = old ? old : "";
  setenv("VORNO_SHARE_DIR", "/tmp/vorno-share-test", 1);
  std::vector<std::string> folders = Symbols::resourceFolders();
  if (old)
    setenv("VORNO_SHARE_DIR", saved.c_str(), 1);
  else
    unsetenv("VORNO_SHARE_DIR");
  ASSERT_GE(folders.size(), 3u);
  EXPECT_EQ(folders[0], "/tmp/vorno-share-test");
  // The test program sits in the build folder, so its installed share folder is the one a
  // `cmake --install --prefix <source>` would make: beside the program, never the build's prefix.
  EXPECT_EQ(folders[1], (std::filesystem::path(VORNO_BINARY).parent_path().parent_path() / "share/vorno").string());
  EXPECT_EQ(folders[2], VORNO_SOURCE_RESOURCES);
}

TEST(Symbols, InstalledIconCopyWinsOverThePackageFolder) {
  testing::TempFolder share;
  writeText(share.file("symbols.tsv"), "bell\tbell\r\nbell.fill\tbell-fill\nbroken line\nghost\tno-such-icon\n");
  writeText(share.file("symbols/bell-fill.svg"), "<svg>installed</svg>");
  SymbolTable table = SymbolTable::load(share.file("symbols.tsv"), Symbols::iconFolders(share.path().string()));
  EXPECT_EQ(table.stems().size(), 3u);
  EXPECT_EQ(table.svgPath("bell.fill"), share.file("symbols/bell-fill.svg"));
  ASSERT_TRUE(table.svgPath("bell"));  // not copied: the icon set's own folder
  EXPECT_NE(table.svgPath("bell")->find("bootstrap-icons"), std::string::npos);
  EXPECT_FALSE(table.resolves("ghost"));
  EXPECT_FALSE(table.resolves("broken line"));
}

TEST(Symbols, MissingTableGivesNothing) {
  SymbolTable table = SymbolTable::load("/nonexistent/symbols.tsv", {"/nonexistent"});
  EXPECT_TRUE(table.stems().empty());
  EXPECT_FALSE(table.resolves("bell"));
}

TEST(Symbols, TableWhoseLastLineHasNoLineBreakKeepsIt) {
  testing::TempFolder share;
  writeText(share.file("symbols.tsv"), "bell\tbell\nbell.fill\tbell-fill");
  SymbolTable table = SymbolTable::load(share.file("symbols.tsv"), {});
  EXPECT_EQ(table.stems(), (std::map<std::string, std::string, std::less<>>{{"bell", "bell"}, {"bell.fill", "bell-fill"}}));
}

TEST(Symbols, TableThatIsANamedPipeGivesNothingWithoutWaiting) {
  testing::TempFolder share;
  ASSERT_EQ(::mkfifo(share.file("symbols.tsv").c_str(), 0600), 0);
  EXPECT_TRUE(SymbolTable::load(share.file("symbols.tsv"), {}).stems().empty());
}

}  // namespace
}  // namespace vorno::symbols_test
