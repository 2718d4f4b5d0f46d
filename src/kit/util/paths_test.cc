#include "kit/util/paths.h"

#include "kit/util/vorno_error.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <optional>

namespace vorno::paths_test {
namespace {

// Sets an environment variable for one test and puts the old value back afterwards.
class ScopedEnvironment {
 public:
  ScopedEnvironment(const char* name, const char* value) : name_(name) {
    if (const char* old = std::getenv(name)) old_ = old;
    if (value) setenv(name, value, 1);
    else unsetenv(name);
  }
  ~ScopedEnvironment() {
    if (old_) setenv(name_, old_->c_str(), 1);
    else unsetenv(name_);
  }

 private:
  const char* name_;
  std::optional<std::string> old_;
};

TEST(StandardizePath, RelativePathBecomesAbsoluteAgainstCurrentFolder) {
  EXPECT_EQ(standardizePath("pkg/App.vorno"), std::filesystem::current_path() / "pkg" / "App.vorno");
}

TEST(StandardizePath, DotsAreRemovedLexically) {
  EXPECT_EQ(standardizePath("/a/./b/../c"), std::filesystem::path("/a/c"));
  EXPECT_EQ(standardizePath("/a/b/../../.."), std::filesystem::path("/"));
}

TEST(StandardizePath, TrailingSlashIsDroppedButRootStays) {
  EXPECT_EQ(standardizePath("/a/b/"), std::filesystem::path("/a/b"));
  EXPECT_EQ(standardizePath("/a/b/."), std::filesystem::path("/a/b"));
  EXPECT_EQ(standardizePath("/"), std::filesystem::path("/"));
}

TEST(StandardizePath, TwoSpellingsOfOnePathAreEqual) {
  EXPECT_EQ(standardizePath("x/./y/../z/"), standardizePath(std::filesystem::current_path() / "x" / "z"));
}

TEST(UserCachesFolder, AbsoluteXdgCacheHomeIsUsed) {
  ScopedEnvironment xdg("XDG_CACHE_HOME", "/tmp/some-caches/");
  EXPECT_EQ(userCachesFolder(), std::filesystem::path("/tmp/some-caches"));
}

TEST(UserCachesFolder, RelativeXdgCacheHomeFallsBackToHome) {
  ScopedEnvironment xdg("XDG_CACHE_HOME", "relative/caches");
  ScopedEnvironment home("HOME", "/home/someone");
  EXPECT_EQ(userCachesFolder(), std::filesystem::path("/home/someone/.cache"));
}

TEST(UserCachesFolder, UnsetXdgCacheHomeFallsBackToHome) {
  ScopedEnvironment xdg("XDG_CACHE_HOME", nullptr);
  ScopedEnvironment home("HOME", "/home/someone");
  EXPECT_EQ(userCachesFolder(), std::filesystem::path("/home/someone/.cache"));
}

TEST(CreateFolders, MakesIntermediateFolders) {
  std::string temp = testing::makeTempFolder("vorno-paths");
  createFolders(temp + "/a/b/c");
  EXPECT_TRUE(std::filesystem::is_directory(temp + "/a/b/c"));
  createFolders(temp + "/a/b/c");  // existing folders are fine
  EXPECT_TRUE(std::filesystem::is_directory(temp + "/a/b/c"));
  std::filesystem::remove_all(temp);
}

TEST(CreateFolders, FileInTheWayIsOneIoSentence) {
  std::string temp = testing::makeTempFolder("vorno-paths");
  std::ofstream(temp + "/file") << "x";
  try {
    createFolders(temp + "/file/sub");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_EQ(error.message(), "Couldn't create the folder " + temp + "/file/sub: Not a directory.");
  }
  try {
    createFolders(temp + "/file");
    ADD_FAILURE() << "no error";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::io);
    EXPECT_TRUE(error.message().starts_with("Couldn't create the folder " + temp + "/file: ")) << error.message();
  }
  std::filesystem::remove_all(temp);
}

TEST(ErrorText, DescribesErrno) { EXPECT_EQ(errorText(ENOENT), "No such file or directory"); }

TEST(ExpandingTilde, ReplacesALeadingTildeWithTheHomeFolder) {
  ScopedEnvironment home("HOME", "/home/someone/");
  EXPECT_EQ(expandingTilde("~/x/App.vorno"), "/home/someone/x/App.vorno");
  EXPECT_EQ(expandingTilde("~"), "/home/someone");
}

TEST(ExpandingTilde, LeavesOtherPathsAsTheyStand) {
  ScopedEnvironment home("HOME", "/home/someone");
  EXPECT_EQ(expandingTilde("~bob/App.vorno"), "~bob/App.vorno");
  EXPECT_EQ(expandingTilde("store/~/App.vorno"), "store/~/App.vorno");
  EXPECT_EQ(expandingTilde("/abs/App.vorno"), "/abs/App.vorno");
}

}  // namespace
}  // namespace vorno::paths_test
