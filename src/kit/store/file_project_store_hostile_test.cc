// A package that fights back: a project.json that is a named pipe, and folders of the package that
// are links to somewhere else. Each ends with a sentence, never a wait or a write outside, and a
// canary file beside the package keeps its bytes.
#include "kit/store/file_project_store.h"

#include "kit/model/project.h"
#include "kit/util/vorno_error.h"
#include "tests/hang_guard.h"
#include "tests/read_text.h"
#include "tests/temp_folder.h"

#include <gtest/gtest.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <future>
#include <fstream>
#include <optional>
#include <sstream>

namespace vorno::file_project_store_hostile_test {
namespace {

namespace fs = std::filesystem;

class HostilePackage : public ::testing::Test {
 protected:
  void SetUp() override {
    caches_ = std::getenv("XDG_CACHE_HOME") ? std::optional<std::string>(std::getenv("XDG_CACHE_HOME")) : std::nullopt;
    setenv("XDG_CACHE_HOME", (folder_.path() / "caches").c_str(), 1);
    root_ = folder_.path() / "App.vorno";
    fs::create_directories(root_);
    fs::create_directories(outside());
    std::ofstream(canary()) << "untouched";
  }
  void TearDown() override {
    if (caches_) setenv("XDG_CACHE_HOME", caches_->c_str(), 1);
    else unsetenv("XDG_CACHE_HOME");
  }

  fs::path outside() const { return folder_.path() / "outside"; }
  fs::path canary() const { return outside() / "canary.txt"; }

  // Nothing was written outside the package: the canary alone, with its bytes.
  void expectOutsideUntouched() const {
    EXPECT_EQ(testing::readText(canary()), "untouched");
    size_t entries = 0;
    for (const auto& entry : fs::directory_iterator(outside())) {
      ++entries;
      EXPECT_EQ(entry.path(), canary()) << "written outside the package";
    }
    EXPECT_EQ(entries, 1u);
  }

  testing::TempFolder folder_{"vorno-hostile-store"};
  fs::path root_;
  std::optional<std::string> caches_;
};

// What `body` throws, waiting at most the hang guard; a reader stuck at `pipe` is let go when the
// guard passes, so a broken reader fails the test instead of hanging it.
std::optional<VornoError> errorWithin(const std::function<void()>& body, const fs::path& pipe) {
  auto running = std::async(std::launch::async, [&]() -> std::optional<VornoError> {
    try {
      body();
    } catch (const VornoError& error) {
      return error;
    }
    return std::nullopt;
  });
  if (running.wait_for(testing::hangGuard) != std::future_status::ready) {
    int writer = ::open(pipe.c_str(), O_WRONLY | O_NONBLOCK | O_CLOEXEC);
    if (writer >= 0) ::close(writer);  // the waiting reader sees the end of the pipe
    running.wait();
    ADD_FAILURE() << "still waiting at the named pipe after the hang guard";
    return std::nullopt;
  }
  return running.get();
}

TEST_F(HostilePackage, ProjectJsonThatIsANamedPipeIsAnErrorNotAWait) {
  const fs::path document = root_ / "project.json";
  ASSERT_EQ(::mkfifo(document.c_str(), 0644), 0);
  FileProjectStore store(root_);
  std::optional<VornoError> loading = errorWithin([&] { store.load(); }, document);
  ASSERT_TRUE(loading);
  EXPECT_EQ(loading->kind(), VornoError::Kind::io);
  EXPECT_EQ(loading->message(),
            "Couldn't read " + document.string() + ": it is a named pipe or a device, not a file.");
  std::optional<VornoError> modifying = errorWithin([&] { store.modify([](Project& p) { p.appName = "X"; }); }, document);
  ASSERT_TRUE(modifying);
  EXPECT_EQ(modifying->message(), loading->message());
}

TEST_F(HostilePackage, ImportIntoAFolderThatLinksOutsideIsRefusedAndNothingLandsThere) {
  FileProjectStore store(root_);
  std::ofstream(folder_.path() / "logo.png") << "logo";
  fs::create_directory_symlink(outside(), root_ / "assets");
  try {
    store.import(folder_.path() / "logo.png", "assets");
    ADD_FAILURE() << "imported through a link";
  } catch (const VornoError& error) {
    EXPECT_EQ(error.kind(), VornoError::Kind::invalid);
    EXPECT_EQ(error.message(), "The folder " + (root_ / "assets").string() +
                                   " is a symbolic link. Vorno writes only inside the package and never through a "
                                   "link: make it a real folder, or remove it, and try again.");
  }
  expectOutsideUntouched();
}

TEST_F(HostilePackage, ImportIntoADeeperFolderThatLinksOutsideIsRefused) {
  FileProjectStore store(root_);
  std::ofstream(folder_.path() / "home.png") << "home";
  fs::create_directories(root_ / "captures");
  fs::create_directory_symlink(outside(), root_ / "captures" / "en-US");
  EXPECT_THROW(store.import(folder_.path() / "home.png", "captures/en-US"), VornoError);
  expectOutsideUntouched();
}

TEST_F(HostilePackage, ImportBesideALinkAtTheDestinationNameTakesAnotherNameAndLeavesTheLinkAlone) {
  FileProjectStore store(root_);
  std::ofstream(folder_.path() / "canary.txt") << "mine";
  fs::create_directories(root_ / "assets");
  fs::create_symlink(canary(), root_ / "assets" / "canary.txt");
  EXPECT_EQ(store.import(folder_.path() / "canary.txt", "assets"), "assets/canary-2.txt");
  EXPECT_EQ(testing::readText(root_ / "assets" / "canary-2.txt"), "mine");
  EXPECT_TRUE(fs::is_symlink(root_ / "assets" / "canary.txt"));
  expectOutsideUntouched();
}

TEST_F(HostilePackage, ImportOfANamedPipeIsRefusedWithoutWaiting) {
  FileProjectStore store(root_);
  const fs::path pipe = folder_.path() / "feed.png";
  ASSERT_EQ(::mkfifo(pipe.c_str(), 0644), 0);
  std::optional<VornoError> error = errorWithin([&] { store.import(pipe, "assets"); }, pipe);
  ASSERT_TRUE(error);
  EXPECT_EQ(error->message(), "Couldn't read " + pipe.string() + ": it is a named pipe or a device, not a file.");
  EXPECT_FALSE(fs::exists(root_ / "assets"));
}

}  // namespace
}  // namespace vorno::file_project_store_hostile_test
