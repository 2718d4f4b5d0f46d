#include "server/tools/asset_image.h"

#include "kit/image/codecs.h"
#include "kit/image/images.h"
#include "kit/util/format.h"
#include "kit/util/read_file.h"
#include "kit/util/vorno_error.h"

namespace vorno::AssetImage {

Size check(const std::string& path, const std::string& name) {
  std::optional<Size> size = Images::pixelSize(path);
  if (!size) throw VornoError::invalid(name + " isn't a readable image.");
  // The header is checked first, so that a few bytes claiming 65500 × 65500 are never read whole.
  if (!codecs::acceptableSize(static_cast<uint64_t>(size->width), static_cast<uint64_t>(size->height)))
    throw VornoError::invalid(name + " is " + formatted("%.0f×%.0f", size->width, size->height) +
                              " px: images may have at most " + std::to_string(codecs::maximumSide) +
                              " px on a side and " +
                              std::to_string(codecs::maximumPixels / 1'000'000) + " million pixels in all. Scale it down and add it again.");
  // Decoding is the one way to know that every row is there; what it costs, a render would pay.
  std::optional<std::string> bytes = readRegularFile(path);
  if (!bytes || !codecs::decode(reinterpret_cast<const uint8_t*>(bytes->data()), bytes->size()))
    throw VornoError::invalid(name + " can't be decoded: the file is cut short or damaged. Save the image again "
                                     "and add the new file.");
  return *size;
}

}  // namespace vorno::AssetImage
