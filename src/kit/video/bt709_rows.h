// The colour conversion on a video's hot path: rows of an sRGB picture (cairo's native-endian
// xRGB words) into yuv420p with the BT.709 matrix in limited range, as the stream's tags say.
#pragma once

#include <cstdint>

namespace vorno::Bt709Rows {

/// Converts the row pairs from `firstRow` (even) up to `endRow` of a `width` × `height` picture.
/// Each 2 × 2 block gives one colour sample, the mean of its four pixels. An odd last row or
/// column is paired with itself.
void toYuv420(const uint8_t* pixels, int stride, int width, int height, int firstRow, int endRow,
              uint8_t* const planes[3], const int strides[3]);

}  // namespace vorno::Bt709Rows
