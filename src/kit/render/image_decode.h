// Decoding PNG and JPEG files into straight-alpha RGBA, for the thumbnails of image fills and
// the images that rendering draws. The format is told by the file's first bytes, not its name.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kit/model/image_sampler.h"

namespace vorno {

/// The decoded pixels of a PNG or JPEG file; nothing for a missing, unknown or broken file.
std::optional<DecodedImage> decodeImageFile(const std::string& path);
/// The same for bytes already in memory.
std::optional<DecodedImage> decodeImageData(const uint8_t* data, size_t size);

/// Makes `ImageSampler::shared()` read image fills through `decodeImageFile`.
void installImageLoaders();

}  // namespace vorno
