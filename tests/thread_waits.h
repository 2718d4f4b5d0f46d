// Whether another thread of this process is asleep in a futex wait (a condition variable, a
// mutex, a latch), as the kernel reports it. Tests use it to act at the moment a thread is known
// to be waiting inside the code under test, instead of sleeping and hoping it got there.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <thread>

#include "tests/hang_guard.h"

namespace vorno::testing {

/// Checks `condition` every millisecond until it holds; false only after the hang guard. Sleeping
/// between checks keeps the waiting thread out of futex waits, so a watcher can tell it apart.
template <typename Condition>
bool pollUntil(Condition condition) {
  auto guard = std::chrono::steady_clock::now() + hangGuard;
  while (!condition()) {
    if (std::chrono::steady_clock::now() > guard) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

/// True while thread `tid` of this process sleeps in the futex system call.
inline bool threadWaitsNow(pid_t tid) {
  const std::string task = "/proc/self/task/" + std::to_string(tid);
  // "<tid> (<name>) <state> ...": the name may hold spaces, so the state follows the last ')'.
  std::ifstream statFile(task + "/stat");
  std::string stat((std::istreambuf_iterator<char>(statFile)), std::istreambuf_iterator<char>());
  size_t close = stat.rfind(')');
  if (close == std::string::npos || close + 2 >= stat.size() || stat[close + 2] != 'S') return false;
  // The number of the system call it sleeps in, or "running".
  std::ifstream syscallFile(task + "/syscall");
  std::string number;
  syscallFile >> number;
  return number == std::to_string(SYS_futex);
}

/// Waits until thread `tid` sleeps in a futex wait; false only when that doesn't happen within
/// the guard.
inline bool waitUntilThreadWaits(pid_t tid) {
  return pollUntil([&] { return threadWaitsNow(tid); });
}

/// Work a test holds on some threads until another thread is known to wait for it: proof that a
/// call returns only after the work it started has finished, or that a second caller waits for a
/// first instead of doing the work again. Threads call `hold`; `releaseWhenWaiting` names the
/// thread to watch, and the held ones go on once it sleeps in a futex wait (or has ended).
class HeldUntilThreadWaits {
 public:
  HeldUntilThreadWaits() = default;
  ~HeldUntilThreadWaits() {
    release();
    if (watcher_.joinable()) watcher_.join();
  }
  HeldUntilThreadWaits(const HeldUntilThreadWaits&) = delete;
  HeldUntilThreadWaits& operator=(const HeldUntilThreadWaits&) = delete;

  /// Blocks the calling thread until the release; false when only the guard ended the wait.
  bool hold() {
    std::unique_lock lock(mutex_);
    ++holding_;
    return releasedSignal_.wait_for(lock, hangGuard, [&] { return released_; });
  }

  /// Threads waiting in `hold` now.
  int holding() const {
    std::lock_guard lock(mutex_);
    return holding_;
  }

  /// From now on, watches thread `waiter` of this process and releases the held threads as soon
  /// as it sleeps in a futex wait or has ended. Call it once everything that thread does before
  /// its wait is done, so that a futex sleep can only be that wait.
  void releaseWhenWaiting(pid_t waiter) {
    watcher_ = std::thread([this, waiter] {
      const std::filesystem::path task = "/proc/self/task/" + std::to_string(waiter);
      auto guard = std::chrono::steady_clock::now() + hangGuard;
      while (!isReleased() && !threadWaitsNow(waiter) && std::filesystem::exists(task) &&
             std::chrono::steady_clock::now() < guard)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
      release();
    });
  }

  void release() {
    {
      std::lock_guard lock(mutex_);
      released_ = true;
    }
    releasedSignal_.notify_all();
  }

  bool isReleased() const {
    std::lock_guard lock(mutex_);
    return released_;
  }

 private:
  mutable std::mutex mutex_;
  std::condition_variable releasedSignal_;
  bool released_ = false;
  int holding_ = 0;
  std::thread watcher_;
};

}  // namespace vorno::testing
