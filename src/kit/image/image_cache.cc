// Both caches look up under their lock and decode outside it: two threads asking for one new
// file both decode it, and the later store wins. That costs a decode now and then and never
// holds every other reader behind a slow file.
#include "kit/image/image_cache.h"

#include "kit/image/images.h"
#include "kit/image/video_frames.h"
#include "kit/util/lru_cache.h"

#include <algorithm>
#include <map>
#include <set>
#include <mutex>

namespace vorno {

namespace {
constexpr int64_t imageCacheBytes = 402653184;  // 384 MiB of decoded pixels
}

struct ImageCache::State {
  struct Entry {
    double mtime = 0;
    Image image;
  };
  mutable std::mutex lock;
  LRUCache<std::string, Entry> entries{LRUCache<std::string, Entry>::unlimited, imageCacheBytes};
  std::multiset<int64_t> limits;  // of the live Limit objects

  void applyLimits() { entries.setCostLimit(limits.empty() ? imageCacheBytes : std::min(*limits.begin(), imageCacheBytes)); }
};

ImageCache::Limit::Limit(ImageCache& cache, int64_t bytes) : cache_(cache), bytes_(bytes) {
  std::lock_guard guard(cache_.state_->lock);
  cache_.state_->limits.insert(bytes_);
  cache_.state_->applyLimits();
}

ImageCache::Limit::~Limit() {
  std::lock_guard guard(cache_.state_->lock);
  cache_.state_->limits.erase(cache_.state_->limits.find(bytes_));
  cache_.state_->applyLimits();
}

int64_t ImageCache::byteCount() const {
  std::lock_guard guard(state_->lock);
  return state_->entries.totalCost();
}

int64_t ImageCache::byteLimit() const {
  std::lock_guard guard(state_->lock);
  return state_->entries.costLimit();
}

ImageCache& ImageCache::shared() {
  static ImageCache cache;
  return cache;
}

ImageCache::ImageCache() : state_(std::make_unique<State>()) {}
ImageCache::~ImageCache() = default;

Image ImageCache::image(const std::string& path) {
  // A moment of a recording: VideoFrames keeps its own cache of decoded pictures, keyed by the
  // recording, its modification time and the moment, so two moments are two pictures.
  if (auto stamp = VideoFrames::parse(path)) return VideoFrames::frame(stamp->first, stamp->second);
  // A recording on a still picture (a slide, a creative without motion) shows its first moment.
  if (VideoFrames::isRecording(path)) return VideoFrames::frame(path, 0);
  double mtime = Images::modificationTime(path).value_or(0);
  {
    std::lock_guard guard(state_->lock);
    if (auto entry = state_->entries.value(path); entry && entry->mtime == mtime) return entry->image;
  }
  Image image = Images::load(path);
  {
    std::lock_guard guard(state_->lock);
    state_->entries.setValue({mtime, image}, path, image.byteCount());
  }
  return image;
}

void ImageCache::removeAll() {
  std::lock_guard guard(state_->lock);
  state_->entries.removeAll();
}

struct ImageSizeCache::State {
  struct Entry {
    double mtime = 0;
    Size size;
  };
  std::mutex lock;
  std::map<std::string, Entry> sizes;
};

ImageSizeCache& ImageSizeCache::shared() {
  static ImageSizeCache cache;
  return cache;
}

ImageSizeCache::ImageSizeCache() : state_(std::make_unique<State>()) {}
ImageSizeCache::~ImageSizeCache() = default;

std::optional<Size> ImageSizeCache::size(const std::string& path) {
  // Every frame of a recording has the recording's size: one entry for all its times.
  auto frame = VideoFrames::parse(path);
  const std::string& file = frame ? frame->first : path;
  auto mtime = Images::modificationTime(file);
  if (!mtime) return std::nullopt;
  {
    std::lock_guard guard(state_->lock);
    auto found = state_->sizes.find(file);
    if (found != state_->sizes.end() && found->second.mtime == *mtime) return found->second.size;
  }
  auto size = frame || VideoFrames::isRecording(file) ? VideoFrames::pixelSize(file) : Images::pixelSize(file);
  if (!size) return std::nullopt;
  {
    std::lock_guard guard(state_->lock);
    state_->sizes[file] = {*mtime, *size};
  }
  return size;
}

}  // namespace vorno
