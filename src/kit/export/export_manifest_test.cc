#include "kit/export/export_manifest.h"

#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace vorno::export_manifest_test {
namespace {

namespace fs = std::filesystem;
using testing::TempFolder;
using Entry = ExportManifest::Entry;
using Scope = ExportManifest::Scope;

void touch(const fs::path& file, const std::string& text = "x") {
  fs::create_directories(file.parent_path());
  std::ofstream(file) << text;
}

std::string contents(const fs::path& file) {
  std::ifstream in(file);
  std::stringstream s;
  s << in.rdbuf();
  return s.str();
}

Entry entry(const std::string& path, const std::string& target = "ios.iphone-6.9", const std::string& locale = "en-US",
            ExportLayout layout = ExportLayout::vorno) {
  return {path, layout, target, locale};
}

// A folder of the caller's own, written into as it stands.
ExportFolder own(const fs::path& folder) { return {folder, fs::path()}; }

Scope scope(const std::string& target = "ios.iphone-6.9", const std::string& locale = "en-US",
            ExportLayout layout = ExportLayout::vorno) {
  return {layout, target, locale};
}

// Writes the files and a manifest listing them, as an earlier export would have.
void exportFiles(const fs::path& folder, const std::vector<Entry>& entries) {
  std::set<Scope> scopes;
  for (const auto& e : entries) {
    touch(folder / e.path);
    scopes.insert({e.layout, e.target, e.locale});
  }
  ExportManifest::replace(own(folder), entries, scopes);
}

TEST(ExportManifest, WritesSortedPrettyJSONWithUnescapedSlashes) {
  TempFolder temp;
  exportFiles(temp.path(), {entry("ios/ios.iphone-6.9/en-US/01-a.png")});
  EXPECT_EQ(contents(temp.path() / ".vorno-export.json"),
            "{\n  \"files\": [\n    {\n      \"layout\": \"vorno\",\n      \"locale\": \"en-US\",\n"
            "      \"path\": \"ios/ios.iphone-6.9/en-US/01-a.png\",\n      \"target\": \"ios.iphone-6.9\"\n"
            "    }\n  ]\n}\n");
  EXPECT_EQ(ExportManifest::read(temp.path()).files, std::vector<Entry>{entry("ios/ios.iphone-6.9/en-US/01-a.png")});
}

TEST(ExportManifest, UsersNotesSurviveAnyNumberOfExports) {
  TempFolder temp;
  touch(temp.path() / "notes.txt", "mine");
  touch(temp.path() / "ios/ios.iphone-6.9/en-US/notes.txt", "mine too");
  for (int run = 0; run < 5; ++run) {
    std::vector<Entry> entries;
    for (int i = 0; i <= run % 3; ++i) entries.push_back(entry("ios/ios.iphone-6.9/en-US/0" + std::to_string(i) + ".png"));
    for (const auto& e : entries) touch(temp.path() / e.path);
    ExportManifest::replace(own(temp.path()), entries, {scope()});
  }
  ExportManifest::clear(own(temp.path()));
  EXPECT_EQ(contents(temp.path() / "notes.txt"), "mine");
  EXPECT_EQ(contents(temp.path() / "ios/ios.iphone-6.9/en-US/notes.txt"), "mine too");
  EXPECT_FALSE(fs::exists(temp.path() / "ios/ios.iphone-6.9/en-US/00.png"));
}

TEST(ExportManifest, VornoThenFastlaneKeepsBothLayoutsListed) {
  TempFolder temp;
  Entry vornoFile = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  Entry fastlaneFile = entry("fastlane/screenshots/en-US/01_ios.iphone-6.9.png", "ios.iphone-6.9", "en-US",
                             ExportLayout::fastlane);
  exportFiles(temp.path(), {vornoFile});
  touch(temp.path() / fastlaneFile.path);
  auto removed = ExportManifest::replace(own(temp.path()), {fastlaneFile}, {scope("ios.iphone-6.9", "en-US", ExportLayout::fastlane)});
  EXPECT_TRUE(removed.empty());
  EXPECT_TRUE(fs::exists(temp.path() / vornoFile.path));
  EXPECT_EQ(ExportManifest::read(temp.path()).files, (std::vector<Entry>{vornoFile, fastlaneFile}));
}

TEST(ExportManifest, TamperedEntryOutsideFolderIsDroppedAndTouchesNothing) {
  TempFolder outer;
  const fs::path folder = outer.path() / "a" / "exports";
  fs::create_directories(folder);
  // "../../etc/hosts" from the export folder: a file of ours standing in for it, two levels up.
  touch(outer.path() / "etc/hosts", "127.0.0.1 localhost");
  touch(outer.path() / "a/victim.txt", "keep");
  std::ofstream(folder / ".vorno-export.json")
      << R"({"files":[{"layout":"vorno","locale":"en-US","path":"../../etc/hosts","target":"ios.iphone-6.9"},)"
      << R"({"layout":"vorno","locale":"en-US","path":"../victim.txt","target":"ios.iphone-6.9"},)"
      << R"({"layout":"vorno","locale":"en-US","path":"/etc/hostname","target":"ios.iphone-6.9"},)"
      << R"({"layout":"vorno","locale":"en-US","path":"ios/../../a/victim.txt","target":"ios.iphone-6.9"}]})";
  auto removed = ExportManifest::replace(own(folder), {}, {scope()});
  EXPECT_TRUE(removed.empty());
  EXPECT_EQ(contents(outer.path() / "etc/hosts"), "127.0.0.1 localhost");
  EXPECT_EQ(contents(outer.path() / "a/victim.txt"), "keep");
  EXPECT_TRUE(fs::exists("/etc/hostname"));
  EXPECT_TRUE(ExportManifest::read(folder).files.empty());
}

TEST(ExportManifest, EntryThroughSymlinkedFolderOutsideIsNotRemoved) {
  TempFolder outer;
  const fs::path folder = outer.path() / "exports";
  touch(outer.path() / "elsewhere/keep.png", "keep");
  fs::create_directories(folder);
  fs::create_directory_symlink(outer.path() / "elsewhere", folder / "link");
  std::ofstream(folder / ".vorno-export.json")
      << R"({"files":[{"layout":"vorno","locale":"en-US","path":"link/keep.png","target":"ios.iphone-6.9"}]})";
  EXPECT_TRUE(ExportManifest::replace(own(folder), {}, {scope()}).empty());
  EXPECT_EQ(contents(outer.path() / "elsewhere/keep.png"), "keep");
}

TEST(ExportManifest, TargetThatLeftProjectIsNotCoveredSoItsFilesStay) {
  TempFolder temp;
  Entry phone = entry("android/play.phone/en-US/01-a.png", "play.phone");
  Entry iphone = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  exportFiles(temp.path(), {phone, iphone});
  // The next run covers only the iPhone: play.phone left the project.
  auto removed = ExportManifest::replace(own(temp.path()), {iphone}, {scope()});
  EXPECT_TRUE(removed.empty());
  EXPECT_TRUE(fs::exists(temp.path() / phone.path));
  EXPECT_EQ(ExportManifest::read(temp.path()).files, (std::vector<Entry>{phone, iphone}));
  // Until a run covers it.
  removed = ExportManifest::replace(own(temp.path()), {iphone}, {scope(), scope("play.phone")});
  EXPECT_EQ(removed, std::vector<std::string>{phone.path});
  EXPECT_FALSE(fs::exists(temp.path() / "android"));
}

TEST(ExportManifest, UncoveredEntryWhoseFileIsGoneFallsAway) {
  TempFolder temp;
  Entry phone = entry("android/play.phone/en-US/01-a.png", "play.phone");
  exportFiles(temp.path(), {phone});
  fs::remove(temp.path() / phone.path);
  ExportManifest::replace(own(temp.path()), {}, {scope()});
  EXPECT_TRUE(ExportManifest::read(temp.path()).files.empty());
}

TEST(ExportManifest, RemovingLastFileRemovesEmptyParentsEvenWithDSStore) {
  TempFolder temp;
  Entry last = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  exportFiles(temp.path(), {last});
  touch(temp.path() / "ios/ios.iphone-6.9/en-US/.DS_Store");
  touch(temp.path() / "ios/.DS_Store");
  auto removed = ExportManifest::replace(own(temp.path()), {}, {scope()});
  EXPECT_EQ(removed, std::vector<std::string>{last.path});
  EXPECT_FALSE(fs::exists(temp.path() / "ios"));
  EXPECT_TRUE(fs::is_directory(temp.path()));
  EXPECT_TRUE(fs::exists(temp.path() / ".vorno-export.json"));
}

TEST(ExportManifest, EmptyParentClimbStopsAtFolderHoldingOtherFiles) {
  TempFolder temp;
  Entry last = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  exportFiles(temp.path(), {last});
  touch(temp.path() / "ios/readme.md");
  ExportManifest::replace(own(temp.path()), {}, {scope()});
  EXPECT_FALSE(fs::exists(temp.path() / "ios/ios.iphone-6.9"));
  EXPECT_TRUE(fs::exists(temp.path() / "ios/readme.md"));
}

TEST(ExportManifest, PathInOldAndNewListIsNotRemoved) {
  TempFolder temp;
  Entry same = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  exportFiles(temp.path(), {same});
  touch(temp.path() / same.path, "new");
  auto removed = ExportManifest::replace(own(temp.path()), {same}, {scope()});
  EXPECT_TRUE(removed.empty());
  EXPECT_EQ(contents(temp.path() / same.path), "new");
  EXPECT_EQ(ExportManifest::read(temp.path()).files, std::vector<Entry>{same});
}

TEST(ExportManifest, ClearOfFolderWithoutManifestRemovesNothing) {
  TempFolder temp;
  touch(temp.path() / "ios/ios.iphone-6.9/en-US/01-a.png");
  EXPECT_TRUE(ExportManifest::clear(own(temp.path())).empty());
  EXPECT_TRUE(fs::exists(temp.path() / "ios/ios.iphone-6.9/en-US/01-a.png"));
  EXPECT_TRUE(ExportManifest::clear(own(temp.path() / "missing")).empty());
}

TEST(ExportManifest, ClearRemovesListedFilesManifestAndEmptyFolder) {
  TempFolder temp;
  const fs::path look = temp.path() / "variants/old";
  Entry a = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  Entry b = entry("android/play.phone/ja-JP/01-a.png", "play.phone", "ja-JP");
  exportFiles(look, {a, b});
  touch(look / ".DS_Store");
  auto removed = ExportManifest::clear(own(look));
  EXPECT_EQ(removed, (std::vector<std::string>{a.path, b.path}));
  EXPECT_FALSE(fs::exists(look));
  EXPECT_TRUE(fs::exists(temp.path() / "variants"));
}

TEST(ExportManifest, ClearKeepsFolderHoldingUsersFile) {
  TempFolder temp;
  exportFiles(temp.path(), {entry("ios/ios.iphone-6.9/en-US/01-a.png")});
  touch(temp.path() / "notes.txt");
  ExportManifest::clear(own(temp.path()));
  EXPECT_TRUE(fs::exists(temp.path() / "notes.txt"));
  EXPECT_FALSE(fs::exists(temp.path() / ".vorno-export.json"));
  EXPECT_FALSE(fs::exists(temp.path() / "ios"));
}

TEST(ExportManifest, UnreadableManifestRemovesNothing) {
  TempFolder temp;
  touch(temp.path() / "ios/ios.iphone-6.9/en-US/01-a.png");
  for (std::string text : {"{not json", R"({"files":[{"path":"ios/ios.iphone-6.9/en-US/01-a.png"}]})",
                           R"({"files":[{"layout":"other","locale":"en-US","path":"ios/ios.iphone-6.9/en-US/01-a.png","target":"ios.iphone-6.9"}]})"}) {
    std::ofstream(temp.path() / ".vorno-export.json") << text;
    EXPECT_TRUE(ExportManifest::replace(own(temp.path()), {}, {scope()}).empty()) << text;
    EXPECT_TRUE(fs::exists(temp.path() / "ios/ios.iphone-6.9/en-US/01-a.png")) << text;
  }
}

TEST(ExportManifest, FileThatCantBeRemovedFailsAndLeavesManifest) {
  if (::geteuid() == 0) GTEST_SKIP() << "root removes files from read-only folders";
  TempFolder temp;
  Entry stuck = entry("ios/ios.iphone-6.9/en-US/01-a.png");
  exportFiles(temp.path(), {stuck});
  const std::string before = contents(temp.path() / ".vorno-export.json");
  const fs::path locked = temp.path() / "ios/ios.iphone-6.9/en-US";
  ::chmod(locked.c_str(), 0555);
  EXPECT_THROW(ExportManifest::replace(own(temp.path()), {}, {scope()}), VornoError);
  ::chmod(locked.c_str(), 0755);
  EXPECT_EQ(contents(temp.path() / ".vorno-export.json"), before);
  EXPECT_TRUE(fs::exists(temp.path() / stuck.path));
}

TEST(ExportManifest, EntryNamingAFolderIsNeverRemoved) {
  TempFolder temp;
  touch(temp.path() / "mine/photo.jpg");
  std::ofstream(temp.path() / ".vorno-export.json")
      << R"({"files":[{"layout":"vorno","locale":"en-US","path":"mine","target":"ios.iphone-6.9"}]})";
  EXPECT_TRUE(ExportManifest::replace(own(temp.path()), {}, {scope()}).empty());
  EXPECT_TRUE(fs::exists(temp.path() / "mine/photo.jpg"));
}

}  // namespace
}  // namespace vorno::export_manifest_test
