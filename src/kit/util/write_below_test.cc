// Writes below a package reach their folder from the package down, one opened folder at a time:
// a folder swapped for a link after the path was looked at (here, at the moment the temporary
// file is about to be made) can't carry the write outside.
#include "kit/util/write_paths.h"

#include "kit/util/atomic_write.h"
#include "kit/util/vorno_error.h"
#include "tests/read_text.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <functional>
#include <sstream>

namespace vorno::write_below_test {
namespace {

namespace fs = std::filesystem;

// Runs `act` once, at the first `step` of a write, and leaves the hook as it found it.
class StepAction {
 public:
  StepAction(WriteStep step, std::function<void()> act) {
    step_ = step;
    act_ = std::move(act);
    atomicWriteStepHook = [](const fs::path&, const fs::path&, WriteStep now) {
      if (now != step_ || !act_) return;
      auto act = std::move(act_);
      act_ = nullptr;
      act();
    };
  }
  ~StepAction() {
    atomicWriteStepHook = nullptr;
    act_ = nullptr;
  }

 private:
  static inline WriteStep step_;
  static inline std::function<void()> act_;
};

class WriteBelow : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    outside_ = folder_.path() / "outside";
    fs::create_directories(root_ / "renders");
    fs::create_directories(outside_);
    std::ofstream(outside_ / "canary.txt") << "untouched";
  }

  // Only the canary outside, with its bytes.
  void expectOutsideUntouched() const {
    EXPECT_EQ(testing::readText(outside_ / "canary.txt"), "untouched");
    for (const auto& entry : fs::directory_iterator(outside_))
      EXPECT_EQ(entry.path().filename(), "canary.txt") << "written outside the package: " << entry.path();
  }

  // renders/ moves aside and a link to outside takes its name.
  void swapRendersForALink() const {
    fs::rename(root_ / "renders", root_ / "renders-looked-at");
    fs::create_directory_symlink(outside_, root_ / "renders");
  }

  testing::TempFolder folder_{"vorno-write-below"};
  fs::path root_, outside_;
};

TEST_F(WriteBelow, WritesTheBytesAndMakesTheMissingFolders) {
  writeFileBelow(root_, "exports/ios/en-US/01-a.png", "png");
  EXPECT_EQ(testing::readText(root_ / "exports" / "ios" / "en-US" / "01-a.png"), "png");
}

TEST_F(WriteBelow, FolderSwappedForALinkAfterTheCheckKeepsTheWriteInTheFolderLookedAt) {
  checkedWritePath(root_, "renders/a.png");
  StepAction swap(WriteStep::opening, [&] { swapRendersForALink(); });
  writeFileBelow(root_, "renders/a.png", "picture", Durability::rebuildable);
  EXPECT_EQ(testing::readText(root_ / "renders-looked-at" / "a.png"), "picture");
  expectOutsideUntouched();
}

TEST_F(WriteBelow, CopySwappedForALinkAfterTheCheckKeepsTheCopyInTheFolderLookedAt) {
  std::ofstream(folder_.path() / "font.ttf") << "font";
  StepAction swap(WriteStep::opening, [&] { swapRendersForALink(); });
  copyFileBelow(folder_.path() / "font.ttf", root_, "renders/font.ttf");
  EXPECT_EQ(testing::readText(root_ / "renders-looked-at" / "font.ttf"), "font");
  expectOutsideUntouched();
}

TEST_F(WriteBelow, RenameInAHeldFolderStaysThereWhenTheFolderIsSwappedForALink) {
  HeldFolder folder = openFolderBelow(root_, "renders/a.png");
  atomicWriteInto(folder.open(), ".a.png.staged", "picture");
  swapRendersForALink();
  renameInto(folder.open(), ".a.png.staged", "a.png");
  EXPECT_EQ(testing::readText(root_ / "renders-looked-at" / "a.png"), "picture");
  EXPECT_FALSE(fs::exists(root_ / "renders-looked-at" / ".a.png.staged"));
  expectOutsideUntouched();
}

TEST_F(WriteBelow, RenameOntoALinkIsRefusedAndTheLinkStays) {
  HeldFolder folder = openFolderBelow(root_, "renders/a.png");
  atomicWriteInto(folder.open(), ".a.png.staged", "picture");
  fs::create_symlink(outside_ / "canary.txt", root_ / "renders" / "a.png");
  try {
    renameInto(folder.open(), ".a.png.staged", "a.png");
    ADD_FAILURE() << "renamed over a link";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), (root_ / "renders" / "a.png").string() +
                                   " is a symbolic link. Vorno writes only inside the package and never through a "
                                   "link: remove the link and try again.");
  }
  EXPECT_TRUE(fs::is_symlink(root_ / "renders" / "a.png"));
  expectOutsideUntouched();
}

TEST_F(WriteBelow, FolderThatIsALinkWhenTheWriteBeginsIsRefused) {
  swapRendersForALink();
  try {
    writeFileBelow(root_, "renders/a.png", "picture");
    ADD_FAILURE() << "written through a link";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), "The folder " + (root_ / "renders").string() +
                                   " is a symbolic link. Vorno writes only inside the package and never through a "
                                   "link: make it a real folder, or remove it, and try again.");
  }
  expectOutsideUntouched();
}

TEST_F(WriteBelow, FileThatIsALinkIsRefusedAndWhatItPointsAtKeepsItsBytes) {
  fs::create_symlink(outside_ / "canary.txt", root_ / "renders" / "a.png");
  EXPECT_THROW(writeFileBelow(root_, "renders/a.png", "picture"), VornoError);
  EXPECT_TRUE(fs::is_symlink(root_ / "renders" / "a.png"));
  expectOutsideUntouched();
}

TEST_F(WriteBelow, NamedPipeWhereTheFileGoesIsRefused) {
  ASSERT_EQ(::mkfifo((root_ / "renders" / "a.png").c_str(), 0644), 0);
  try {
    writeFileBelow(root_, "renders/a.png", "picture");
    ADD_FAILURE() << "written over a pipe";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(), (root_ / "renders" / "a.png").string() +
                                   " is a named pipe, not a file. Move it out of the way and try again.");
  }
}

TEST_F(WriteBelow, FileWhereAFolderGoesIsRefused) {
  std::ofstream(root_ / "exports") << "x";
  try {
    writeFileBelow(root_, "exports/a.png", "picture");
    ADD_FAILURE() << "nothing refused";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.message(),
              (root_ / "exports").string() + " is a file, not a folder. Move it out of the way and try again.");
  }
}

}  // namespace
}  // namespace vorno::write_below_test
