// PNG: the common kind in one pass of our own (png_common_decode.cc), any other through libspng,
// decoded straight into the output buffer (RGBA, 8 bits a channel, tRNS applied); 16-bit files
// come down to 8 bits.
#include "kit/image/codecs.h"
#include "kit/util/big_endian.h"

#include <spng.h>

#include <string_view>

namespace vorno::codecs {
namespace {

}  // namespace

std::optional<RGBAPixels> decodePNG(const uint8_t* data, size_t size) {
  if (auto common = decodeCommonPNG(data, size)) return common;
  std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
  if (!context) return std::nullopt;
  spng_ctx* ctx = context.get();
  if (spng_set_image_limits(ctx, maximumSide, maximumSide) != 0) return std::nullopt;
  // Ancillary chunks (text, profiles) are of no use here; cap what a file may make us hold.
  if (spng_set_chunk_limits(ctx, 64u << 20, 64u << 20) != 0) return std::nullopt;
  if (spng_set_png_buffer(ctx, data, size) != 0) return std::nullopt;
  spng_ihdr header{};
  if (spng_get_ihdr(ctx, &header) != 0) return std::nullopt;
  auto pixels = RGBAPixels::allocate(header.width, header.height);
  if (!pixels) return std::nullopt;
  size_t length = 0;
  if (spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &length) != 0 || length != pixels->byteCount())
    return std::nullopt;
  if (spng_decode_image(ctx, pixels->bytes.get(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0)
    return std::nullopt;
  return pixels;
}

std::optional<Size> pngSize(const uint8_t* head, size_t size) {
  // Signature (8), IHDR length (4) and type (4), then width and height, big-endian.
  if (size < 24 || sniff(head, size) != Format::png || std::string_view(reinterpret_cast<const char*>(head + 12), 4) != "IHDR")
    return std::nullopt;
  uint32_t width = readBigEndian32(head + 16), height = readBigEndian32(head + 20);
  if (width == 0 || height == 0 || width > 0x7FFFFFFF || height > 0x7FFFFFFF) return std::nullopt;
  return Size{double(width), double(height)};
}

}  // namespace vorno::codecs
