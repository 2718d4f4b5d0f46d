// HEIC (and AVIF) through libheif: the primary image, with its rotation and mirroring applied,
// decoded to interleaved RGBA. The size comes from the item properties that libheif reads while
// opening the file; no pixel is decoded for it.
#include "kit/image/codecs.h"

#include <libheif/heif.h>

#include <cstring>

namespace vorno::codecs {
namespace {

using ContextPtr = std::unique_ptr<heif_context, decltype(&heif_context_free)>;
using HandlePtr = std::unique_ptr<heif_image_handle, decltype(&heif_image_handle_release)>;
using ImagePtr = std::unique_ptr<heif_image, decltype(&heif_image_release)>;

ContextPtr newContext() {
  ContextPtr context(heif_context_alloc(), &heif_context_free);
  if (context) heif_context_set_maximum_image_size_limit(context.get(), static_cast<int>(maximumSide));
  return context;
}

HandlePtr primaryImage(heif_context* context) {
  heif_image_handle* handle = nullptr;
  if (heif_context_get_primary_image_handle(context, &handle).code != heif_error_Ok) handle = nullptr;
  return HandlePtr(handle, &heif_image_handle_release);
}

}  // namespace

std::optional<RGBAPixels> decodeHEIF(const uint8_t* data, size_t size) {
  ContextPtr context = newContext();
  if (!context || heif_context_read_from_memory_without_copy(context.get(), data, size, nullptr).code != heif_error_Ok)
    return std::nullopt;
  HandlePtr handle = primaryImage(context.get());
  if (!handle) return std::nullopt;
  int width = heif_image_handle_get_width(handle.get()), height = heif_image_handle_get_height(handle.get());
  if (width <= 0 || height <= 0 || !acceptableSize(uint64_t(width), uint64_t(height))) return std::nullopt;
  heif_image* decoded = nullptr;
  if (heif_decode_image(handle.get(), &decoded, heif_colorspace_RGB, heif_chroma_interleaved_RGBA, nullptr).code !=
      heif_error_Ok)
    return std::nullopt;
  ImagePtr image(decoded, &heif_image_release);
  int stride = 0;
  const uint8_t* plane = heif_image_get_plane_readonly(image.get(), heif_channel_interleaved, &stride);
  int planeWidth = heif_image_get_width(image.get(), heif_channel_interleaved);
  int planeHeight = heif_image_get_height(image.get(), heif_channel_interleaved);
  if (!plane || planeWidth <= 0 || planeHeight <= 0 || stride < planeWidth * 4) return std::nullopt;
  auto pixels = RGBAPixels::allocate(uint64_t(planeWidth), uint64_t(planeHeight));
  if (!pixels) return std::nullopt;
  for (int y = 0; y < planeHeight; ++y)
    std::memcpy(pixels->row(y), plane + static_cast<size_t>(y) * stride, static_cast<size_t>(planeWidth) * 4);
  pixels->premultiplied = heif_image_handle_is_premultiplied_alpha(handle.get()) != 0;
  return pixels;
}

std::optional<Size> heifSize(const std::string& path) {
  ContextPtr context = newContext();
  if (!context || heif_context_read_from_file(context.get(), path.c_str(), nullptr).code != heif_error_Ok)
    return std::nullopt;
  HandlePtr handle = primaryImage(context.get());
  if (!handle) return std::nullopt;
  int width = heif_image_handle_get_width(handle.get()), height = heif_image_handle_get_height(handle.get());
  if (width <= 0 || height <= 0) return std::nullopt;
  return Size{double(width), double(height)};
}

}  // namespace vorno::codecs
