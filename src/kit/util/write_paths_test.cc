#include "kit/util/write_paths.h"

#include "kit/util/vorno_error.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <fstream>
#include <sstream>

namespace vorno::write_paths_test {
namespace {

namespace fs = std::filesystem;

class WritePaths : public ::testing::Test {
 protected:
  void SetUp() override {
    root_ = folder_.path() / "Set.vorno";
    outside_ = folder_.path() / "outside";
    fs::create_directories(root_);
    fs::create_directories(outside_);
  }

  std::string refusal(const std::function<void()>& write) {
    try {
      write();
    } catch (const VornoError& error) {
      EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
      return error.message();
    }
    ADD_FAILURE() << "nothing was refused";
    return "";
  }

  bool outsideIsEmpty() const { return fs::is_empty(outside_); }

  testing::TempFolder folder_{"vorno-write-paths"};
  fs::path root_, outside_;
};

TEST_F(WritePaths, MissingFoldersAreMadeAndThePathIsBelowTheBase) {
  fs::path file = preparedWritePath(root_, "renders/a/b.png");
  EXPECT_EQ(file, root_ / "renders" / "a" / "b.png");
  EXPECT_TRUE(fs::is_directory(root_ / "renders" / "a"));
  EXPECT_FALSE(fs::exists(file));
}

TEST_F(WritePaths, ARegularFileThereMayBeReplaced) {
  fs::create_directories(root_ / "renders");
  std::ofstream(root_ / "renders" / "b.png") << "old";
  EXPECT_EQ(checkedWritePath(root_, "renders/b.png"), root_ / "renders" / "b.png");
}

TEST_F(WritePaths, CheckingMakesNothing) {
  checkedWritePath(root_, "exports/ios/x/en-US/01-a.png");
  EXPECT_FALSE(fs::exists(root_ / "exports"));
}

TEST_F(WritePaths, AFolderThatIsALinkToOutsideIsRefusedAndNothingIsMadeThere) {
  fs::create_symlink(outside_, root_ / "renders");
  EXPECT_EQ(refusal([&] { preparedWritePath(root_, "renders/sub/b.png"); }),
            "The folder " + (root_ / "renders").string() +
                " is a symbolic link. Vorno writes only inside the package and never through a link: make it a real "
                "folder, or remove it, and try again.");
  EXPECT_TRUE(outsideIsEmpty());
}

TEST_F(WritePaths, ADeeperFolderThatIsALinkIsRefusedByTheCheckAlone) {
  fs::create_directories(root_ / "exports");
  fs::create_symlink(outside_, root_ / "exports" / "ios");
  EXPECT_NE(refusal([&] { checkedWritePath(root_, "exports/ios/iphone/en-US/01-a.png"); }).find("is a symbolic link"),
            std::string::npos);
  EXPECT_TRUE(outsideIsEmpty());
}

TEST_F(WritePaths, AFileThatIsALinkIsRefusedAndItsTargetKept) {
  fs::create_directories(root_ / "fonts");
  std::ofstream(outside_ / "x.ttf") << "theirs";
  fs::create_symlink(outside_ / "x.ttf", root_ / "fonts" / "x.ttf");
  EXPECT_EQ(refusal([&] { preparedWritePath(root_, "fonts/x.ttf"); }),
            (root_ / "fonts" / "x.ttf").string() +
                " is a symbolic link. Vorno writes only inside the package and never through a link: remove the link "
                "and try again.");
}

TEST_F(WritePaths, ANamedPipeWhereTheFileGoesIsRefused) {
  fs::create_directories(root_ / "renders");
  ASSERT_EQ(::mkfifo((root_ / "renders" / "b.png").c_str(), 0644), 0);
  EXPECT_EQ(refusal([&] { preparedWritePath(root_, "renders/b.png"); }),
            (root_ / "renders" / "b.png").string() + " is a named pipe, not a file. Move it out of the way and try again.");
}

TEST_F(WritePaths, AFileWhereAFolderGoesIsRefused) {
  std::ofstream(root_ / "renders") << "not a folder";
  EXPECT_EQ(refusal([&] { preparedWritePath(root_, "renders/b.png"); }),
            (root_ / "renders").string() + " is a file, not a folder. Move it out of the way and try again.");
}

TEST_F(WritePaths, RefusingLinksOnlyLeavesAFileInTheWayForTheWrite) {
  std::ofstream(root_ / "exports") << "not a folder";
  refuseLinksOnTheWay(root_, "exports/ios/a.png");
  fs::remove(root_ / "exports");
  fs::create_directories(root_ / "exports");
  fs::create_symlink(outside_, root_ / "exports" / "ios");
  EXPECT_NE(refusal([&] { refuseLinksOnTheWay(root_, "exports/ios/a.png"); }).find("is a symbolic link"),
            std::string::npos);
}

TEST_F(WritePaths, PartsThatClimbAreRefused) {
  EXPECT_NE(refusal([&] { checkedWritePath(root_, "renders/../../outside/b.png"); }).find("plain names"),
            std::string::npos);
  EXPECT_NE(refusal([&] { checkedWritePath(root_, "/etc/b.png"); }).find("plain names"), std::string::npos);
}

TEST_F(WritePaths, AFolderToWriteIntoIsMadeAndALinkThereRefused) {
  EXPECT_EQ(preparedWriteFolder(root_, "layers/one"), root_ / "layers" / "one");
  EXPECT_TRUE(fs::is_directory(root_ / "layers" / "one"));
  fs::create_symlink(outside_, root_ / "layers" / "two");
  EXPECT_NE(refusal([&] { preparedWriteFolder(root_, "layers/two"); }).find("is a symbolic link"), std::string::npos);
}

TEST_F(WritePaths, TheSentenceNamesWhereVornoWrites) {
  fs::create_symlink(outside_, root_ / "layers");
  EXPECT_NE(refusal([&] { preparedWriteFolder(root_, "layers", "the layers folder"); })
                .find("Vorno writes only inside the layers folder"),
            std::string::npos);
}

TEST_F(WritePaths, RemovingAFileBelowRemovesItAndNothingElse) {
  fs::create_directories(root_ / "exports/ios");
  std::ofstream(root_ / "exports/ios/a.png") << "old";
  EXPECT_TRUE(removeFileBelow(root_, "exports/ios/a.png"));
  EXPECT_FALSE(fs::exists(root_ / "exports/ios/a.png"));
  EXPECT_TRUE(fs::is_directory(root_ / "exports/ios"));
  EXPECT_FALSE(removeFileBelow(root_, "exports/ios/a.png"));
  EXPECT_FALSE(removeFileBelow(root_, "exports/android/a.png"));
}

TEST_F(WritePaths, RemovingThroughAFolderThatIsALinkRemovesNothingOutside) {
  fs::create_directories(root_ / "exports");
  std::ofstream(outside_ / "a.png") << "theirs";
  fs::create_symlink(outside_, root_ / "exports" / "ios");
  EXPECT_FALSE(removeFileBelow(root_, "exports/ios/a.png"));
  EXPECT_TRUE(fs::exists(outside_ / "a.png"));
}

TEST_F(WritePaths, RemovingALinkRemovesTheLinkAndKeepsWhatItPointsAt) {
  fs::create_directories(root_ / "exports");
  std::ofstream(outside_ / "a.png") << "theirs";
  fs::create_symlink(outside_ / "a.png", root_ / "exports" / "a.png");
  EXPECT_TRUE(removeFileBelow(root_, "exports/a.png"));
  EXPECT_FALSE(fs::exists(fs::symlink_status(root_ / "exports" / "a.png")));
  EXPECT_TRUE(fs::exists(outside_ / "a.png"));
}

TEST_F(WritePaths, RemovingAFolderIsRefusedQuietly) {
  fs::create_directories(root_ / "exports/mine");
  EXPECT_FALSE(removeFileBelow(root_, "exports/mine"));
  EXPECT_TRUE(fs::is_directory(root_ / "exports/mine"));
}

}  // namespace
}  // namespace vorno::write_paths_test
