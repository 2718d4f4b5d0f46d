// A device whose capture is a screen recording shows the recording's picture at the moment its
// path is stamped with, through the same caches and drawing as a still capture.
#include "kit/devices/builtin_specs.h"
#include "kit/image/image_cache.h"
#include "kit/render/layer_renderer.h"
#include "kit/render/layer_test_support.h"
#include "tests/temp_folder.h"
#include "tests/video_pictures.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace vorno::recording_on_device_test {
namespace {

using testing::colorOfSecond;
using testing::TempFolder;

ElementLayout deviceShowing(const std::string& capture) {
  DeviceRenderer renderer(BuiltinSpecs::fallbackFrames()[3]);
  DeviceContent content{renderer, std::nullopt, capture};
  Size body = renderer.nativeBodySize();
  return testing::element(ElementLayout::Kind::device, content, {0, 0, 200, 200 * body.height / body.width}, 30);
}

testing::RGB screenCentre(const ElementLayout& device) {
  Image layer = LayerRenderer::render(device, 1);
  auto pixel = testing::argb(layer, int(30 + device.frame.width / 2), int(30 + device.frame.height / 2));
  return {pixel[1], pixel[2], pixel[3]};
}

bool near(testing::RGB a, testing::RGB b) {
  for (int i = 0; i < 3; ++i)
    if (std::abs(a[i] - b[i]) > 6) return false;
  return true;
}

TEST(RecordingOnDevice, ADeviceShowingARecordingPlaysIt) {
  TempFolder folder;
  std::string recording = folder.file("walk.mp4");
  testing::recordingOfSeconds(recording, 3, 120, 260, 10);
  ASSERT_EQ(ImageSizeCache::shared().size(recording + "@t=0.5000"), (Size{120, 260}));
  testing::RGB first = screenCentre(deviceShowing(recording + "@t=0.5000"));
  testing::RGB second = screenCentre(deviceShowing(recording + "@t=1.5000"));
  EXPECT_TRUE(near(first, colorOfSecond(0)));
  EXPECT_TRUE(near(second, colorOfSecond(1)));
  // Past the end of the 3 s recording, the time wraps: 4.5 s shows what 1.5 s shows.
  EXPECT_TRUE(near(screenCentre(deviceShowing(recording + "@t=4.5000")), colorOfSecond(1)));
}

}  // namespace
}  // namespace vorno::recording_on_device_test
