// ImageSampler: the small thumbnail store behind image fills' `sample` and `averageColor`, so that
// contrast checks at many points never decode an image more than once.
//
// A thumbnail is 48 pixels wide and as high as the image's aspect ratio asks, RGBA with 8 bits a
// channel and premultiplied alpha, the way a bitmap that the image was drawn into holds it. The
// decoding itself belongs to the rendering side, which installs a loader (`setLoader`); without
// one every image reads as missing.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

/// A decoded image: straight (not premultiplied) alpha, rows top to bottom, 4 bytes a pixel.
struct DecodedImage {
  int width = 0, height = 0;
  std::vector<uint8_t> rgba;
  bool operator==(const DecodedImage&) const = default;
};

/// A downscaled image: premultiplied RGBA, rows top to bottom, 4 bytes a pixel.
struct Thumbnail {
  int width = 0, height = 0;
  std::vector<uint8_t> rgba;
  bool operator==(const Thumbnail&) const = default;

  const uint8_t* pixel(int column, int row) const {
    return rgba.data() + (static_cast<size_t>(row) * width + column) * 4;
  }
};

class ImageSampler {
 public:
  using Loader = std::function<std::optional<DecodedImage>(const std::string& path)>;

  static constexpr int thumbnailWidth = 48;
  /// Rows are capped so that a needle-thin image cannot ask for a huge bitmap; below an aspect of
  /// 1:100 the height follows the image exactly.
  static constexpr int maximumThumbnailHeight = thumbnailWidth * 100;

  /// The process-wide store that fills sample through.
  static ImageSampler& shared();

  ImageSampler() = default;
  ImageSampler(const ImageSampler&) = delete;
  ImageSampler& operator=(const ImageSampler&) = delete;

  void setLoader(Loader loader);

  /// The thumbnail of the file at `path` as it is on disk now; nothing when the file is missing,
  /// no loader is installed or the loader cannot read it.
  std::shared_ptr<const Thumbnail> thumbnail(const std::string& path);

  /// Draws an image 48 pixels wide with area-averaging, the thumbnail's own drawing.
  static Thumbnail makeThumbnail(const DecodedImage& image);

  /// Number of entries held, for tests of replacement.
  size_t entryCount() const;
  void removeAll();

 private:
  mutable std::mutex mutex_;
  Loader loader_;
  // Key: path, "|", modification time. A null entry remembers a file that could not be read, so
  // a broken image is not decoded again at every sample.
  std::map<std::string, std::shared_ptr<const Thumbnail>> entries_;
};

}  // namespace vorno
