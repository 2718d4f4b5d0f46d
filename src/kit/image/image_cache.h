// The process-wide caches of decoded images and of image sizes. Both go by path and
// modification time, so a file changed on disk is read again at its next use. Each holds its
// lock around the map only, never while decoding.
#pragma once

#include "kit/image/image.h"
#include "kit/util/geometry.h"

#include <memory>
#include <optional>
#include <string>

namespace vorno {

/// Decoded images, at most 384 MiB of pixels, least recently used leaving first.
class ImageCache {
 public:
  static ImageCache& shared();
  ImageCache();
  ~ImageCache();
  ImageCache(const ImageCache&) = delete;
  ImageCache& operator=(const ImageCache&) = delete;

  /// The decoded image at `path`; a "<video>@t=<seconds>" path names a frame of a recording.
  /// Throws VornoError as Images::load does.
  Image image(const std::string& path);
  void removeAll();

  /// While it lives, the cache holds at most `bytes` (the smallest of the live limits applies):
  /// an export bounds what its decoded captures keep resident.
  class Limit {
   public:
    Limit(ImageCache& cache, int64_t bytes);
    ~Limit();
    Limit(const Limit&) = delete;
    Limit& operator=(const Limit&) = delete;

   private:
    ImageCache& cache_;
    int64_t bytes_;
  };
  /// Bytes of pixels held now, and the limit in force.
  int64_t byteCount() const;
  int64_t byteLimit() const;

 private:
  struct State;
  std::unique_ptr<State> state_;
};

/// Pixel sizes from file headers; a video frame path is sized from its recording.
class ImageSizeCache {
 public:
  static ImageSizeCache& shared();
  ImageSizeCache();
  ~ImageSizeCache();
  ImageSizeCache(const ImageSizeCache&) = delete;
  ImageSizeCache& operator=(const ImageSizeCache&) = delete;

  /// Nothing for a missing or unreadable file (and that answer is not remembered).
  std::optional<Size> size(const std::string& path);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorno
