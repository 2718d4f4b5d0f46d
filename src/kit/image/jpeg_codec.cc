// JPEG through libjpeg-turbo, straight into RGBA rows; CMYK files (as written by print tools) are
// converted with their ink inverted when an Adobe marker says so.
//
// libjpeg reports a fatal error by calling a handler that must not return; ours jumps back with
// longjmp. Everything that a jump could leave half-done lives in one heap record whose address
// is fixed before setjmp, so no C++ object of the decoding frame changes between the setjmp and
// a jump, and nothing is leaked or destroyed twice.
#include "kit/image/codecs.h"

#include <jpeglib.h>

#include <csetjmp>
#include <vector>

namespace vorno::codecs {
namespace {

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
  std::optional<RGBAPixels> pixels;
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
  state->pixels = RGBAPixels::allocate(info->output_width, info->output_height);
  if (!state->pixels) return false;
  jpeg_start_decompress(info);
  const size_t width = info->output_width;
  state->row.resize(width * 4);
  // Files written by common editors store CMYK inverted and say so in an Adobe marker.
  const bool inverted = info->saw_Adobe_marker;
  while (info->output_scanline < info->output_height) {
    uint8_t* target = state->pixels->row(static_cast<int>(info->output_scanline));
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

bool isStartOfFrame(int marker) {
  // SOF0..SOF15 less DHT (C4), JPG (C8) and DAC (CC).
  return marker >= 0xC0 && marker <= 0xCF && marker != 0xC4 && marker != 0xC8 && marker != 0xCC;
}

}  // namespace

std::optional<RGBAPixels> decodeJPEG(const uint8_t* data, size_t size) {
  auto state = std::make_unique<JpegState>();
  state->info.err = jpeg_std_error(&state->error.base);
  state->error.base.error_exit = jpegFail;
  state->error.base.output_message = jpegQuiet;
  bool ok = runJpeg(state.get(), data, size);
  if (state->created) jpeg_destroy_decompress(&state->info);
  if (!ok) return std::nullopt;
  return std::move(state->pixels);
}

std::optional<Size> jpegSize(std::FILE* file) {
  uint8_t soi[2];
  if (std::fread(soi, 1, 2, file) != 2 || soi[0] != 0xFF || soi[1] != 0xD8) return std::nullopt;
  // Walk the segments: each is FF, a marker, and (for all but a few) a two-byte length that
  // counts itself. Only the frame header is read; every other body is skipped with a seek.
  for (int segments = 0; segments < 100000; ++segments) {
    int c = std::fgetc(file);
    if (c != 0xFF) return std::nullopt;
    int marker;
    do marker = std::fgetc(file);
    while (marker == 0xFF);  // fill bytes
    if (marker == EOF) return std::nullopt;
    if (marker == 0xD8 || marker == 0x01 || (marker >= 0xD0 && marker <= 0xD7)) continue;  // no length
    if (marker == 0xD9 || marker == 0xDA) return std::nullopt;  // end, or scan data before any frame
    uint8_t length[2];
    if (std::fread(length, 1, 2, file) != 2) return std::nullopt;
    int bodyLength = (length[0] << 8 | length[1]) - 2;
    if (bodyLength < 0) return std::nullopt;
    if (isStartOfFrame(marker)) {
      uint8_t frame[5];  // precision, height, width
      if (bodyLength < 5 || std::fread(frame, 1, 5, file) != 5) return std::nullopt;
      int height = frame[1] << 8 | frame[2], width = frame[3] << 8 | frame[4];
      // A height of 0 is legal (a DNL marker gives it later) but too rare to chase.
      if (width == 0 || height == 0) return std::nullopt;
      return Size{double(width), double(height)};
    }
    if (std::fseek(file, bodyLength, SEEK_CUR) != 0) return std::nullopt;
  }
  return std::nullopt;
}

}  // namespace vorno::codecs
