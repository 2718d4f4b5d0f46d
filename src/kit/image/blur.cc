// How it works. Three box filters in a row approach a Gaussian; their widths come from the
// standard deviation so that the variances add up to sigma squared. Each box is a running sum:
// one add and one subtract per channel and pixel, whatever the width. A line is copied into a
// scratch line padded with transparent pixels by the three box radii together, so nothing that
// spreads past the edge in one pass is lost to the next, then the middle is written back. The
// vertical direction runs on the transpose, so both directions read memory in order. Between
// passes channels keep 8 fractional bits, so three roundings don't darken or band the result.
#include "kit/image/blur.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

namespace vorno {
namespace {

struct Boxes {
  int radius[3];
  int total() const { return radius[0] + radius[1] + radius[2]; }
};

Boxes boxesFor(double sigma) {
  const int n = 3;
  double ideal = std::sqrt(12 * sigma * sigma / n + 1);
  int lower = static_cast<int>(std::floor(ideal));
  if (lower % 2 == 0) --lower;
  int upper = lower + 2;
  double mIdeal = (12 * sigma * sigma - n * lower * lower - 4.0 * n * lower - 3.0 * n) / (-4.0 * lower - 4);
  int m = static_cast<int>(std::lround(mIdeal));
  Boxes boxes{};
  for (int i = 0; i < n; ++i) boxes.radius[i] = ((i < m ? lower : upper) - 1) / 2;
  return boxes;
}

// One box pass over `length` pixels of four interleaved channels, zeros beyond both ends.
void boxPass(const uint32_t* in, uint32_t* out, int length, int r) {
  if (r <= 0) {
    std::memcpy(out, in, static_cast<size_t>(length) * 4 * sizeof(uint32_t));
    return;
  }
  const uint64_t scale = (uint64_t(1) << 32) / uint64_t(2 * r + 1);
  uint32_t sum[4] = {0, 0, 0, 0};
  for (int j = 0; j <= r && j < length; ++j)
    for (int c = 0; c < 4; ++c) sum[c] += in[j * 4 + c];
  for (int i = 0; i < length; ++i) {
    for (int c = 0; c < 4; ++c) out[i * 4 + c] = static_cast<uint32_t>((sum[c] * scale + (uint64_t(1) << 31)) >> 32);
    int enter = i + r + 1, leave = i - r;
    if (enter < length)
      for (int c = 0; c < 4; ++c) sum[c] += in[enter * 4 + c];
    if (leave >= 0)
      for (int c = 0; c < 4; ++c) sum[c] -= in[leave * 4 + c];
  }
}

// Blurs each of `rows` lines of `width` words in place.
void blurRows(uint32_t* words, int width, int rows, size_t rowWords, const Boxes& boxes) {
  const int pad = boxes.total();
  const int length = width + 2 * pad;
  std::vector<uint32_t> a(static_cast<size_t>(length) * 4), b(a.size());
  for (int y = 0; y < rows; ++y) {
    uint32_t* line = words + y * rowWords;
    std::fill(a.begin(), a.end(), 0);
    for (int x = 0; x < width; ++x) {
      uint32_t w = line[x];
      uint32_t* p = &a[static_cast<size_t>(x + pad) * 4];
      p[0] = (w >> 24) << 8;
      p[1] = ((w >> 16) & 0xFF) << 8;
      p[2] = ((w >> 8) & 0xFF) << 8;
      p[3] = (w & 0xFF) << 8;
    }
    boxPass(a.data(), b.data(), length, boxes.radius[0]);
    boxPass(b.data(), a.data(), length, boxes.radius[1]);
    boxPass(a.data(), b.data(), length, boxes.radius[2]);
    for (int x = 0; x < width; ++x) {
      const uint32_t* p = &b[static_cast<size_t>(x + pad) * 4];
      uint32_t alpha = std::min<uint32_t>(255, (p[0] + 128) >> 8);
      // Premultiplied colour never exceeds its alpha; rounding must not make it.
      auto channel = [alpha](uint32_t v) { return std::min<uint32_t>(alpha, (v + 128) >> 8); };
      line[x] = alpha << 24 | channel(p[1]) << 16 | channel(p[2]) << 8 | channel(p[3]);
    }
  }
}

void transpose(const uint32_t* in, size_t inRowWords, uint32_t* out, size_t outRowWords, int width, int height) {
  constexpr int block = 32;
  for (int y0 = 0; y0 < height; y0 += block)
    for (int x0 = 0; x0 < width; x0 += block) {
      int y1 = std::min(height, y0 + block), x1 = std::min(width, x0 + block);
      for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) out[x * outRowWords + y] = in[y * inRowWords + x];
    }
}

}  // namespace

bool blurARGB32(uint8_t* pixels, int width, int height, int stride, double radius) {
  if (!pixels || width <= 0 || height <= 0 || !(radius >= 0.1) || stride % 4 != 0) return true;
  Boxes boxes = boxesFor(radius);
  if (boxes.total() == 0) return true;
  try {
    auto* words = reinterpret_cast<uint32_t*>(pixels);
    const size_t rowWords = static_cast<size_t>(stride) / 4;
    blurRows(words, width, height, rowWords, boxes);
    std::vector<uint32_t> turned(static_cast<size_t>(width) * height);
    transpose(words, rowWords, turned.data(), static_cast<size_t>(height), width, height);
    blurRows(turned.data(), height, width, static_cast<size_t>(height), boxes);
    transpose(turned.data(), static_cast<size_t>(height), words, rowWords, height, width);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

Image blurred(const Image& image, double radius) {
  if (!image || !(radius >= 0.1) || boxesFor(radius).total() == 0) return image;
  const int width = image.width(), height = image.height();
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return {};
  }
  cairo_surface_flush(surface);
  uint8_t* target = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  // An opaque source's spare byte is undefined: make every word a proper opaque ARGB pixel.
  const bool opaque = !image.hasAlpha();
  for (int y = 0; y < height; ++y) {
    const auto* from = reinterpret_cast<const uint32_t*>(image.data() + static_cast<size_t>(y) * image.stride());
    auto* to = reinterpret_cast<uint32_t*>(target + static_cast<size_t>(y) * stride);
    for (int x = 0; x < width; ++x) to[x] = opaque ? (from[x] | 0xFF000000u) : from[x];
  }
  if (!blurARGB32(target, width, height, stride, radius)) {
    cairo_surface_destroy(surface);
    return {};
  }
  cairo_surface_mark_dirty(surface);
  return Image::adopt(surface);
}

}  // namespace vorno
