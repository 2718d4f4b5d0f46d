// Real concurrency: writers in several processes and threads on one package, and writers killed
// mid-save. These run against the real file system and the real flock.
#include "kit/store/file_project_store.h"

#include "kit/model/project.h"
#include "kit/util/vorno_error.h"
#include "tests/run_process.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

namespace vorno {
namespace {

namespace fs = std::filesystem;

// The counter lives in the document itself, so a lost update shows as a short count.
void increment(Project& project) {
  project.appName = std::to_string(std::stoi(project.appName) + 1);
  project.locales.push_back("l" + project.appName);
}

class FileProjectStoreConcurrency : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = testing::makeTempFolder("vorno-concurrency");
    if (const char* old = std::getenv("XDG_CACHE_HOME")) oldCaches_ = old;
    setenv("XDG_CACHE_HOME", (folder_ / "caches").c_str(), 1);
    root_ = folder_ / "App.vorno";
    Project project;
    project.appName = "0";
    FileProjectStore(root_).create(project);
  }
  void TearDown() override {
    if (oldCaches_) setenv("XDG_CACHE_HOME", oldCaches_->c_str(), 1);
    else unsetenv("XDG_CACHE_HOME");
    fs::remove_all(folder_);
  }

  // Hidden files beside project.json that a writer left: its temporary files.
  size_t temporaryFiles() const {
    size_t count = 0;
    for (const auto& entry : fs::directory_iterator(root_))
      if (entry.path().filename().string().starts_with(".project.json.")) ++count;
    return count;
  }

  fs::path folder_;
  fs::path root_;
  std::optional<std::string> oldCaches_;
};

TEST_F(FileProjectStoreConcurrency, WritersInSeveralProcessesLoseNoUpdate) {
  constexpr int children = 4, rounds = 50;
  FileProjectStore store(root_);
  std::vector<pid_t> pids;
  for (int c = 0; c < children; ++c) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      // The child only runs the store and leaves with _exit: no test framework, no destructors.
      int status = 0;
      try {
        FileProjectStore child(root_);
        for (int i = 0; i < rounds; ++i) child.modify(increment);
      } catch (...) {
        status = 1;
      }
      _exit(status);
    }
    pids.push_back(pid);
  }
  for (pid_t pid : pids) {
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "child status " << status;
  }
  Project result = store.load();
  EXPECT_EQ(result.appName, std::to_string(children * rounds));
  EXPECT_EQ(result.locales.size(), static_cast<size_t>(children * rounds));
  EXPECT_EQ(temporaryFiles(), 0u);
}

TEST_F(FileProjectStoreConcurrency, WritersInSeveralThreadsLoseNoUpdate) {
  constexpr int threads = 4, rounds = 50;
  std::vector<std::thread> writers;
  std::atomic<int> failures = 0;
  for (int t = 0; t < threads; ++t)
    writers.emplace_back([&, t] {
      // Each thread spells the package its own way; the lock is the same.
      FileProjectStore store(t % 2 ? root_ : folder_ / "." / "App.vorno" / "");
      for (int i = 0; i < rounds; ++i) {
        try {
          store.modify(increment);
        } catch (...) {
          ++failures;
        }
      }
    });
  for (auto& writer : writers) writer.join();
  EXPECT_EQ(failures, 0);
  EXPECT_EQ(FileProjectStore(root_).load().appName, std::to_string(threads * rounds));
}

TEST_F(FileProjectStoreConcurrency, WriterKilledMidSaveLeavesAWholeDocument) {
  constexpr int kills = 20;
  FileProjectStore store(root_);
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> delay(0, 12000);  // microseconds
  bool writerGotThrough = false;
  for (int k = 0; k < kills; ++k) {
    pid_t pid = fork();
    ASSERT_GE(pid, 0);
    if (pid == 0) {
      // Saves of changing size without end, until the parent kills it.
      Project project;
      try {
        for (unsigned i = 0;; ++i) {
          project.appName = std::string(20000 + (i * 7919) % 60000, static_cast<char>('a' + i % 26));
          store.save(project);
        }
      } catch (...) {
      }
      _exit(1);
    }
    // Read while the writer writes: a reader never sees a partial file.
    auto deadline = std::chrono::steady_clock::now() + std::chrono::microseconds(delay(random));
    int reads = 0;
    do {
      try {
        Project seen = store.load();
        bool uniform = seen.appName.find_first_not_of(seen.appName.front()) == std::string::npos;
        EXPECT_TRUE(uniform && (seen.appName == "0" || seen.appName.size() >= 20000)) << seen.appName.substr(0, 40);
      } catch (const VornoError& error) {
        ADD_FAILURE() << "read during a save failed: " << error.what();
      }
      ++reads;
    } while (std::chrono::steady_clock::now() < deadline);
    ASSERT_EQ(kill(pid, SIGKILL), 0);
    int status = 0;
    ASSERT_EQ(waitpid(pid, &status, 0), pid);
    EXPECT_TRUE(WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) << "writer ended on its own: " << status;

    // After the kill: the document parses, and each killed writer left at most one temporary file.
    try {
      writerGotThrough |= store.load().appName.size() >= 20000;
    } catch (const VornoError& error) {
      ADD_FAILURE() << "after kill " << k << ": " << error.what();
    }
    EXPECT_LE(temporaryFiles(), static_cast<size_t>(k + 1));
  }
  EXPECT_TRUE(writerGotThrough) << "no writer lived long enough to save";
  // Leftover temporary files are never taken for the package or its document.
  EXPECT_TRUE(store.exists());
  EXPECT_EQ(FileProjectStore::projects(folder_, 2), std::vector<fs::path>{root_});
  size_t leftovers = temporaryFiles();
  Project after;
  after.appName = "after";
  store.save(after);
  EXPECT_EQ(store.load().appName, "after");
  EXPECT_EQ(temporaryFiles(), leftovers);  // a finished save leaves none of its own
}

}  // namespace
}  // namespace vorno
