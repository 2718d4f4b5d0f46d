// The raster decoders behind Images::load and the thumbnails: PNG (libspng), JPEG
// (libjpeg-turbo), WebP (libwebp), TIFF (libtiff) and HEIC/AVIF (libheif). The format is told by
// the first bytes, never by the name. Every decoder refuses images beyond `maximumSide` on a side
// or `maximumPixels` in all, so that a small hostile file cannot ask for gigabytes.
//
// The header readers answer a pixel size from the first bytes (PNG, WebP), by walking markers
// (JPEG), or through the library's own header parsing (TIFF directory, HEIF boxes), never by
// decoding pixels.
#pragma once

#include "kit/util/geometry.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorno::codecs {

// 32767 is the largest side of a cairo image surface.
constexpr uint32_t maximumSide = 32767;
constexpr uint64_t maximumPixels = 100'000'000;

inline bool acceptableSize(uint64_t width, uint64_t height) {
  return width > 0 && height > 0 && width <= maximumSide && height <= maximumSide &&
         width * height <= maximumPixels;
}

struct FreeBytes {
  void operator()(uint8_t* p) const { std::free(p); }
};

/// Decoded pixels: R, G, B, A bytes in that order, rows top to bottom without padding. Straight
/// alpha unless `premultiplied`. The buffer comes from malloc so that a cairo surface can take it
/// over without a copy.
struct RGBAPixels {
  int width = 0, height = 0;
  bool premultiplied = false;
  std::unique_ptr<uint8_t, FreeBytes> bytes;

  size_t byteCount() const { return static_cast<size_t>(width) * height * 4; }
  uint8_t* row(int y) const { return bytes.get() + static_cast<size_t>(y) * width * 4; }
  /// Room for an image of that size; nothing for a refused size or a failed allocation.
  static std::optional<RGBAPixels> allocate(uint64_t width, uint64_t height);
};

enum class Format { unknown, png, jpeg, webp, tiff, heif };

/// Needs the first 16 bytes or fewer; `unknown` for anything else.
Format sniff(const uint8_t* data, size_t size);

/// Any PNG: the common ones through decodeCommonPNG, the others (and every damaged one) through
/// libspng.
std::optional<RGBAPixels> decodePNG(const uint8_t* data, size_t size);
/// A PNG of 8-bit RGB or RGBA, not interlaced and without a transparency key, decoded in one
/// pass (png_common_decode.cc); nothing for any other file or any fault in one.
std::optional<RGBAPixels> decodeCommonPNG(const uint8_t* data, size_t size);
std::optional<RGBAPixels> decodeJPEG(const uint8_t* data, size_t size);
std::optional<RGBAPixels> decodeWebP(const uint8_t* data, size_t size);
std::optional<RGBAPixels> decodeTIFF(const uint8_t* data, size_t size);
std::optional<RGBAPixels> decodeHEIF(const uint8_t* data, size_t size);
/// Dispatches on `sniff`.
std::optional<RGBAPixels> decode(const uint8_t* data, size_t size);

/// Sizes from headers. `head` is the start of the file (at least 32 bytes when the file has them).
std::optional<Size> pngSize(const uint8_t* head, size_t size);
std::optional<Size> webpSize(const uint8_t* head, size_t size);
/// Reads segment headers from the open file and seeks over their bodies.
std::optional<Size> jpegSize(std::FILE* file);
std::optional<Size> tiffSize(const std::string& path);
std::optional<Size> heifSize(const std::string& path);

/// A regular file (or a link to one) opened for reading; null for anything else. A named pipe or
/// a device is never read: opening a pipe with no writer would wait forever, and a device may
/// never end. Opened without waiting, then checked, so nothing can swap the file in between.
std::unique_ptr<FILE, int (*)(FILE*)> openRegular(const std::string& path);

/// Whether the path names a regular file (or a link to one). The readers that open a file by name
/// themselves (librsvg, poppler, FFmpeg) ask this first: a named pipe or a device is no picture,
/// and opening one could wait forever.
bool isRegularFile(const std::string& path);

}  // namespace vorno::codecs
