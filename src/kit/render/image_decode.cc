// PNG goes through libspng and JPEG through libjpeg-turbo. Both refuse images beyond
// `maximumSide` on a side or `maximumPixels` in all, so that a small hostile file cannot ask for
// gigabytes.
//
// libjpeg reports a fatal error by calling a handler that must not return; ours jumps back with
// longjmp. Everything that a jump could leave half-done lives in one heap record whose address
// is fixed before setjmp, so no C++ object of the decoding frame changes between the setjmp and
// a jump, and nothing is leaked or destroyed twice.
#include "kit/render/image_decode.h"

#include <jpeglib.h>
#include <spng.h>

#include <algorithm>
#include <csetjmp>
#include <cstdio>
#include <memory>
#include <vector>

namespace vorno {
namespace {

constexpr uint32_t maximumSide = 32768;
constexpr uint64_t maximumPixels = 100'000'000;

bool acceptableSize(uint64_t width, uint64_t height) {
  return width > 0 && height > 0 && width <= maximumSide && height <= maximumSide && width * height <= maximumPixels;
}

bool isPNG(const uint8_t* data, size_t size) {
  static const uint8_t signature[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
  return size >= 8 && std::equal(signature, signature + 8, data);
}

bool isJPEG(const uint8_t* data, size_t size) {
  return size >= 3 && data[0] == 0xFF && data[1] == 0xD8 && data[2] == 0xFF;
}

std::optional<DecodedImage> decodePNG(const uint8_t* data, size_t size) {
  std::unique_ptr<spng_ctx, decltype(&spng_ctx_free)> context(spng_ctx_new(0), &spng_ctx_free);
  if (!context) return std::nullopt;
  spng_ctx* ctx = context.get();
  if (spng_set_image_limits(ctx, maximumSide, maximumSide) != 0) return std::nullopt;
  // Ancillary chunks (text, profiles) are of no use here; cap what a file may make us hold.
  if (spng_set_chunk_limits(ctx, 64u << 20, 64u << 20) != 0) return std::nullopt;
  if (spng_set_png_buffer(ctx, data, size) != 0) return std::nullopt;
  spng_ihdr header{};
  if (spng_get_ihdr(ctx, &header) != 0) return std::nullopt;
  if (!acceptableSize(header.width, header.height)) return std::nullopt;
  size_t length = 0;
  if (spng_decoded_image_size(ctx, SPNG_FMT_RGBA8, &length) != 0) return std::nullopt;
  DecodedImage image;
  image.width = static_cast<int>(header.width);
  image.height = static_cast<int>(header.height);
  if (length != static_cast<size_t>(image.width) * image.height * 4) return std::nullopt;
  image.rgba.resize(length);
  if (spng_decode_image(ctx, image.rgba.data(), length, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS) != 0) return std::nullopt;
  return image;
}

struct JpegErrorManager {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

[[noreturn]] void jpegFail(j_common_ptr info) {
  auto* manager = reinterpret_cast<JpegErrorManager*>(info->err);
  std::longjmp(manager->jump, 1);
}

// Warnings about slightly damaged files are not ours to print: standard output may belong to
// the protocol.
void jpegQuiet(j_common_ptr) {}

struct JpegState {
  jpeg_decompress_struct info{};
  JpegErrorManager error{};
  bool created = false;
  DecodedImage image;
  std::vector<uint8_t> row;
};

// Only called while `state` is set up; longjmp returns into this frame alone.
bool runJpeg(JpegState* state, const uint8_t* data, size_t size) {
  jpeg_decompress_struct* info = &state->info;
  if (setjmp(state->error.jump)) return false;
  jpeg_create_decompress(info);
  state->created = true;
  jpeg_mem_src(info, data, static_cast<unsigned long>(size));
  if (jpeg_read_header(info, TRUE) != JPEG_HEADER_OK) return false;
  bool cmyk = info->jpeg_color_space == JCS_CMYK || info->jpeg_color_space == JCS_YCCK;
  info->out_color_space = cmyk ? JCS_CMYK : JCS_EXT_RGBA;
  jpeg_calc_output_dimensions(info);
  if (!acceptableSize(info->output_width, info->output_height)) return false;
  jpeg_start_decompress(info);
  const size_t width = info->output_width;
  state->image.width = static_cast<int>(info->output_width);
  state->image.height = static_cast<int>(info->output_height);
  state->image.rgba.resize(width * info->output_height * 4);
  state->row.resize(width * 4);
  // Files written by common editors store CMYK inverted and say so in an Adobe marker.
  const bool inverted = info->saw_Adobe_marker;
  while (info->output_scanline < info->output_height) {
    uint8_t* target = state->image.rgba.data() + static_cast<size_t>(info->output_scanline) * width * 4;
    JSAMPROW rows[1] = {cmyk ? state->row.data() : target};
    if (jpeg_read_scanlines(info, rows, 1) != 1) return false;
    if (!cmyk) continue;
    for (size_t x = 0; x < width; ++x) {
      const uint8_t* p = state->row.data() + x * 4;
      unsigned k = inverted ? p[3] : 255u - p[3];
      for (int c = 0; c < 3; ++c) {
        unsigned ink = inverted ? p[c] : 255u - p[c];
        target[x * 4 + c] = static_cast<uint8_t>((ink * k + 127) / 255);
      }
      target[x * 4 + 3] = 255;
    }
  }
  jpeg_finish_decompress(info);
  return true;
}

std::optional<DecodedImage> decodeJPEG(const uint8_t* data, size_t size) {
  auto state = std::make_unique<JpegState>();
  state->info.err = jpeg_std_error(&state->error.base);
  state->error.base.error_exit = jpegFail;
  state->error.base.output_message = jpegQuiet;
  bool ok = runJpeg(state.get(), data, size);
  if (state->created) jpeg_destroy_decompress(&state->info);
  if (!ok) return std::nullopt;
  return std::move(state->image);
}

}  // namespace

std::optional<DecodedImage> decodeImageData(const uint8_t* data, size_t size) {
  if (!data) return std::nullopt;
  if (isPNG(data, size)) return decodePNG(data, size);
  if (isJPEG(data, size)) return decodeJPEG(data, size);
  return std::nullopt;
}

std::optional<DecodedImage> decodeImageFile(const std::string& path) {
  // Plain C reading: a folder or an unreadable file must be "no image", never an exception.
  std::unique_ptr<FILE, decltype(&std::fclose)> file(std::fopen(path.c_str(), "rb"), &std::fclose);
  if (!file) return std::nullopt;
  std::vector<uint8_t> bytes;
  uint8_t chunk[1 << 16];
  for (;;) {
    size_t count = std::fread(chunk, 1, sizeof chunk, file.get());
    bytes.insert(bytes.end(), chunk, chunk + count);
    if (count < sizeof chunk) break;
  }
  if (std::ferror(file.get())) return std::nullopt;
  return decodeImageData(bytes.data(), bytes.size());
}

void installImageLoaders() { ImageSampler::shared().setLoader(decodeImageFile); }

}  // namespace vorno
