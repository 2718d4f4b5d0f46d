// PNG's five row filters and the per-row choice among them. A filter replaces each byte by its
// difference from a prediction (the byte to the left, the one above, their mean, or the Paeth
// guess from left, above and upper-left), which turns smooth pictures into runs of small
// numbers that deflate packs tightly. The choice takes, for each row, the filter whose bytes
// have the smallest sum of magnitudes (read as signed): the heuristic the PNG format's authors
// recommend and the reference library uses by default, here judged on a sample of each row.
#pragma once

#include <cstddef>
#include <cstdint>

namespace vorno::PNGRowFilters {

enum Type : uint8_t { none = 0, sub = 1, up = 2, average = 3, paeth = 4 };

/// Filters `row` (rowBytes bytes, `channels` bytes a pixel) against `above` (the row before it,
/// or zeros for the first) with `type`, into `out`.
void apply(Type type, const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out);

/// Sum over the bytes of min(b, 256 - b): how far from zero a filtered row is.
uint64_t magnitude(const uint8_t* filtered, size_t rowBytes);

/// The filter of least magnitude for this row, judged on a sample of the row, its bytes written
/// to `out`.
Type applyBest(const uint8_t* row, const uint8_t* above, size_t rowBytes, int channels, uint8_t* out);

}  // namespace vorno::PNGRowFilters
