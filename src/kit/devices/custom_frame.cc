// How a custom frame is measured: the screen of a device image is the transparent region around
// the image's centre. A four-connected flood fill from the centre pixel over see-through pixels
// (alpha below 128) finds it, with an explicit stack so a large screen can't overflow the call
// stack, and one byte per pixel each for the alpha and the visited mark. The screen's corner
// radius comes from how far the fill stays away from the corner of its bounding box along the
// diagonal: a circular corner of radius r leaves the corner at r (1 - sqrt(1/2)).
//
// Made frames are cached by path and modification time under a lock; two threads may measure the
// same file at once, and the last result stays.
#include "kit/devices/custom_frame.h"

#include "kit/image/cairo_util.h"
#include "kit/image/image.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <filesystem>
#include <map>
#include <mutex>
#include <vector>

namespace vorno::CustomFrame {
namespace {

struct Alpha {
  int width = 0, height = 0;
  std::vector<uint8_t> bytes;  // one per pixel, rows packed
};

// The image's coverage as one byte per pixel, drawn through cairo so every surface format works.
Alpha alphaOf(cairo_surface_t* source, int width, int height) {
  CairoSurfacePtr alpha(newImageSurface(CAIRO_FORMAT_A8, width, height));
  if (cairo_surface_status(alpha.get()) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Couldn't read the frame image.");
  {
    CairoContextPtr cr(cairo_create(alpha.get()));
    cairo_set_source_surface(cr.get(), source, 0, 0);
    cairo_set_operator(cr.get(), CAIRO_OPERATOR_SOURCE);
    cairo_paint(cr.get());
    if (cairo_status(cr.get()) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Couldn't read the frame image.");
  }
  cairo_surface_flush(alpha.get());

  Alpha out{width, height, std::vector<uint8_t>(static_cast<size_t>(width) * height)};
  const unsigned char* data = cairo_image_surface_get_data(alpha.get());
  int stride = cairo_image_surface_get_stride(alpha.get());
  for (int y = 0; y < height; ++y)
    std::copy_n(data + static_cast<size_t>(y) * stride, width, out.bytes.begin() + static_cast<ptrdiff_t>(y) * width);
  return out;
}

}  // namespace

Measurement measureSurface(cairo_surface_t* surface) {
  if (!surface || cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS ||
      cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE)
    throw VornoError::io("Couldn't read the frame image.");
  const int W = cairo_image_surface_get_width(surface), H = cairo_image_surface_get_height(surface);
  if (W < 21 || H < 21) throw VornoError::invalid("The frame image is too small.");
  Alpha alpha = alphaOf(surface, W, H);

  auto index = [W](int x, int y) { return static_cast<size_t>(y) * W + x; };
  auto seeThrough = [&](int x, int y) { return alpha.bytes[index(x, y)] < 128; };
  const int seedX = W / 2, seedY = H / 2;
  if (!seeThrough(seedX, seedY))
    throw VornoError::invalid(
        "The frame image needs a transparent screen: the pixel at its center is opaque. Export the PNG with the "
        "screen cut out.");

  std::vector<uint8_t> filled(static_cast<size_t>(W) * H, 0);
  std::vector<std::pair<int, int>> stack{{seedX, seedY}};
  filled[index(seedX, seedY)] = 1;
  int minX = seedX, maxX = seedX, minY = seedY, maxY = seedY;
  while (!stack.empty()) {
    auto [x, y] = stack.back();
    stack.pop_back();
    if (x == 0 || y == 0 || x == W - 1 || y == H - 1)
      throw VornoError::invalid(
          "The frame's transparent screen reaches the image edge. The device body must surround the screen.");
    minX = std::min(minX, x), maxX = std::max(maxX, x);
    minY = std::min(minY, y), maxY = std::max(maxY, y);
    const std::pair<int, int> next[4] = {{x + 1, y}, {x - 1, y}, {x, y + 1}, {x, y - 1}};
    for (auto [nx, ny] : next) {
      if (filled[index(nx, ny)] || !seeThrough(nx, ny)) continue;
      filled[index(nx, ny)] = 1;
      stack.push_back({nx, ny});
    }
  }

  Measurement m;
  m.rect = {minX, minY, maxX - minX + 1, maxY - minY + 1};
  if (m.rect.width <= W / 4 || m.rect.height <= H / 4)
    throw VornoError::invalid("The transparent area at the frame's center is too small to be the screen.");

  // Walk the diagonal in from the box's top left corner to the first pixel of the screen.
  int d = 0;
  for (; d < H / 2; ++d) {
    int x = minX + d, y = minY + d;
    if (x >= W || y >= H || filled[index(x, y)]) break;
  }
  m.cornerRadius = d / 0.29289321881345254;
  return m;
}

Measurement measure(const Image& image) { return measureSurface(image.surface()); }

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
