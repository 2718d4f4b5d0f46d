// Images: reading image files into Images, their sizes from the header alone, and file times.
// The format is told by the file's first bytes: PNG, JPEG, WebP, TIFF, HEIC. (SVG and PDF are
// vector images, drawn by the rendering code at the size of their use.)
#pragma once

#include "kit/image/image.h"
#include "kit/util/geometry.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace vorno::Images {

enum class ImageType { png, jpeg };

/// Decodes the file. Throws VornoError: notFound "Image not found: <path>" when there is no
/// file, invalid "Not a readable image: <path>" when it cannot be decoded.
Image load(const std::string& path);
/// Width and height in pixels from the file's header, without decoding; nothing when unreadable.
std::optional<Size> pixelSize(const std::string& path);
/// Seconds since 1970, with fractions; nothing when the file cannot be read.
std::optional<double> modificationTime(const std::string& path);

/// The image with its longer side at most `maxDimension`, drawn opaque with a high-quality
/// filter; the image itself when it is small enough. Throws io "Downscale failed."
Image downscale(const Image& image, int maxDimension);
/// The encoded file. PNG is written without alpha when the image is opaque; `quality` (0...1)
/// applies to JPEG. Throws io "Image encoding failed."
std::vector<uint8_t> encode(const Image& image, ImageType type, double quality = 0.86);
/// Encodes and writes atomically (the file appears whole or not at all).
void write(const Image& image, const std::string& path, ImageType type, double quality = 0.86);
/// The same into `base / relative`, every folder below `base` reached without following a link
/// (writeFileBelow): where a package's pictures go.
void writeBelow(const Image& image, const std::filesystem::path& base, const std::filesystem::path& relative,
                ImageType type, double quality = 0.86);

/// The share of pixels that differ visibly between two pictures: 1 when the sizes differ,
/// otherwise the pixels whose |Δr| + |Δg| + |Δb| is above 6, over the pixel count, with both
/// pictures taken opaque.
double pixelDifference(const Image& a, const Image& b);

}  // namespace vorno::Images
