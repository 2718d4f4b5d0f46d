// WebP through libwebp, lossy and lossless, with or without alpha. An animated file is refused
// by the decoder (it is no still image); its size is still read from the header.
#include "kit/image/codecs.h"

#include <webp/decode.h>

#include <cstring>

namespace vorno::codecs {

std::optional<RGBAPixels> decodeWebP(const uint8_t* data, size_t size) {
  WebPBitstreamFeatures features;
  if (WebPGetFeatures(data, size, &features) != VP8_STATUS_OK || features.has_animation) return std::nullopt;
  auto pixels = RGBAPixels::allocate(static_cast<uint64_t>(features.width), static_cast<uint64_t>(features.height));
  if (!pixels) return std::nullopt;
  if (!WebPDecodeRGBAInto(data, size, pixels->bytes.get(), pixels->byteCount(), pixels->width * 4))
    return std::nullopt;
  return pixels;
}

std::optional<Size> webpSize(const uint8_t* head, size_t size) {
  // "RIFF", length, "WEBP", then the first chunk's four-character code and length; its data
  // starts at byte 20.
  if (size < 30 || sniff(head, size) != Format::webp) return std::nullopt;
  const uint8_t* d = head + 20;
  uint32_t width = 0, height = 0;
  if (std::memcmp(head + 12, "VP8 ", 4) == 0) {
    // Lossy: a three-byte frame tag, the start code 9D 01 2A, then 14-bit width and height.
    if (d[3] != 0x9D || d[4] != 0x01 || d[5] != 0x2A) return std::nullopt;
    width = (d[6] | d[7] << 8) & 0x3FFF;
    height = (d[8] | d[9] << 8) & 0x3FFF;
  } else if (std::memcmp(head + 12, "VP8L", 4) == 0) {
    // Lossless: the signature 0x2F, then width - 1 and height - 1 in 14 bits each, LSB first.
    if (d[0] != 0x2F) return std::nullopt;
    uint32_t bits = d[1] | d[2] << 8 | d[3] << 16 | uint32_t(d[4]) << 24;
    width = (bits & 0x3FFF) + 1;
    height = ((bits >> 14) & 0x3FFF) + 1;
  } else if (std::memcmp(head + 12, "VP8X", 4) == 0) {
    // Extended: flags and three reserved bytes, then canvas width - 1 and height - 1 in 24 bits.
    width = (d[4] | d[5] << 8 | d[6] << 16) + 1;
    height = (d[7] | d[8] << 8 | d[9] << 16) + 1;
  } else {
    return std::nullopt;
  }
  if (width == 0 || height == 0) return std::nullopt;
  return Size{double(width), double(height)};
}

}  // namespace vorno::codecs
