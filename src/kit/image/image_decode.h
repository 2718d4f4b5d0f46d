// Decoding image files into straight-alpha RGBA, for the thumbnails of image fills and the checks
// that read pixels one by one. The format is told by the file's first bytes, not its name: PNG,
// JPEG, WebP, TIFF, HEIC. (Drawing code wants an Image instead: Images::load.)
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "kit/model/image_sampler.h"

namespace vorno {

/// The decoded pixels of an image file; nothing for a missing, unknown or broken file.
std::optional<DecodedImage> decodeImageFile(const std::string& path);
/// The same for bytes already in memory.
std::optional<DecodedImage> decodeImageData(const uint8_t* data, size_t size);

/// Makes `ImageSampler::shared()` read image fills as they are painted: bitmaps through
/// `decodeImageFile`, SVG and PDF drawn at their natural size.
void installImageLoaders();

}  // namespace vorno
