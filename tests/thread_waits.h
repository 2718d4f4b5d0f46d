// Whether another thread of this process is asleep in a futex wait (a condition variable, a
// mutex, a latch), as the kernel reports it. Tests use it to act at the moment a thread is known
// to be waiting inside the code under test, instead of sleeping and hoping it got there.
#pragma once

#include <sys/syscall.h>
#include <unistd.h>

#include <chrono>
#include <fstream>
#include <string>
#include <thread>

#include "tests/hang_guard.h"

namespace vorno::testing {

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
  auto guard = std::chrono::steady_clock::now() + hangGuard;
  while (!threadWaitsNow(tid)) {
    if (std::chrono::steady_clock::now() > guard) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return true;
}

}  // namespace vorno::testing
