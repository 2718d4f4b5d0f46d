// The reverse of PNG's five row filters (none, sub, up, average, Paeth) for pictures of 8 bits a
// channel, RGB or RGBA, written out as RGBA: what the decoder of common PNGs runs on every row.
// Average and Paeth depend on the pixel to the left, so they go a pixel at a time with the
// channels side by side in one vector register; an RGB row is widened as it is unfiltered, the
// row above read back from the output, so no pass is spent on the widening.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorno::PNGUnfilter {

/// Writes `width` RGBA pixels to `out`: `in` is the row's `width` pixels of `channels` bytes
/// (3: RGB, given an opaque alpha; 4: RGBA) filtered with `filter` (0 to 4), and `prior` the row
/// above as already written, RGBA (zeros above the first row). False for a filter above 4.
bool row(uint8_t filter, const uint8_t* in, uint8_t* out, const uint8_t* prior, size_t width, int channels);

/// Two consecutive rows that both use Paeth, as two calls of `row` would write them, in about the
/// time of one: `inBelow` and `outBelow` are the second row's, whose row above is `out`.
void paethRows(const uint8_t* in, const uint8_t* inBelow, uint8_t* out, uint8_t* outBelow, const uint8_t* prior,
               size_t width, int channels);

}  // namespace vorno::PNGUnfilter
