// Loading a custom frame: the image through ImageCache, measured once per file change. The made
// frames are cached by path and modification time under a lock; two threads may measure the same
// file at once, and the last result stays.
#include "kit/devices/custom_frame.h"

#include "kit/image/image.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"

#include <cairo.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>

namespace vorno::CustomFrame {
namespace {

std::mutex cacheLock;
std::map<std::string, DeviceFrame>& cache() {
  static std::map<std::string, DeviceFrame> frames;
  return frames;
}

}  // namespace

DeviceFrame load(const std::string& path, const std::string& id, Platform platform) {
  // The file's time is in the key, so a changed file under the same path is measured again.
  auto time = Images::modificationTime(path);
  std::string key = path + "|" + (time ? std::to_string(*time) : std::string("-"));
  {
    std::lock_guard guard(cacheLock);
    auto it = cache().find(key);
    if (it != cache().end()) {
      DeviceFrame hit = it->second;
      hit.id = id;
      hit.platform = platform;
      return hit;
    }
  }

  Image image = ImageCache::shared().image(path);
  Measurement m = measure(image);
  int shorter = std::min(m.rect.width, m.rect.height), longer = std::max(m.rect.width, m.rect.height);

  DeviceFrame frame;
  frame.id = id;
  frame.name = std::filesystem::path(path).stem().string();
  frame.platform = platform;
  frame.family = static_cast<double>(shorter) / longer > 0.6 ? DeviceFamily::tablet : DeviceFamily::phone;
  frame.screenWidth = m.rect.width;
  frame.screenHeight = m.rect.height;
  frame.scale = 1;  // the image's pixels are the frame's units
  frame.screenCornerRadius = m.cornerRadius;
  frame.spec.defaultFinish = "black";
  frame.source = DeviceFrame::Source::custom;
  frame.overlay = DeviceFrame::Overlay{path, cairo_image_surface_get_width(image.surface()),
                                       cairo_image_surface_get_height(image.surface()), m.rect.x, m.rect.y};
  {
    std::lock_guard guard(cacheLock);
    cache()[key] = frame;  // two threads measuring one file at once: the last result stays
  }
  return frame;
}

}  // namespace vorno::CustomFrame
