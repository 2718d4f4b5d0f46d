// Feeds arbitrary bytes to the PNG decoders. Our one-pass decoder of common PNGs either declines
// or gives exactly the pixels libspng gives for the same file: it never reads outside the file,
// and it never accepts a file that libspng refuses or decodes it differently. Each input is tried
// as it is and with its chunks' CRCs made right, so that mutations reach the inflating and
// unfiltering behind the checks.
#include "fuzz/fuzz_support.h"
#include "kit/image/codecs.h"

#include <libdeflate.h>
#include <spng.h>

#include <cstring>
#include <memory>
#include <vector>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

namespace {

// What libspng makes of the file, as the program asked it before the one-pass decoder existed.
std::optional<std::vector<uint8_t>> spngPixels(const uint8_t* data, size_t size) {
  std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
  spng_ctx* ctx = context.get();
  if (!ctx || spng_set_image_limits(ctx, codecs::maximumSide, codecs::maximumSide) != 0 ||
      spng_set_chunk_limits(ctx, 64u << 20, 64u << 20) != 0 || spng_set_png_buffer(ctx, data, size) != 0)
    return std::nullopt;
  size_t length = 0;
  if (spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &length) != 0 || length > (size_t{64} << 20)) return std::nullopt;
  std::vector<uint8_t> pixels(length);
  if (spng_decode_image(ctx, pixels.data(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0) return std::nullopt;
  return pixels;
}

// The file with every whole chunk's CRC rewritten to match its type and data.
std::vector<uint8_t> withRightCRCs(std::vector<uint8_t> file) {
  size_t at = 8;
  while (file.size() >= at + 12) {
    const uint32_t length = (uint32_t(file[at]) << 24) | (uint32_t(file[at + 1]) << 16) |
                            (uint32_t(file[at + 2]) << 8) | uint32_t(file[at + 3]);
    if (length > file.size() - at - 12) break;
    const uint32_t crc = libdeflate_crc32(0, file.data() + at + 4, size_t(length) + 4);
    for (int k = 0; k < 4; ++k) file[at + 8 + length + k] = uint8_t(crc >> (24 - 8 * k));
    at += 12 + size_t(length);
  }
  return file;
}

void check(const std::vector<uint8_t>& file) {
  std::optional<codecs::RGBAPixels> ours = codecs::decodeCommonPNG(file.data(), file.size());
  if (!ours) return;
  std::optional<std::vector<uint8_t>> theirs = spngPixels(file.data(), file.size());
  fuzzCheck(theirs.has_value(), "the one-pass decoder accepted a PNG that libspng refuses");
  fuzzCheck(theirs->size() == ours->byteCount(), "the one-pass decoder's picture has another size");
  fuzzCheck(std::memcmp(theirs->data(), ours->bytes.get(), ours->byteCount()) == 0,
            "the one-pass decoder's pixels differ from libspng's");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  // Copies of exactly `size` bytes, so that a read past the end is caught.
  const std::vector<uint8_t> file(data, data + size);
  check(file);
  check(withRightCRCs(file));
  return 0;
}
