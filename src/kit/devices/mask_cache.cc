#include "kit/devices/mask_cache.h"

namespace vorno {

MaskCache& MaskCache::shared() {
  static MaskCache cache;
  return cache;
}

std::string MaskCache::key(const std::string& pdfPath, int width, int height) {
  return pdfPath + "@" + std::to_string(width) + "x" + std::to_string(height);
}

std::optional<MaskImage> MaskCache::image(const std::string& key) const {
  std::lock_guard guard(lock_);
  auto it = images_.find(key);
  if (it == images_.end()) return std::nullopt;
  return it->second;
}

void MaskCache::insert(const std::string& key, MaskImage image) {
  std::lock_guard guard(lock_);
  images_[key] = std::move(image);
  // Emptying everything at the cap is simpler than an eviction order and costs little: an export
  // works through few mask sizes at a time, so the cache refills with what is in use.
  if (images_.size() > capacity) images_.clear();
}

size_t MaskCache::count() const {
  std::lock_guard guard(lock_);
  return images_.size();
}

void MaskCache::removeAll() {
  std::lock_guard guard(lock_);
  images_.clear();
}

}  // namespace vorno
