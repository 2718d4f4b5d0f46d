#include "kit/util/atomic_write.h"

#include "kit/util/vorno_error.h"
#include "tests/read_text.h"
#include "tests/run_process.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <vector>

namespace vorno::atomic_write_test {
namespace {

size_t entryCount(const std::filesystem::path& folder) {
  size_t count = 0;
  for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator(folder)) ++count;
  return count;
}

class AtomicWrite : public ::testing::Test {
 protected:
  void SetUp() override { folder_ = testing::makeTempFolder("vorno-atomic"); }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::filesystem::path folder_;
};

TEST_F(AtomicWrite, CreatesFileWithBytesAndLeavesNoTemporary) {
  atomicWrite(folder_ / "a.json", "{}\n");
  EXPECT_EQ(testing::readText(folder_ / "a.json"), "{}\n");
  EXPECT_EQ(entryCount(folder_), 1u);
}

TEST_F(AtomicWrite, ReplacesExistingFileAndKeepsItsPermissions) {
  atomicWrite(folder_ / "a.txt", "old");
  ASSERT_EQ(::chmod((folder_ / "a.txt").c_str(), 0600), 0);
  atomicWrite(folder_ / "a.txt", "new bytes");
  EXPECT_EQ(testing::readText(folder_ / "a.txt"), "new bytes");
  struct stat info {};
  ASSERT_EQ(::stat((folder_ / "a.txt").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0600u);
  EXPECT_EQ(entryCount(folder_), 1u);
}

TEST_F(AtomicWrite, ReplacementIsANewFileSoAnOpenReaderKeepsOldBytes) {
  atomicWrite(folder_ / "a.txt", "old");
  std::ifstream reader(folder_ / "a.txt", std::ios::binary);
  atomicWrite(folder_ / "a.txt", "new");
  std::string seen;
  reader >> seen;
  EXPECT_EQ(seen, "old");
  EXPECT_EQ(testing::readText(folder_ / "a.txt"), "new");
}

TEST_F(AtomicWrite, MissingFolderIsOneIoSentenceNamingTarget) {
  auto target = folder_ / "missing" / "a.txt";
  try {
    atomicWrite(target, "x");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(error.message(), "Couldn't write " + target.string() + ": No such file or directory.");
  }
}

TEST_F(AtomicWrite, FailedRenameRemovesTemporaryAndKeepsWhatWasThere) {
  std::filesystem::create_directory(folder_ / "taken");
  std::ofstream(folder_ / "taken" / "inside") << "keep";
  try {
    atomicWrite(folder_ / "taken", "x");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_TRUE(error.message().starts_with("Couldn't write " + (folder_ / "taken").string() + ": "));
  }
  EXPECT_EQ(entryCount(folder_), 1u);
  EXPECT_EQ(testing::readText(folder_ / "taken" / "inside"), "keep");
}

TEST_F(AtomicWrite, CopyStreamsSourceAndKeepsItsPermissions) {
  std::string big(3 << 20, '\0');
  for (size_t i = 0; i < big.size(); ++i) big[i] = static_cast<char>(i * 7 % 251);
  atomicWrite(folder_ / "source.bin", big);
  ASSERT_EQ(::chmod((folder_ / "source.bin").c_str(), 0640), 0);
  atomicCopy(folder_ / "source.bin", folder_ / "copy.bin");
  EXPECT_EQ(testing::readText(folder_ / "copy.bin"), big);
  struct stat info {};
  ASSERT_EQ(::stat((folder_ / "copy.bin").c_str(), &info), 0);
  EXPECT_EQ(info.st_mode & 0777, 0640u);
  EXPECT_EQ(entryCount(folder_), 2u);
}

TEST_F(AtomicWrite, CopyOfMissingSourceNamesTheSource) {
  try {
    atomicCopy(folder_ / "nothing.png", folder_ / "copy.png");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Couldn't read " + (folder_ / "nothing.png").string() + ": No such file or directory.");
  }
  EXPECT_EQ(entryCount(folder_), 0u);
}

TEST_F(AtomicWrite, CopyOfFolderIsRefused) {
  std::filesystem::create_directory(folder_ / "dir");
  try {
    atomicCopy(folder_ / "dir", folder_ / "copy");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), "Couldn't read " + (folder_ / "dir").string() + ": Is a directory.");
  }
  EXPECT_EQ(entryCount(folder_), 1u);
}

TEST_F(AtomicWrite, TemporaryNameIsHiddenBesideTargetWithUUID) {
  auto temporary = temporaryPathBeside(folder_ / "project.json");
  EXPECT_EQ(temporary.parent_path(), folder_);
  EXPECT_TRUE(std::regex_match(temporary.filename().string(),
                               std::regex(R"(\.project\.json\.[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12})")))
      << temporary;
  EXPECT_NE(temporaryPathBeside(folder_ / "project.json"), temporary);
}

}  // namespace
}  // namespace vorno::atomic_write_test

namespace vorno::atomic_write_test {
namespace {

TEST(AtomicRebuildableWrite, ReplacesWholeWithoutATemporaryLeftBehind) {
  testing::TempFolder folder;
  auto target = folder.path() / "picture.png";
  atomicWrite(target, "old");
  atomicWrite(target, "new bytes", Durability::rebuildable);
  std::ifstream in(target);
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_EQ(text, "new bytes");
  int entries = 0;
  for ([[maybe_unused]] const auto& e : std::filesystem::directory_iterator(folder.path())) ++entries;
  EXPECT_EQ(entries, 1);
}

}  // namespace
}  // namespace vorno::atomic_write_test

namespace vorno::atomic_write_test {
namespace {

// What the step hook saw: the step, the temporary file's bytes then, and the target's. The hook is
// a plain function, so it records into a place of its own.
struct SeenStep {
  WriteStep step;
  std::string temporary;  // "(gone)" once it has been renamed
  std::string target;
  bool operator==(const SeenStep&) const = default;
};
std::vector<SeenStep> seenSteps;

std::string nameOf(WriteStep step) {
  static const char* const names[] = {"opening", "opened", "halfWritten", "written", "flushed", "renamed"};
  return names[static_cast<int>(step)];
}
void PrintTo(const SeenStep& seen, std::ostream* out) {
  *out << nameOf(seen.step) << " (temporary \"" << seen.temporary << "\", target \"" << seen.target << "\")";
}
// The steps seen, by name.
std::vector<std::string> seenStepNames() {
  std::vector<std::string> names;
  for (const auto& seen : seenSteps) names.push_back(nameOf(seen.step));
  return names;
}

void recordStep(const std::filesystem::path& target, const std::filesystem::path& temporary, WriteStep step) {
  if (step == WriteStep::opening) return;  // before the temporary file exists: nothing to see yet
  seenSteps.push_back({step, std::filesystem::exists(temporary) ? testing::readText(temporary) : "(gone)", testing::readText(target)});
}

// Watches every write while it lives.
class WatchedWrites {
 public:
  WatchedWrites() {
    seenSteps.clear();
    atomicWriteStepHook = recordStep;
  }
  ~WatchedWrites() { atomicWriteStepHook = nullptr; }
};

TEST(AtomicWriteSteps, DocumentIsFlushedWholeBeforeItIsRenamed) {
  testing::TempFolder folder;
  auto target = folder.path() / "project.json";
  atomicWrite(target, "old");
  WatchedWrites watch;
  atomicWrite(target, "new bytes!");
  EXPECT_EQ(seenSteps, (std::vector<SeenStep>{{WriteStep::opened, "", "old"},
                                              {WriteStep::halfWritten, "new b", "old"},
                                              {WriteStep::written, "new bytes!", "old"},
                                              {WriteStep::flushed, "new bytes!", "old"},
                                              {WriteStep::renamed, "(gone)", "new bytes!"}}));
}

TEST(AtomicWriteSteps, RebuildablePictureIsNeverFlushed) {
  testing::TempFolder folder;
  auto target = folder.path() / "picture.png";
  WatchedWrites watch;
  atomicWrite(target, "pixels", Durability::rebuildable);
  EXPECT_EQ(seenStepNames(), (std::vector<std::string>{"opened", "halfWritten", "written", "renamed"}));
  EXPECT_EQ(testing::readText(target), "pixels");
}

TEST(AtomicWriteSteps, CopyIsFlushedBeforeItIsRenamed) {
  testing::TempFolder folder;
  std::ofstream(folder.path() / "source") << "copied";
  WatchedWrites watch;
  atomicCopy(folder.path() / "source", folder.path() / "copy");
  EXPECT_EQ(seenStepNames(), (std::vector<std::string>{"opened", "written", "flushed", "renamed"}));
}

}  // namespace
}  // namespace vorno::atomic_write_test
