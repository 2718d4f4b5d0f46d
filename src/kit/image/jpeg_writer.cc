// JPEG encoding through libjpeg-turbo. The rows go to the encoder straight from the image's
// memory: cairo's native-endian xRGB words are B G R X bytes on a little-endian machine, which
// libjpeg-turbo reads as JCS_EXT_BGRX without a conversion pass. Premultiplied pixels count as
// composited over black, since a JPEG has no alpha.
//
// libjpeg reports a fatal error through a handler that must not return; ours jumps back with
// longjmp into a frame that holds no C++ object changed after setjmp.
#include "kit/image/jpeg_writer.h"

#include <cstdio>
#include <jpeglib.h>
#include <jerror.h>

#include <bit>
#include <csetjmp>
#include <cstddef>
#include <new>
#include <utility>

namespace vorno::JPEGWriter {
namespace {

static_assert(std::endian::native == std::endian::little, "JCS_EXT_BGRX assumes little-endian pixels");

struct ErrorManager {
  jpeg_error_mgr base;
  std::jmp_buf jump;
};

[[noreturn]] void fail(j_common_ptr info) {
  std::longjmp(reinterpret_cast<ErrorManager*>(info->err)->jump, 1);
}

// Standard output may belong to the protocol: libjpeg's messages are not printed.
void quiet(j_common_ptr) {}

// The output grows in a vector owned by the heap State, so a jump never skips its destructor.
// (libjpeg's own memory destination may leave a freed buffer behind on an error.)
struct State {
  jpeg_compress_struct info{};
  ErrorManager error{};
  jpeg_destination_mgr destination{};
  std::vector<uint8_t> output;
  size_t used = 0;
  bool created = false;
};

State* stateOf(j_compress_ptr info) {
  return static_cast<State*>(info->client_data);
}

bool grow(State* state, size_t size) {
  try {
    state->output.resize(size);
  } catch (...) {
    return false;
  }
  state->destination.next_output_byte = state->output.data() + state->used;
  state->destination.free_in_buffer = state->output.size() - state->used;
  return true;
}

void startDestination(j_compress_ptr info) {
  State* state = stateOf(info);
  state->used = 0;
  if (!grow(state, 1 << 20)) ERREXIT(info, JERR_OUT_OF_MEMORY);
}

boolean emptyDestination(j_compress_ptr info) {
  // Called when the whole buffer is full.
  State* state = stateOf(info);
  state->used = state->output.size();
  if (!grow(state, state->output.size() * 2)) ERREXIT(info, JERR_OUT_OF_MEMORY);
  return TRUE;
}

void finishDestination(j_compress_ptr info) {
  State* state = stateOf(info);
  state->used = state->output.size() - state->destination.free_in_buffer;
}

bool run(State* state, const uint8_t* pixels, int width, int height, int stride, int quality) {
  jpeg_compress_struct* info = &state->info;
  if (setjmp(state->error.jump)) return false;
  jpeg_create_compress(info);
  state->created = true;
  info->client_data = state;
  state->destination.init_destination = startDestination;
  state->destination.empty_output_buffer = emptyDestination;
  state->destination.term_destination = finishDestination;
  info->dest = &state->destination;
  info->image_width = static_cast<JDIMENSION>(width);
  info->image_height = static_cast<JDIMENSION>(height);
  info->input_components = 4;
  info->in_color_space = JCS_EXT_BGRX;
  jpeg_set_defaults(info);
  jpeg_set_quality(info, quality, TRUE);
  info->dct_method = JDCT_ISLOW;
  jpeg_start_compress(info, TRUE);
  while (info->next_scanline < info->image_height) {
    JSAMPROW row = const_cast<JSAMPROW>(pixels + static_cast<size_t>(info->next_scanline) * stride);
    jpeg_write_scanlines(info, &row, 1);
  }
  jpeg_finish_compress(info);
  return true;
}

}  // namespace

int qualityPercent(double quality) {
  if (!(quality >= 0)) quality = 0;  // NaN too
  if (quality > 1) quality = 1;
  int percent = static_cast<int>(quality * 100 + 0.5);
  return percent < 1 ? 1 : percent;
}

std::optional<std::vector<uint8_t>> encode(const Image& image, double quality) {
  if (!image || image.width() <= 0 || image.height() <= 0) return std::nullopt;
  // JPEG sides stop at 65500.
  if (image.width() > 65500 || image.height() > 65500) return std::nullopt;
  auto* state = new (std::nothrow) State;
  if (!state) return std::nullopt;
  state->info.err = jpeg_std_error(&state->error.base);
  state->error.base.error_exit = fail;
  state->error.base.output_message = quiet;
  bool ok = run(state, image.data(), image.width(), image.height(), image.stride(), qualityPercent(quality));
  std::optional<std::vector<uint8_t>> result;
  if (state->created) jpeg_destroy_compress(&state->info);
  if (ok && state->used > 0) {
    state->output.resize(state->used);
    result.emplace(std::move(state->output));
  }
  delete state;
  return result;
}

}  // namespace vorno::JPEGWriter
