// IdleMemory: gives memory back when the server has had no call for a while. Between calls in a
// burst (an agent's render, look, render again) the picture pools are what make the next call
// fast, so they stay; once the agent has gone quiet for `quiet`, a watcher thread drains them.
//
//   IdleMemory idle(std::chrono::seconds(5), [] { PicturePools::drain(); });
//   idle.callStarted();  ...  idle.callEnded();
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <thread>

namespace vorno {

class IdleMemory {
 public:
  using Clock = std::chrono::steady_clock;

  IdleMemory(Clock::duration quiet, std::function<void()> release);
  ~IdleMemory();
  IdleMemory(const IdleMemory&) = delete;
  IdleMemory& operator=(const IdleMemory&) = delete;

  void callStarted();
  void callEnded(Clock::time_point now = Clock::now());

  /// Releases when no call runs, one has ended since the last release, and the last ended at
  /// least `quiet` before `now`; whether it did. The watcher thread asks this; tests ask it with
  /// the moment they choose.
  bool releaseIfIdle(Clock::time_point now);

 private:
  void watch();

  const Clock::duration quiet_;
  const std::function<void()> release_;
  std::mutex lock_;
  std::condition_variable changed_;
  int running_ = 0;
  bool worthReleasing_ = false;
  bool stopping_ = false;
  Clock::time_point lastEnd_{};
  std::thread watcher_;
};

}  // namespace vorno
