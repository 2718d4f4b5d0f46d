// Real concurrency: writers in several processes and threads on one package, and a writer that
// holds the lock while another waits for it. These run against the real file system and the real
// flock.
#include "kit/store/concurrency_fixture.h"

#include "kit/util/vorno_error.h"
#include "tests/signal_pipe.h"

#include <gtest/gtest.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <fstream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace vorno::file_project_store_concurrency_test {
namespace {

namespace fs = std::filesystem;
using testing::increment;
using testing::SignalPipe;

// Writers waiting for the flock on `file`, as the kernel lists them in /proc/locks: a waiter's
// line reads "<n>: -> FLOCK  ADVISORY  WRITE <pid> <major>:<minor>:<inode> 0 EOF".
size_t flockWaitersOn(const fs::path& file) {
  struct stat info {};
  if (::stat(file.c_str(), &info) != 0) return 0;
  const std::string inode = ":" + std::to_string(info.st_ino);
  std::ifstream locks("/proc/locks");
  size_t waiters = 0;
  for (std::string line; std::getline(locks, line);) {
    std::istringstream fields(line);
    std::string number, arrow, kind;
    fields >> number >> arrow >> kind;
    if (arrow != "->" || kind != "FLOCK") continue;
    for (std::string field; fields >> field;)
      if (field.ends_with(inode) && field.find(':') != field.rfind(':')) ++waiters;
  }
  return waiters;
}

class FileProjectStoreConcurrency : public testing::PackageFixture {
 protected:
  // Writer B: a thread that runs `modify` while writer A is inside its own. It records whether
  // its body ran at all, and whether it ran while A was inside.
  struct SecondWriter {
    std::atomic<bool> firstIsInside{true};
    std::atomic<bool> bodyRan{false};
    std::atomic<bool> overlapped{false};
    std::atomic<bool> failed{false};
    std::thread thread;

    void start(const fs::path& root) {
      thread = std::thread([this, root] {
        try {
          FileProjectStore(root).modify([this](Project& project) {
            if (firstIsInside) overlapped = true;
            bodyRan = true;
            increment(project);
          });
        } catch (...) {
          failed = true;
        }
      });
    }
  };

  // Waits until B is blocked on the package's lock, as the kernel says; false as soon as B's body
  // runs instead, since that can only happen without the lock.
  // After A and B have both ended: B was held at the lock for as long as A was inside, and each
  // counted once.
  void expectBWaitedForAAndBothCounted(bool waited, const SecondWriter& second) const {
    EXPECT_TRUE(waited) << "writer B was not held at the lock while A was inside";
    EXPECT_FALSE(second.overlapped) << "writer B's body ran while A was inside";
    EXPECT_FALSE(second.failed);
    Project result = FileProjectStore(root_).load();
    EXPECT_EQ(result.appName, "2");
    EXPECT_EQ(result.locales, (std::vector<std::string>{"l1", "l2"}));
  }

  bool secondWriterWaitsForTheLock(const SecondWriter& second) {
    const fs::path lock = FileProjectStore(root_).lockFile();
    const auto guard = std::chrono::steady_clock::now() + testing::hangGuard;
    while (flockWaitersOn(lock) == 0) {
      if (second.bodyRan || second.failed || std::chrono::steady_clock::now() > guard) return false;
      std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return !second.bodyRan;
  }
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

TEST_F(FileProjectStoreConcurrency, WriterInAnotherProcessKeepsOthersOutUntilItsBodyEnds) {
  SignalPipe inside, release;
  pid_t pid = fork();
  ASSERT_GE(pid, 0);
  if (pid == 0) {
    // Writer A: inside its body it says so, then waits for the parent to let it finish.
    inside.keepOnlyWriting();
    release.keepOnlyReading();
    int status = 0;
    try {
      FileProjectStore(root_).modify([&](Project& project) {
        increment(project);
        inside.send();
        release.receive();
      });
    } catch (...) {
      status = 1;
    }
    _exit(status);
  }
  inside.keepOnlyReading();
  release.keepOnlyWriting();
  if (!inside.receive()) {
    kill(pid, SIGKILL);
    waitpid(pid, nullptr, 0);
    FAIL() << "writer A never got into its body";
  }

  SecondWriter second;
  second.start(root_);
  bool waited = secondWriterWaitsForTheLock(second);
  second.firstIsInside = false;
  release.send();
  second.thread.join();
  int status = 0;
  ASSERT_EQ(waitpid(pid, &status, 0), pid);

  EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << "writer A status " << status;
  expectBWaitedForAAndBothCounted(waited, second);
}

TEST_F(FileProjectStoreConcurrency, WriterInAnotherThreadKeepsOthersOutUntilItsBodyEnds) {
  SignalPipe inside, release;
  std::atomic<bool> firstFailed{false};
  std::thread first([&] {
    try {
      FileProjectStore(root_).modify([&](Project& project) {
        increment(project);
        inside.send();
        release.receive();
      });
    } catch (...) {
      firstFailed = true;
    }
  });
  if (!inside.receive()) {
    release.send();
    first.join();
    FAIL() << "writer A never got into its body";
  }

  SecondWriter second;
  second.start(root_);
  bool waited = secondWriterWaitsForTheLock(second);
  second.firstIsInside = false;
  release.send();
  first.join();
  second.thread.join();

  EXPECT_FALSE(firstFailed);
  expectBWaitedForAAndBothCounted(waited, second);
}

}  // namespace
}  // namespace vorno::file_project_store_concurrency_test
