// MaskImage: an immutable 8-bit coverage image (0 outside, 255 inside), the rendered form of a
// screen mask. Rows are padded to a multiple of four bytes so that drawing code can wrap the
// bytes in a cairo A8 surface without copying them. Copies share the bytes.
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

namespace vorno {

struct MaskImage {
  int width = 0;
  int height = 0;
  int stride = 0;  ///< bytes per row, a multiple of 4
  std::shared_ptr<const std::vector<uint8_t>> bytes;

  /// Coverage at (x, y), top left origin; the caller keeps x and y inside the image.
  uint8_t at(int x, int y) const { return (*bytes)[static_cast<size_t>(y) * stride + x]; }
  const uint8_t* data() const { return bytes->data(); }
};

}  // namespace vorno
