// CaptureClock: the time as capture code sees it. The settled-screen loop, an emulator's boot and
// a recording wait for seconds on end; tests hand them a clock whose sleep only moves its own
// time forward, so those waits cost nothing and their moments are exact.
#pragma once

#include <chrono>
#include <functional>

namespace vorno {

struct CaptureClock {
  using TimePoint = std::chrono::steady_clock::time_point;
  using Seconds = std::chrono::duration<double>;

  std::function<TimePoint()> now;
  std::function<void(Seconds)> sleep;

  /// The steady clock and a real sleep.
  static CaptureClock real();
};

}  // namespace vorno
