// An export killed with SIGKILL in the middle of writing, then run again: the folder ends exactly
// as one clean run would leave it (the new files, no stale ones, no half-written temporaries), the
// manifest lists exactly those files, and the user's own files are all still there.
#include "tests/export_test_support.h"
#include "tests/held_renames.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>

namespace vorno::testing::export_crash_test {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

size_t pngsNewerThan(const fs::path& folder, fs::file_time_type since) {
  size_t count = 0;
  std::error_code error;
  for (fs::recursive_directory_iterator it(folder, error), end; !error && it != end; it.increment(error)) {
    std::error_code ignored;
    if (it->path().extension() == ".png" && it->last_write_time(ignored) > since) ++count;
  }
  return count;
}

// Hidden temporary files under `folder`: what a write killed before its rename leaves.
size_t temporariesUnder(const fs::path& folder) {
  size_t count = 0;
  for (const auto& file : filesUnder(folder))
    if (fs::path(file).filename().string().starts_with(".") && fs::path(file).filename() != ".vorno-export.json") ++count;
  return count;
}

TEST(ExportCrash, KilledMidRunThenRunAgainEndsCorrectAndKeepsUsersFiles) {
  TempFolder temp("vorno-export-crash");
  const fs::path root = copyExample(temp.path());
  const fs::path exports = root / "exports";

  // A complete earlier export, then the user's own files among it.
  ASSERT_EQ(runVorno({"export", "--project", root.string()}).status, 0);
  std::ofstream(exports / "notes.txt") << "launch plan";
  std::ofstream(exports / "ios/ios.iphone-6.9/en-US/retouch.psd") << "layers";

  // Drop one slide: the next run must renumber and remove, and is killed half-way.
  Json project = Json::parse(readText(root / "project.json"));
  auto& slides = project["slides"];
  slides.erase(slides.begin() + 1);
  std::ofstream(root / "project.json") << project.dump(2);
  // The export is stopped with ten files renamed into place and the next written to its temporary
  // file, waiting for its rename, and killed there: some new files, a leftover temporary, and the
  // old manifest.
  const auto since = fs::file_time_type::clock::now();
  {
    HeldRenames killed(VORNO_BINARY, {"export", "--project", root.string()});
    ASSERT_TRUE(killed.watching()) << "renames can't be held here (no seccomp user notification)";
    ASSERT_TRUE(killed.holdAfter(10)) << "the export ended before its eleventh rename";
    ASSERT_TRUE(killed.kill());
  }
  EXPECT_GT(pngsNewerThan(exports, since), 0u);
  EXPECT_GE(temporariesUnder(exports), 1u);

  auto again = runVorno({"export", "--project", root.string()});
  ASSERT_EQ(again.status, 0) << again.err;

  // What one clean run of the new document makes, in a fresh copy.
  TempFolder clean("vorno-export-clean");
  const fs::path cleanRoot = copyExample(clean.path());
  std::ofstream(cleanRoot / "project.json") << project.dump(2);
  ASSERT_EQ(runVorno({"export", "--project", cleanRoot.string()}).status, 0);

  std::set<std::string> expected = filesUnder(cleanRoot / "exports");
  expected.insert("notes.txt");
  expected.insert("ios/ios.iphone-6.9/en-US/retouch.psd");
  EXPECT_EQ(filesUnder(exports), expected);  // no stale names, no hidden temporaries left over
  EXPECT_EQ(readText(exports / ".vorno-export.json"), readText(cleanRoot / "exports/.vorno-export.json"));
  EXPECT_EQ(readText(exports / "notes.txt"), "launch plan");
  EXPECT_EQ(readText(exports / "ios/ios.iphone-6.9/en-US/retouch.psd"), "layers");
  for (const auto& file : filesUnder(cleanRoot / "exports")) {
    if (fs::path(file).extension() != ".png") continue;
    auto facts = readPNG((exports / file).string());
    ASSERT_TRUE(facts) << file;
    EXPECT_TRUE(facts->decodes) << file;
  }
}

}  // namespace
}  // namespace vorno::testing::export_crash_test
