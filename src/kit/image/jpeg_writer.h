// JPEGWriter: baseline JPEG of an image, as the previews the render tools answer with.
#pragma once

#include "kit/image/image.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace vorno::JPEGWriter {

/// A quality of 0...1 as libjpeg's percentage: 0.86 is 86; out-of-range values are clamped, and
/// the result is at least 1.
int qualityPercent(double quality);
/// The JPEG file; nothing for a null image or an encoder failure.
std::optional<std::vector<uint8_t>> encode(const Image& image, double quality);

}  // namespace vorno::JPEGWriter
