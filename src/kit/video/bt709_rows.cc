// Written as plain loops over whole rows so that the compiler turns them into vector code (this
// file is built with -O3, and on x86-64 also for AVX2, chosen when the processor has it): a
// 3840 × 1646 frame then converts in a few milliseconds, where a general-purpose scaler takes
// several times as long.
#include "kit/video/bt709_rows.h"

#include <cstddef>

namespace vorno::Bt709Rows {

namespace {

// Y' = 16 + 219/255 (0.2126 R + 0.7152 G + 0.0722 B), in 16-bit fixed point.
constexpr int32_t yR = 11966, yG = 40254, yB = 4064;
// Cb and Cr: 224/255 of (B − Y') / 1.8556 and (R − Y') / 1.5748. Each row of coefficients sums
// to 0, so grey stays exactly grey.
constexpr int32_t uR = -6596, uG = -22188, uB = 28784;
constexpr int32_t vR = 28784, vG = -26145, vB = -2639;

inline int32_t red(uint32_t p) { return static_cast<int32_t>(p >> 16 & 0xff); }
inline int32_t green(uint32_t p) { return static_cast<int32_t>(p >> 8 & 0xff); }
inline int32_t blue(uint32_t p) { return static_cast<int32_t>(p & 0xff); }

#if defined(__x86_64__) && defined(__GNUC__) && !defined(__clang__)
#define VORNO_VECTOR_CLONES __attribute__((target_clones("avx2", "default")))
#else
#define VORNO_VECTOR_CLONES
#endif

VORNO_VECTOR_CLONES
void lumaRow(const uint32_t* __restrict row, uint8_t* __restrict luma, int width) {
  for (int x = 0; x < width; ++x) {
    uint32_t p = row[x];
    luma[x] = static_cast<uint8_t>((yR * red(p) + yG * green(p) + yB * blue(p) + (16 << 16) + (1 << 15)) >> 16);
  }
}

// The chroma of `pairs` whole 2 × 2 blocks from two rows.
VORNO_VECTOR_CLONES
void chromaRow(const uint32_t* __restrict top, const uint32_t* __restrict bottom, uint8_t* __restrict cb,
               uint8_t* __restrict cr, int pairs) {
  for (int i = 0; i < pairs; ++i) {
    uint32_t a = top[2 * i], b = top[2 * i + 1], c = bottom[2 * i], d = bottom[2 * i + 1];
    int32_t r = red(a) + red(b) + red(c) + red(d);
    int32_t g = green(a) + green(b) + green(c) + green(d);
    int32_t bl = blue(a) + blue(b) + blue(c) + blue(d);
    // Sums of four pixels: two more bits to shift out.
    cb[i] = static_cast<uint8_t>((uR * r + uG * g + uB * bl + (128 << 18) + (1 << 17)) >> 18);
    cr[i] = static_cast<uint8_t>((vR * r + vG * g + vB * bl + (128 << 18) + (1 << 17)) >> 18);
  }
}

}  // namespace

void toYuv420(const uint8_t* pixels, int stride, int width, int height, int firstRow, int endRow,
              uint8_t* const planes[3], const int strides[3]) {
  for (int y = firstRow; y < endRow && y < height; y += 2) {
    const auto* top = reinterpret_cast<const uint32_t*>(pixels + static_cast<size_t>(y) * stride);
    const auto* bottom = y + 1 < height ? reinterpret_cast<const uint32_t*>(pixels + static_cast<size_t>(y + 1) * stride) : top;
    lumaRow(top, planes[0] + static_cast<size_t>(y) * strides[0], width);
    if (y + 1 < height) lumaRow(bottom, planes[0] + static_cast<size_t>(y + 1) * strides[0], width);
    uint8_t* cb = planes[1] + static_cast<size_t>(y / 2) * strides[1];
    uint8_t* cr = planes[2] + static_cast<size_t>(y / 2) * strides[2];
    chromaRow(top, bottom, cb, cr, width / 2);
    if (width % 2) {
      uint32_t last[2] = {top[width - 1], top[width - 1]}, lastBelow[2] = {bottom[width - 1], bottom[width - 1]};
      chromaRow(last, lastBelow, cb + width / 2, cr + width / 2, 1);
    }
  }
}

}  // namespace vorno::Bt709Rows
