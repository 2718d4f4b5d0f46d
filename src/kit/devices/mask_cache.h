// MaskCache: screen masks already rendered, by PDF path and pixel size. Masks are rendered at the
// size of their use, which differs per slide, so the size is part of the key; instead of an
// eviction order the whole map is emptied when it would pass 32 images, since an export touches
// few sizes at a time. The lock is held around map access only, never while rendering.
#pragma once

#include "kit/devices/mask_image.h"

#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace vorno {

class MaskCache {
 public:
  static constexpr size_t capacity = 32;

  static MaskCache& shared();
  MaskCache() = default;
  MaskCache(const MaskCache&) = delete;
  MaskCache& operator=(const MaskCache&) = delete;

  /// "<path>@<width>x<height>".
  static std::string key(const std::string& pdfPath, int width, int height);

  std::optional<MaskImage> image(const std::string& key) const;
  /// Stores the image; an insertion that brings the map to 33 or more empties it, new image included.
  void insert(const std::string& key, MaskImage image);
  size_t count() const;
  void removeAll();

 private:
  mutable std::mutex lock_;
  std::map<std::string, MaskImage> images_;
};

}  // namespace vorno
