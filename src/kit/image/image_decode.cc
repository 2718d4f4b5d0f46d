#include "kit/image/image_decode.h"

#include "kit/image/codecs.h"
#include "kit/image/vector_image.h"
#include "kit/util/read_file.h"

#include <algorithm>
#include <cstring>

namespace vorno {

std::optional<DecodedImage> decodeImageData(const uint8_t* data, size_t size) {
  auto pixels = codecs::decode(data, size);
  if (!pixels) return std::nullopt;
  DecodedImage image;
  image.width = pixels->width;
  image.height = pixels->height;
  image.rgba.assign(pixels->bytes.get(), pixels->bytes.get() + pixels->byteCount());
  if (pixels->premultiplied) {
    // Back to straight alpha, which is what a DecodedImage promises.
    for (size_t i = 0; i < image.rgba.size(); i += 4) {
      unsigned a = image.rgba[i + 3];
      if (a == 255) continue;
      for (int c = 0; c < 3; ++c)
        image.rgba[i + c] = a == 0 ? 0 : static_cast<uint8_t>(std::min(255u, (image.rgba[i + c] * 255u + a / 2) / a));
    }
  }
  return image;
}

std::optional<DecodedImage> decodeImageFile(const std::string& path) {
  std::optional<std::string> bytes = readRegularFile(path);
  if (!bytes) return std::nullopt;
  return decodeImageData(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size());
}

namespace {

// Straight RGBA of a premultiplied ARGB32 (or xRGB) image.
DecodedImage decodedFromImage(const Image& image) {
  DecodedImage decoded;
  decoded.width = image.width();
  decoded.height = image.height();
  decoded.rgba.resize(static_cast<size_t>(decoded.width) * decoded.height * 4);
  for (int y = 0; y < decoded.height; ++y) {
    const uint8_t* row = image.data() + static_cast<size_t>(y) * image.stride();
    for (int x = 0; x < decoded.width; ++x) {
      uint32_t word;
      std::memcpy(&word, row + x * 4, 4);
      uint32_t a = image.hasAlpha() ? word >> 24 : 255;
      uint8_t* out = &decoded.rgba[(static_cast<size_t>(y) * decoded.width + x) * 4];
      for (int c = 0; c < 3; ++c) {
        uint32_t v = (word >> (16 - 8 * c)) & 0xFF;
        out[c] = a == 0 ? 0 : static_cast<uint8_t>(std::min(255u, (v * 255u + a / 2) / a));
      }
      out[3] = static_cast<uint8_t>(a);
    }
  }
  return decoded;
}

// What an image fill shows, as pixels: SVG and PDF drawn at their natural size (a thumbnail is
// 48 pixels wide, so more would be wasted), everything else decoded.
std::optional<DecodedImage> decodeImageFillPicture(const std::string& path) {
  if (VectorImage::isVector(path)) {
    Image image = VectorImage::rasterize(path, 1);
    if (!image) return std::nullopt;
    return decodedFromImage(image);
  }
  return decodeImageFile(path);
}

}  // namespace

void installImageLoaders() { ImageSampler::shared().setLoader(decodeImageFillPicture); }

}  // namespace vorno
