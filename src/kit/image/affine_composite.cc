#include "kit/image/affine_composite.h"

#include "kit/image/cairo_util.h"

#include <cairo.h>
#include <emmintrin.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace vorno::AffineComposite {
namespace {

// Fixed point as pixman steps through a transformed image: 16 bits below the pixel, of which the
// top 7 weigh the bilinear taps.
constexpr double fixedOne = 65536;
constexpr int weightBits = 7;

// The layer's premultiplied pixels.
struct Source {
  const uint8_t* data = nullptr;
  int stride = 0, width = 0, height = 0;

  uint32_t at(int x, int y) const {
    uint32_t pixel;
    std::memcpy(&pixel, data + size_t(y) * size_t(stride) + size_t(x) * 4, 4);
    return pixel;
  }
  // Transparent beyond the edges, as cairo's EXTEND_NONE.
  uint32_t atOrClear(int x, int y) const {
    return unsigned(x) < unsigned(width) && unsigned(y) < unsigned(height) ? at(x, y) : 0;
  }
};

__m128i widen(uint32_t pixel) { return _mm_unpacklo_epi8(_mm_cvtsi32_si128(int(pixel)), _mm_setzero_si128()); }

// x / 255, rounded, for x up to 255 * 255, in each 16-bit lane.
__m128i divide255(__m128i x) {
  x = _mm_add_epi16(x, _mm_set1_epi16(128));
  return _mm_srli_epi16(_mm_add_epi16(x, _mm_srli_epi16(x, 8)), 8);
}

// The four taps weighed by the fractions (7 bits each) across and down: the sample, one channel
// a lane, 0 to 255.
__m128i bilinear(uint32_t topLeft, uint32_t topRight, uint32_t bottomLeft, uint32_t bottomRight, int fx, int fy) {
  const __m128i down = _mm_set1_epi16(short(fy)), up = _mm_set1_epi16(short(128 - fy));
  // Each column weighed down first: at most 255 * 128, which a signed 16-bit lane holds.
  const __m128i left = _mm_add_epi16(_mm_mullo_epi16(widen(topLeft), up), _mm_mullo_epi16(widen(bottomLeft), down));
  const __m128i right = _mm_add_epi16(_mm_mullo_epi16(widen(topRight), up), _mm_mullo_epi16(widen(bottomRight), down));
  // Then across, in 32 bits: each (left, right) pair times (128 - fx, fx).
  const __m128i across = _mm_set1_epi32(int((uint32_t(fx) << 16) | uint32_t(128 - fx)));
  const __m128i sum = _mm_madd_epi16(_mm_unpacklo_epi16(left, right), across);
  // Truncated, as pixman does.
  const __m128i sample = _mm_srli_epi32(sum, 2 * weightBits);
  return _mm_packs_epi32(sample, _mm_setzero_si128());
}

// source OVER destination, premultiplied, one channel a lane.
uint32_t blendOver(__m128i source, uint32_t destination, bool opaqueTarget) {
  const __m128i alpha = _mm_shufflelo_epi16(source, _MM_SHUFFLE(3, 3, 3, 3));
  const __m128i rest = divide255(_mm_mullo_epi16(widen(destination), _mm_sub_epi16(_mm_set1_epi16(255), alpha)));
  auto out = uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(_mm_add_epi16(source, rest), _mm_setzero_si128())));
  return opaqueTarget ? out | 0xFF000000u : out;
}

// Where along a row the layer can show: the x range in which u (= at + x * step) lies in
// [low, high). Conservative by a pixel each side; the taps are checked anyway.
void narrow(double at, double step, double low, double high, double& from, double& to) {
  if (step == 0) {
    if (!(at >= low && at < high)) from = to = 0;
    return;
  }
  double a = (low - at) / step, b = (high - at) / step;
  if (a > b) std::swap(a, b);
  from = std::max(from, std::floor(a) - 1);
  to = std::min(to, std::ceil(b) + 1);
}

}  // namespace

bool over(cairo_t* cr, cairo_surface_t* layer, const cairo_matrix_t& layerToDevice, double alpha) {
  if (cairo_surface_get_type(layer) != CAIRO_SURFACE_TYPE_IMAGE ||
      cairo_image_surface_get_format(layer) != CAIRO_FORMAT_ARGB32 || !(alpha > 0) || alpha > 1)
    return false;
  // cairo's good filter is plain bilinear down to three quarters of the size; below that it
  // averages more pixels, which this doesn't.
  const double scaleX = std::hypot(layerToDevice.xx, layerToDevice.yx), scaleY = std::hypot(layerToDevice.xy, layerToDevice.yy);
  if (!(scaleX >= 0.75 && scaleY >= 0.75 && scaleX <= 4 && scaleY <= 4)) return false;
  if (!(std::fabs(layerToDevice.x0) < 1e7 && std::fabs(layerToDevice.y0) < 1e7)) return false;
  cairo_matrix_t toLayer = layerToDevice;
  if (cairo_matrix_invert(&toLayer) != CAIRO_STATUS_SUCCESS) return false;
  if (cairo_get_operator(cr) != CAIRO_OPERATOR_OVER) return false;
  const std::optional<DirectPixels> direct = directPixels(cr);
  if (!direct) return false;
  const DirectPixels& target = *direct;
  cairo_surface_flush(layer);
  const Source source{cairo_image_surface_get_data(layer), cairo_image_surface_get_stride(layer),
                      cairo_image_surface_get_width(layer), cairo_image_surface_get_height(layer)};
  if (!source.data) return false;

  // The device rows the layer can reach, from its corners.
  double top = INFINITY, bottom = -INFINITY;
  for (double cornerX : {0.0, double(source.width)})
    for (double cornerY : {0.0, double(source.height)}) {
      double x = cornerX, y = cornerY;
      cairo_matrix_transform_point(&layerToDevice, &x, &y);
      top = std::min(top, y), bottom = std::max(bottom, y);
    }
  if (!std::isfinite(top) || !std::isfinite(bottom)) return false;
  const int firstRow = std::max(target.clipTop, int(std::floor(top)) - 1);
  const int endRow = std::min(target.clipBottom, int(std::ceil(bottom)) + 1);
  const auto fade = uint16_t(std::lround(alpha * 255));
  const __m128i fadeLanes = _mm_set1_epi16(short(fade));
  int dirtyLeft = target.clipRight, dirtyRight = target.clipLeft;

  for (int y = firstRow; y < endRow; ++y) {
    // Layer coordinates of this row's pixel centres, less half a pixel: where the top-left tap is.
    const double rowU = toLayer.xy * (y + 0.5) + toLayer.x0 - 0.5, rowV = toLayer.yy * (y + 0.5) + toLayer.y0 - 0.5;
    double from = target.clipLeft, to = target.clipRight;
    narrow(rowU + toLayer.xx * 0.5, toLayer.xx, -1, source.width, from, to);
    narrow(rowV + toLayer.yx * 0.5, toLayer.yx, -1, source.height, from, to);
    const int first = int(std::max<double>(from, target.clipLeft)), end = int(std::min<double>(to, target.clipRight));
    if (first >= end) continue;
    dirtyLeft = std::min(dirtyLeft, first), dirtyRight = std::max(dirtyRight, end);
    auto u = int64_t(std::llround((rowU + toLayer.xx * (first + 0.5)) * fixedOne));
    auto v = int64_t(std::llround((rowV + toLayer.yx * (first + 0.5)) * fixedOne));
    const auto stepU = int64_t(std::llround(toLayer.xx * fixedOne)), stepV = int64_t(std::llround(toLayer.yx * fixedOne));
    auto* out = reinterpret_cast<uint32_t*>(target.data + size_t(y) * size_t(target.stride));
    for (int x = first; x < end; ++x, u += stepU, v += stepV) {
      const auto ix = int(u >> 16), iy = int(v >> 16);
      if (ix < -1 || iy < -1 || ix >= source.width || iy >= source.height) continue;
      uint32_t topLeft, topRight, bottomLeft, bottomRight;
      if (ix >= 0 && iy >= 0 && ix + 1 < source.width && iy + 1 < source.height) {
        topLeft = source.at(ix, iy), topRight = source.at(ix + 1, iy);
        bottomLeft = source.at(ix, iy + 1), bottomRight = source.at(ix + 1, iy + 1);
      } else {
        topLeft = source.atOrClear(ix, iy), topRight = source.atOrClear(ix + 1, iy);
        bottomLeft = source.atOrClear(ix, iy + 1), bottomRight = source.atOrClear(ix + 1, iy + 1);
      }
      if ((topLeft | topRight | bottomLeft | bottomRight) == 0) continue;  // nothing to add
      const int fx = int(u >> (16 - weightBits)) & ((1 << weightBits) - 1);
      const int fy = int(v >> (16 - weightBits)) & ((1 << weightBits) - 1);
      __m128i sample = bilinear(topLeft, topRight, bottomLeft, bottomRight, fx, fy);
      if (fade != 255) sample = divide255(_mm_mullo_epi16(sample, fadeLanes));
      out[x] = blendOver(sample, out[x], target.opaque);
    }
  }
  if (dirtyLeft < dirtyRight)
    cairo_surface_mark_dirty_rectangle(cairo_get_target(cr), dirtyLeft, firstRow, dirtyRight - dirtyLeft,
                                       std::max(0, endRow - firstRow));
  return true;
}

}  // namespace vorno::AffineComposite
