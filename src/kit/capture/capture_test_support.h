// Test support for capture: recorded command output from tests/data/capture, small PNGs, and
// clocks that make the capture waits instant.
#pragma once

#include "kit/capture/capture_clock.h"
#include "kit/image/image_test_support.h"
#include "tests/fake_devices.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <thread>

namespace vorno::testing {

/// `adb devices -l` with one emulator up.
inline const char* const kOneEmulator =
    "List of devices attached\n"
    "emulator-5554          device product:sdk_gphone64_arm64 model:Pixel_9_Pro device:emu64a transport_id:1\n\n";

/// The text of a file of recorded output.
inline std::string recorded(const std::string& name) {
  return readFile(std::filesystem::path(VORNO_SOURCE_DIR) / "tests" / "data" / "capture" / name);
}

/// A PNG of one colour (0xRRGGBB), with an optional single pixel of another at (x, y).
inline std::string solidPNG(int width, int height, uint32_t rgb, int dotX = -1, int dotY = -1, uint32_t dot = 0) {
  auto pixels = rgbaPixels(width, height, [&](int x, int y) {
    uint32_t c = (x == dotX && y == dotY) ? dot : rgb;
    return std::array<uint8_t, 4>{uint8_t(c >> 16), uint8_t(c >> 8), uint8_t(c), 255};
  });
  auto bytes = encodeRGBAPNG(width, height, pixels);
  return std::string(bytes.begin(), bytes.end());
}

/// Time that moves only when code sleeps: every wait of the capture code costs nothing and
/// happens at an exact moment. `slept` adds up what was asked for.
struct FakeClock {
  std::chrono::steady_clock::time_point time = std::chrono::steady_clock::time_point() + std::chrono::hours(1);
  CaptureClock::Seconds slept{0};
  int sleeps = 0;

  CaptureClock clock() {
    return {[this] { return time; },
            [this](CaptureClock::Seconds duration) {
              time += std::chrono::duration_cast<std::chrono::steady_clock::duration>(duration);
              slept += duration;
              ++sleeps;
            }};
  }
};

/// The real clock with every sleep cut to a few milliseconds: for waits on a real program (a
/// recording) whose end the test doesn't control by time.
inline CaptureClock briefClock() {
  return {[] { return std::chrono::steady_clock::now(); },
          [](CaptureClock::Seconds) { std::this_thread::sleep_for(std::chrono::milliseconds(5)); }};
}

}  // namespace vorno::testing
