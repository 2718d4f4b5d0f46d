// Reading image files into Images. The decoders write straight RGBA into a malloc'd buffer; it is
// turned in place into cairo's native premultiplied ARGB32 words (xRGB when every pixel is
// opaque, which lets cairo take its fast opaque paths) and the surface takes the buffer over,
// so a capture is held once, never copied.
#include "kit/image/images.h"

#include "kit/image/codecs.h"
#include "kit/image/vector_image.h"
#include "kit/util/read_file.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>
#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace vorno::Images {
namespace {

const cairo_user_data_key_t pixelBufferKey{};

void freeBuffer(void* buffer) { std::free(buffer); }

// Premultiplies (unless done already) and packs R, G, B, A bytes into native-endian 0xAARRGGBB
// words, four bytes each, in place. Returns whether every pixel was opaque.
bool packARGB(codecs::RGBAPixels& pixels) {
  bool opaque = true;
  const size_t count = static_cast<size_t>(pixels.width) * pixels.height;
  uint8_t* bytes = pixels.bytes.get();
  for (size_t i = 0; i < count; ++i) {
    uint8_t* p = bytes + i * 4;
    uint32_t r = p[0], g = p[1], b = p[2], a = p[3];
    if (a != 255) {
      opaque = false;
      if (!pixels.premultiplied) {
        r = (r * a + 127) / 255;
        g = (g * a + 127) / 255;
        b = (b * a + 127) / 255;
      }
    }
    uint32_t word = a << 24 | r << 16 | g << 8 | b;
    std::memcpy(p, &word, 4);
  }
  return opaque;
}

Image imageFromPixels(codecs::RGBAPixels pixels) {
  bool opaque = packARGB(pixels);
  cairo_format_t format = opaque ? CAIRO_FORMAT_RGB24 : CAIRO_FORMAT_ARGB32;
  const int stride = pixels.width * 4;
  if (cairo_format_stride_for_width(format, pixels.width) != stride) return {};
  cairo_surface_t* surface =
      cairo_image_surface_create_for_data(pixels.bytes.get(), format, pixels.width, pixels.height, stride);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return {};
  }
  if (cairo_surface_set_user_data(surface, &pixelBufferKey, pixels.bytes.get(), &freeBuffer) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return {};
  }
  pixels.bytes.release();  // the surface frees it now
  return Image::adopt(surface);
}

bool fileExists(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) == 0) return true;
  // Only a missing file is "not found"; a file we may not read is there, just unreadable.
  return errno != ENOENT && errno != ENOTDIR;
}

}  // namespace

Image load(const std::string& path) {
  if (path.empty() || !fileExists(path)) throw VornoError::notFound("Image not found: " + path);
  // A pipe or a device is never opened by name below (the vector readers would wait on it).
  if (!codecs::openRegular(path)) throw VornoError::invalid("Not a readable image: " + path);
  if (std::optional<std::string> bytes = readRegularFile(path)) {
    if (auto pixels = codecs::decode(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size())) {
      if (Image image = imageFromPixels(std::move(*pixels))) return image;
    }
  }
  // A vector file read as a bitmap comes out at its natural size; drawing code that knows the
  // size of its use rasterises it itself (VectorImage).
  if (VectorImage::isVector(path)) {
    if (Image image = VectorImage::rasterize(path, 1)) return image;
  }
  throw VornoError::invalid("Not a readable image: " + path);
}

std::optional<Size> pixelSize(const std::string& path) {
  // Everything below, the vector readers included, opens the path again by name: only a regular
  // file gets that far, so a pipe or device in the package can't block a layout.
  auto file = codecs::openRegular(path);
  if (!file) return std::nullopt;
  uint8_t head[32] = {};
  size_t count = std::fread(head, 1, sizeof head, file.get());
  switch (codecs::sniff(head, count)) {
    case codecs::Format::png: return codecs::pngSize(head, count);
    case codecs::Format::webp: return codecs::webpSize(head, count);
    case codecs::Format::jpeg:
      if (std::fseek(file.get(), 0, SEEK_SET) != 0) return std::nullopt;
      return codecs::jpegSize(file.get());
    case codecs::Format::tiff: return codecs::tiffSize(path);
    case codecs::Format::heif: return codecs::heifSize(path);
    case codecs::Format::unknown: break;
  }
  if (VectorImage::isVector(path)) return VectorImage::naturalSize(path);
  return std::nullopt;
}

std::optional<double> modificationTime(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  return static_cast<double>(info.st_mtim.tv_sec) + static_cast<double>(info.st_mtim.tv_nsec) / 1e9;
}

}  // namespace vorno::Images
