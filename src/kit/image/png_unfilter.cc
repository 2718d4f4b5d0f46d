#include "kit/image/png_unfilter.h"

#include <emmintrin.h>

#include <cstring>

namespace vorno::PNGUnfilter {
namespace {

// A filtered pixel as four bytes (alpha zero for RGB). Three bytes are gathered in a register: a
// copy through memory would stall on store forwarding.
template <int channels>
uint32_t filteredPixel(const uint8_t* in, size_t x) {
  const uint8_t* p = in + x * channels;
  uint32_t bytes;
  if constexpr (channels == 4)
    std::memcpy(&bytes, p, 4);
  else
    bytes = uint32_t(p[0]) | uint32_t(p[1]) << 8 | uint32_t(p[2]) << 16;
  return bytes;
}

uint32_t outputPixel(const uint8_t* row, size_t x) {
  uint32_t bytes;
  std::memcpy(&bytes, row + 4 * x, 4);
  return bytes;
}

// Writes a pixel, opaque when the picture has no alpha.
template <int channels>
void store(uint8_t* out, size_t x, uint32_t bytes) {
  if constexpr (channels == 3) bytes |= 0xFF000000u;
  std::memcpy(out + 4 * x, &bytes, 4);
}

// Four bytes added lane by lane, modulo 256, without carries between them.
uint32_t addBytes(uint32_t a, uint32_t b) { return ((a & 0x7F7F7F7Fu) + (b & 0x7F7F7F7Fu)) ^ ((a ^ b) & 0x80808080u); }

// A pixel's four bytes, widened to 16 bits a lane so that sums and differences don't wrap.
__m128i widen(uint32_t bytes) { return _mm_unpacklo_epi8(_mm_cvtsi32_si128(int(bytes)), _mm_setzero_si128()); }
uint32_t narrow(__m128i lanes) { return uint32_t(_mm_cvtsi128_si32(_mm_packus_epi16(lanes, lanes))); }

// The sum of a filtered pixel and its predictor, modulo 256, each lane.
__m128i addModulo(__m128i filtered, __m128i predictor) {
  return _mm_and_si128(_mm_add_epi16(filtered, predictor), _mm_set1_epi16(0xFF));
}

__m128i absolute(__m128i v) { return _mm_max_epi16(v, _mm_sub_epi16(_mm_setzero_si128(), v)); }

__m128i select(__m128i mask, __m128i ifSet, __m128i otherwise) {
  return _mm_or_si128(_mm_and_si128(mask, ifSet), _mm_andnot_si128(mask, otherwise));
}

template <int channels>
void none(const uint8_t* in, uint8_t* out, size_t width) {
  for (size_t x = 0; x < width; ++x) store<channels>(out, x, filteredPixel<channels>(in, x));
}

template <int channels>
void sub(const uint8_t* in, uint8_t* out, size_t width) {
  uint32_t left = 0;
  for (size_t x = 0; x < width; ++x) {
    left = addBytes(filteredPixel<channels>(in, x), left);
    store<channels>(out, x, left);
  }
}

template <int channels>
void up(const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width) {
  size_t x = 0;
  if constexpr (channels == 4) {  // sixteen bytes at a time: nothing depends on the left
    for (; x + 4 <= width; x += 4) {
      const __m128i sum = _mm_add_epi8(_mm_loadu_si128(reinterpret_cast<const __m128i*>(in + 4 * x)),
                                       _mm_loadu_si128(reinterpret_cast<const __m128i*>(prior + 4 * x)));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 4 * x), sum);
    }
  }
  for (; x < width; ++x) store<channels>(out, x, addBytes(filteredPixel<channels>(in, x), outputPixel(prior, x)));
}

template <int channels>
void average(const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width) {
  __m128i left = _mm_setzero_si128();
  for (size_t x = 0; x < width; ++x) {
    const __m128i mean = _mm_srli_epi16(_mm_add_epi16(left, widen(outputPixel(prior, x))), 1);
    left = addModulo(widen(filteredPixel<channels>(in, x)), mean);
    store<channels>(out, x, narrow(left));
  }
}

// The predictor is whichever of left (a), above (b) and above-left (c) is nearest to a + b - c,
// ties going to a, then b: |p - a| = |b - c|, |p - b| = |a - c|, |p - c| = |(b - c) + (a - c)|.
// Returns the pixel: the filtered one plus its predictor.
__m128i paethPixel(__m128i filtered, __m128i a, __m128i b, __m128i c) {
  const __m128i bc = _mm_sub_epi16(b, c), ac = _mm_sub_epi16(a, c);
  const __m128i pa = absolute(bc), pb = absolute(ac), pc = absolute(_mm_add_epi16(bc, ac));
  const __m128i least = _mm_min_epi16(pa, _mm_min_epi16(pb, pc));
  const __m128i nearest = select(_mm_cmpeq_epi16(pa, least), a, select(_mm_cmpeq_epi16(pb, least), b, c));
  return addModulo(filtered, nearest);
}

template <int channels>
void paeth(const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width) {
  __m128i a = _mm_setzero_si128(), c = _mm_setzero_si128();
  for (size_t x = 0; x < width; ++x) {
    const __m128i b = widen(outputPixel(prior, x));
    a = paethPixel(widen(filteredPixel<channels>(in, x)), a, b, c);
    store<channels>(out, x, narrow(a));
    c = b;
  }
}

// Two Paeth rows at once, the lower one a pixel behind: each pixel waits on its left neighbour,
// so one row is a chain of dependent steps, and two chains side by side keep the processor busy
// in the time one would take.
template <int channels>
void paethPair(const uint8_t* in, const uint8_t* inBelow, uint8_t* out, uint8_t* outBelow, const uint8_t* prior,
               size_t width) {
  const __m128i zero = _mm_setzero_si128();
  __m128i a = zero, c = zero;           // the upper row: its left and above-left
  __m128i aBelow = zero, cBelow = zero;  // the lower row: the same, a pixel behind
  for (size_t x = 0; x < width; ++x) {
    const __m128i b = widen(outputPixel(prior, x));
    const __m128i upperLeft = a;  // the upper row's pixel x - 1: above the lower row's next pixel
    a = paethPixel(widen(filteredPixel<channels>(in, x)), a, b, c);
    store<channels>(out, x, narrow(a));
    c = b;
    if (x > 0) {
      aBelow = paethPixel(widen(filteredPixel<channels>(inBelow, x - 1)), aBelow, upperLeft, cBelow);
      store<channels>(outBelow, x - 1, narrow(aBelow));
      cBelow = upperLeft;
    }
  }
  if (width > 0) {
    const __m128i paethLast = paethPixel(widen(filteredPixel<channels>(inBelow, width - 1)), aBelow, a, cBelow);
    store<channels>(outBelow, width - 1, narrow(paethLast));
  }
}

template <int channels>
bool unfilter(uint8_t filter, const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width) {
  switch (filter) {
    case 0: none<channels>(in, out, width); return true;
    case 1: sub<channels>(in, out, width); return true;
    case 2: up<channels>(in, out, prior, width); return true;
    case 3: average<channels>(in, out, prior, width); return true;
    case 4: paeth<channels>(in, out, prior, width); return true;
    default: return false;
  }
}

}  // namespace

bool row(uint8_t filter, const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width, int channels) {
  return channels == 4 ? unfilter<4>(filter, in, out, prior, width) : unfilter<3>(filter, in, out, prior, width);
}

void paethRows(const uint8_t* in, const uint8_t* inBelow, uint8_t* out, uint8_t* outBelow, const uint8_t* prior,
               size_t width, int channels) {
  if (channels == 4)
    paethPair<4>(in, inBelow, out, outBelow, prior, width);
  else
    paethPair<3>(in, inBelow, out, outBelow, prior, width);
}

}  // namespace vorno::PNGUnfilter
