#include "kit/capture/capture_clock.h"

#include <thread>

namespace vorno {

CaptureClock CaptureClock::real() {
  return {[] { return std::chrono::steady_clock::now(); },
          [](Seconds duration) { std::this_thread::sleep_for(duration); }};
}

}  // namespace vorno
