// How it works. Three box filters in a row approach a Gaussian; their widths come from the
// standard deviation so that the variances add up to sigma squared. Each box is a running sum:
// one add and one subtract per channel and pixel, whatever the width. A line is copied into a
// scratch line padded with transparent pixels by the three box radii together, so nothing that
// spreads past the edge in one pass is lost to the next, then the middle is written back; the
// scratch lines have a further zero margin so the running sums need no bounds checks. The
// vertical direction runs on the transpose, so both directions read memory in order. Between
// passes channels keep 8 fractional bits, so three roundings don't darken or band the result.
//
// A wide blur has no detail left to keep at full resolution: above a standard deviation of 12
// pixels the image is averaged down by 2, 4 or 8, blurred there, and scaled back up bilinearly,
// with the variance the two resamplings add taken off the blur. A radius of 150 on a 2000-pixel
// square costs about what a radius of 20 does.
#include "kit/image/blur.h"

#include "kit/image/cairo_util.h"

#include <cairo.h>

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <new>
#include <vector>

namespace vorno {
namespace {

std::atomic<uint64_t> samplesRead{0};

// Counts the samples of one pass: the window's first fill, then one in and one out per pixel.
void countSamples(int length, int r) {
  samplesRead.fetch_add(r <= 0 ? uint64_t(length) : uint64_t(2 * r + 1) + 2 * uint64_t(length),
                        std::memory_order_relaxed);
}

struct Boxes {
  int radius[3];
  int total() const { return radius[0] + radius[1] + radius[2]; }
  int largest() const { return std::max({radius[0], radius[1], radius[2]}); }
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

// Four channels of one pixel, added and scaled together (SSE on x86, NEON on ARM).
typedef int32_t Lanes __attribute__((vector_size(16)));
typedef float FloatLanes __attribute__((vector_size(16)));

// One box pass over `length` pixels of four interleaved channels. `in` must be readable, and
// zero, for r + 1 pixels before and after the line. Sums stay below 2^24 for every box the
// reduced passes use, so the float division is exact to the last fractional bit.
void boxPass(const int32_t* in, int32_t* out, int length, int r) {
  countSamples(length, r);
  if (r <= 0) {
    std::memcpy(out, in, static_cast<size_t>(length) * 4 * sizeof(int32_t));
    return;
  }
  const float scale = 1.0f / float(2 * r + 1);
  const auto* from = reinterpret_cast<const Lanes*>(in);
  auto* to = reinterpret_cast<Lanes*>(out);
  Lanes sum = {0, 0, 0, 0};
  for (int j = -r; j <= r; ++j) sum += from[j];
  const Lanes* enter = from + r + 1;
  const Lanes* leave = from - r;
  for (int i = 0; i < length; ++i) {
    FloatLanes average = __builtin_convertvector(sum, FloatLanes) * scale + 0.5f;
    to[i] = __builtin_convertvector(average, Lanes);
    sum += enter[i] - leave[i];
  }
}

// Blurs each of `rows` lines of `width` words in place.
void blurRows(uint32_t* words, int width, int rows, size_t rowWords, const Boxes& boxes) {
  const int pad = boxes.total();
  const int length = width + 2 * pad;
  const int margin = boxes.largest() + 1;
  std::vector<int32_t> scratchA(static_cast<size_t>(length + 2 * margin) * 4);
  std::vector<int32_t> scratchB(scratchA.size());
  int32_t* a = scratchA.data() + margin * 4;
  int32_t* b = scratchB.data() + margin * 4;
  for (int y = 0; y < rows; ++y) {
    uint32_t* line = words + y * rowWords;
    for (int x = 0; x < width; ++x) {
      uint32_t w = line[x];
      int32_t* p = a + static_cast<size_t>(x + pad) * 4;
      p[0] = int32_t((w >> 24) << 8);
      p[1] = int32_t(((w >> 16) & 0xFF) << 8);
      p[2] = int32_t(((w >> 8) & 0xFF) << 8);
      p[3] = int32_t((w & 0xFF) << 8);
    }
    // The pads were written by the passes of the previous line; clear them.
    std::fill(a, a + pad * 4, 0);
    std::fill(a + (width + pad) * 4, a + length * 4, 0);
    boxPass(a, b, length, boxes.radius[0]);
    boxPass(b, a, length, boxes.radius[1]);
    boxPass(a, b, length, boxes.radius[2]);
    for (int x = 0; x < width; ++x) {
      const int32_t* p = b + static_cast<size_t>(x + pad) * 4;
      uint32_t alpha = std::min<uint32_t>(255, uint32_t(p[0] + 128) >> 8);
      // Premultiplied colour never exceeds its alpha; rounding must not make it.
      auto channel = [alpha](int32_t v) { return std::min<uint32_t>(alpha, uint32_t(v + 128) >> 8); };
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

void blurFull(uint32_t* words, int width, int height, size_t rowWords, const Boxes& boxes) {
  blurRows(words, width, height, rowWords, boxes);
  std::vector<uint32_t> turned(static_cast<size_t>(width) * height);
  transpose(words, rowWords, turned.data(), static_cast<size_t>(height), width, height);
  blurRows(turned.data(), height, width, static_cast<size_t>(height), boxes);
  transpose(turned.data(), static_cast<size_t>(height), words, rowWords, height, width);
}

// The same three boxes over one channel: coverage alone (a shadow's shape) needs a quarter of the
// work. The arithmetic is the four-channel one lane for lane, so results agree to the bit.
void boxPassSingle(const int32_t* in, int32_t* out, int length, int r) {
  countSamples(length, r);
  if (r <= 0) {
    std::memcpy(out, in, static_cast<size_t>(length) * sizeof(int32_t));
    return;
  }
  const float scale = 1.0f / float(2 * r + 1);
  int32_t sum = 0;
  for (int j = -r; j <= r; ++j) sum += in[j];
  const int32_t* enter = in + r + 1;
  const int32_t* leave = in - r;
  for (int i = 0; i < length; ++i) {
    out[i] = int32_t(float(sum) * scale + 0.5f);
    sum += enter[i] - leave[i];
  }
}

void blurRowsSingle(uint8_t* bytes, int width, int rows, size_t rowBytes, const Boxes& boxes) {
  const int pad = boxes.total();
  const int length = width + 2 * pad;
  const int margin = boxes.largest() + 1;
  std::vector<int32_t> scratchA(static_cast<size_t>(length + 2 * margin));
  std::vector<int32_t> scratchB(scratchA.size());
  int32_t* a = scratchA.data() + margin;
  int32_t* b = scratchB.data() + margin;
  for (int y = 0; y < rows; ++y) {
    uint8_t* line = bytes + y * rowBytes;
    for (int x = 0; x < width; ++x) a[x + pad] = int32_t(line[x]) << 8;
    std::fill(a, a + pad, 0);
    std::fill(a + width + pad, a + length, 0);
    boxPassSingle(a, b, length, boxes.radius[0]);
    boxPassSingle(b, a, length, boxes.radius[1]);
    boxPassSingle(a, b, length, boxes.radius[2]);
    for (int x = 0; x < width; ++x) line[x] = uint8_t(std::min<uint32_t>(255, uint32_t(b[x + pad] + 128) >> 8));
  }
}

void transposeBytes(const uint8_t* in, size_t inRowBytes, uint8_t* out, size_t outRowBytes, int width, int height) {
  constexpr int block = 64;
  for (int y0 = 0; y0 < height; y0 += block)
    for (int x0 = 0; x0 < width; x0 += block) {
      int y1 = std::min(height, y0 + block), x1 = std::min(width, x0 + block);
      for (int y = y0; y < y1; ++y)
        for (int x = x0; x < x1; ++x) out[x * outRowBytes + y] = in[y * inRowBytes + x];
    }
}

Lanes unpack(uint32_t w) {
  return Lanes{int32_t(w >> 24), int32_t((w >> 16) & 0xFF), int32_t((w >> 8) & 0xFF), int32_t(w & 0xFF)};
}

uint32_t pack(Lanes v) { return uint32_t(v[0]) << 24 | uint32_t(v[1]) << 16 | uint32_t(v[2]) << 8 | uint32_t(v[3]); }

// Averages blocks of factor × factor pixels; outside the image counts as transparent.
std::vector<uint32_t> reduce(const uint32_t* words, int width, int height, size_t rowWords, int factor, int smallWidth,
                             int smallHeight) {
  std::vector<uint32_t> small(static_cast<size_t>(smallWidth) * smallHeight);
  std::vector<Lanes> sums(static_cast<size_t>(smallWidth));
  const int32_t area = factor * factor;
  for (int sy = 0; sy < smallHeight; ++sy) {
    std::fill(sums.begin(), sums.end(), Lanes{0, 0, 0, 0});
    for (int y = sy * factor; y < std::min(height, (sy + 1) * factor); ++y) {
      const uint32_t* line = words + y * rowWords;
      for (int x = 0; x < width; ++x) sums[x / factor] += unpack(line[x]);
    }
    for (int sx = 0; sx < smallWidth; ++sx) small[static_cast<size_t>(sy) * smallWidth + sx] = pack((sums[sx] + area / 2) / area);
  }
  return small;
}

// Bilinear scaling back up from pixel centres. Each small row is widened once (horizontal
// weights, 8 fractional bits); output rows then only blend two widened rows.
void enlarge(const std::vector<uint32_t>& small, int smallWidth, int smallHeight, int factor, uint32_t* words,
             int width, int height, size_t rowWords) {
  std::vector<int> x0(width), x1(width);
  std::vector<int32_t> fx(width);
  for (int x = 0; x < width; ++x) {
    double s = std::clamp((x + 0.5) / factor - 0.5, 0.0, double(smallWidth - 1));
    x0[x] = int(s), x1[x] = std::min(x0[x] + 1, smallWidth - 1), fx[x] = int32_t((s - x0[x]) * 256 + 0.5);
  }
  auto widen = [&](int sy, std::vector<Lanes>& row) {
    const uint32_t* from = &small[static_cast<size_t>(sy) * smallWidth];
    for (int x = 0; x < width; ++x) row[x] = unpack(from[x0[x]]) * (256 - fx[x]) + unpack(from[x1[x]]) * fx[x];
  };
  std::vector<Lanes> upper(width), lower(width);
  int upperRow = -1, lowerRow = -1;
  for (int y = 0; y < height; ++y) {
    double s = std::clamp((y + 0.5) / factor - 0.5, 0.0, double(smallHeight - 1));
    int y0 = int(s), y1 = std::min(y0 + 1, smallHeight - 1);
    int32_t fy = int32_t((s - y0) * 256 + 0.5);
    if (upperRow != y0) {
      if (lowerRow == y0) std::swap(upper, lower), std::swap(upperRow, lowerRow);
      else widen(y0, upper), upperRow = y0;
    }
    if (lowerRow != y1) widen(y1, lower), lowerRow = y1;
    uint32_t* line = words + y * rowWords;
    for (int x = 0; x < width; ++x) line[x] = pack((upper[x] * (256 - fy) + lower[x] * fy + 32768) >> 16);
  }
}

}  // namespace

bool blurARGB32(uint8_t* pixels, int width, int height, int stride, double radius) {
  if (!pixels || width <= 0 || height <= 0 || !(radius >= 0.1) || stride % 4 != 0) return true;
  auto* words = reinterpret_cast<uint32_t*>(pixels);
  const size_t rowWords = static_cast<size_t>(stride) / 4;
  int factor = 1;
  while (factor < 8 && radius / (factor * 2) >= 6 && width / (factor * 2) >= 8 && height / (factor * 2) >= 8)
    factor *= 2;
  try {
    if (factor == 1) {
      Boxes boxes = boxesFor(radius);
      if (boxes.total() > 0) blurFull(words, width, height, rowWords, boxes);
      return true;
    }
    // Averaging adds (f² − 1) / 12 and the bilinear tent f² / 6 of variance, in full pixels.
    const double f = factor;
    double sigma = std::sqrt(std::max(radius * radius - (f * f - 1) / 12 - f * f / 6, 1.0)) / f;
    const int smallWidth = (width + factor - 1) / factor, smallHeight = (height + factor - 1) / factor;
    std::vector<uint32_t> small = reduce(words, width, height, rowWords, factor, smallWidth, smallHeight);
    blurFull(small.data(), smallWidth, smallHeight, static_cast<size_t>(smallWidth), boxesFor(sigma));
    enlarge(small, smallWidth, smallHeight, factor, words, width, height, rowWords);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

bool blurA8(uint8_t* pixels, int width, int height, int stride, double radius) {
  if (!pixels || width <= 0 || height <= 0 || !(radius >= 0.1) || stride < width) return true;
  const Boxes boxes = boxesFor(radius);
  if (boxes.total() == 0) return true;
  try {
    blurRowsSingle(pixels, width, height, static_cast<size_t>(stride), boxes);
    std::vector<uint8_t> turned(static_cast<size_t>(width) * height);
    transposeBytes(pixels, static_cast<size_t>(stride), turned.data(), static_cast<size_t>(height), width, height);
    blurRowsSingle(turned.data(), height, width, static_cast<size_t>(height), boxes);
    transposeBytes(turned.data(), static_cast<size_t>(height), pixels, static_cast<size_t>(stride), height, width);
    return true;
  } catch (const std::bad_alloc&) {
    return false;
  }
}

uint64_t blurSamplesRead() { return samplesRead.load(std::memory_order_relaxed); }

Image blurred(const Image& image, double radius) {
  if (!image || !(radius >= 0.1) || boxesFor(radius).total() == 0) return image;
  const int width = image.width(), height = image.height();
  cairo_surface_t* surface = newImageSurface(CAIRO_FORMAT_ARGB32, width, height);
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
