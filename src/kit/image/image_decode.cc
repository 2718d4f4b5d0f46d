#include "kit/image/image_decode.h"

#include "kit/image/codecs.h"

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
  auto bytes = codecs::readFile(path);
  if (!bytes) return std::nullopt;
  return decodeImageData(bytes->data(), bytes->size());
}

void installImageLoaders() { ImageSampler::shared().setLoader(decodeImageFile); }

}  // namespace vorno
