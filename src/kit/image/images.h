// Images: reading image files into Images, their sizes from the header alone, and file times.
// The format is told by the file's first bytes: PNG, JPEG, WebP, TIFF, HEIC. (SVG and PDF are
// vector images, drawn by the rendering code at the size of their use.)
#pragma once

#include "kit/image/image.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>

namespace vorno::Images {

/// Decodes the file. Throws VornoError: notFound "Image not found: <path>" when there is no
/// file, invalid "Not a readable image: <path>" when it cannot be decoded.
Image load(const std::string& path);
/// Width and height in pixels from the file's header, without decoding; nothing when unreadable.
std::optional<Size> pixelSize(const std::string& path);
/// Seconds since 1970, with fractions; nothing when the file cannot be read.
std::optional<double> modificationTime(const std::string& path);

}  // namespace vorno::Images
