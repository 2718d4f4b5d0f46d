// How it works: a lookup stats the file for its modification time and asks the map for
// "path|mtime". On a miss the loader decodes the image outside the lock, the thumbnail is drawn
// with an area-averaging (box) filter in premultiplied alpha, and the new entry replaces every
// entry of the same path. Two threads that miss together both build the thumbnail; the later one
// wins, which costs a little work and never a wrong answer.
#include "kit/model/image_sampler.h"

#include <sys/stat.h>

#include <algorithm>
#include <cmath>

namespace vorno {
namespace {

// Nanoseconds matter: a file rewritten within the same second must still miss.
std::optional<std::string> modificationStamp(const std::string& path) {
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return std::nullopt;
  char nanoseconds[16];
  std::snprintf(nanoseconds, sizeof nanoseconds, "%09ld", static_cast<long>(info.st_mtim.tv_nsec));
  return std::to_string(static_cast<long long>(info.st_mtim.tv_sec)) + "." + nanoseconds;
}

bool isWellFormed(const DecodedImage& image) {
  return image.width > 0 && image.height > 0 &&
         image.rgba.size() >= static_cast<size_t>(image.width) * static_cast<size_t>(image.height) * 4;
}

struct Tap {
  int source;
  float weight;
};

// For each destination index, the source indices it covers and the share of each, so that the
// weights of one destination pixel add up to 1. Shrinking averages whole areas; enlarging lands
// between at most two source pixels and blends them by how much of each it covers.
std::vector<std::vector<Tap>> boxTaps(int sourceCount, int destinationCount) {
  std::vector<std::vector<Tap>> taps(destinationCount);
  double span = static_cast<double>(sourceCount) / destinationCount;
  for (int d = 0; d < destinationCount; ++d) {
    double start = d * span, end = (d + 1) * span;
    int first = static_cast<int>(std::floor(start));
    int last = std::min(sourceCount - 1, static_cast<int>(std::ceil(end)) - 1);
    for (int s = first; s <= last; ++s) {
      double overlap = std::min(end, s + 1.0) - std::max(start, static_cast<double>(s));
      if (overlap > 0) taps[d].push_back({s, static_cast<float>(overlap / span)});
    }
    if (taps[d].empty()) taps[d].push_back({std::clamp(first, 0, sourceCount - 1), 1.0f});
  }
  return taps;
}

}  // namespace

ImageSampler& ImageSampler::shared() {
  static ImageSampler sampler;
  return sampler;
}

void ImageSampler::setLoader(Loader loader) {
  std::lock_guard lock(mutex_);
  loader_ = std::move(loader);
}

size_t ImageSampler::entryCount() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

void ImageSampler::removeAll() {
  std::lock_guard lock(mutex_);
  entries_.clear();
}

std::shared_ptr<const Thumbnail> ImageSampler::thumbnail(const std::string& path) {
  auto stamp = modificationStamp(path);
  if (!stamp) return nullptr;
  std::string key = path + "|" + *stamp;

  Loader loader;
  {
    std::lock_guard lock(mutex_);
    if (auto it = entries_.find(key); it != entries_.end()) return it->second;
    loader = loader_;
  }
  // Without a loader nothing is remembered: one may be installed later.
  if (!loader) return nullptr;

  std::shared_ptr<const Thumbnail> made;
  if (auto image = loader(path); image && isWellFormed(*image))
    made = std::make_shared<const Thumbnail>(makeThumbnail(*image));

  std::lock_guard lock(mutex_);
  // Entries of this path sit together in key order right after "path|"; a key belongs to this
  // path only when its last "|" is the one after the path (stamps carry no "|").
  std::string prefix = path + "|";
  for (auto it = entries_.lower_bound(prefix); it != entries_.end() && it->first.starts_with(prefix);) {
    if (it->first.rfind('|') == path.size())
      it = entries_.erase(it);
    else
      ++it;
  }
  entries_[key] = made;
  return made;
}

Thumbnail ImageSampler::makeThumbnail(const DecodedImage& image) {
  Thumbnail out;
  if (!isWellFormed(image)) return out;
  const int width = thumbnailWidth;
  const double exactHeight = static_cast<double>(image.height) * width / std::max(image.width, 1);
  const int height = std::clamp(static_cast<int>(exactHeight), 1, maximumThumbnailHeight);
  out.width = width;
  out.height = height;
  out.rgba.assign(static_cast<size_t>(width) * height * 4, 0);

  auto columns = boxTaps(image.width, width);
  auto rows = boxTaps(image.height, height);

  // First pass: every source row shrunk to 48 premultiplied pixels.
  std::vector<float> narrow(static_cast<size_t>(image.height) * width * 4, 0.0f);
  for (int y = 0; y < image.height; ++y) {
    const uint8_t* source = image.rgba.data() + static_cast<size_t>(y) * image.width * 4;
    float* target = narrow.data() + static_cast<size_t>(y) * width * 4;
    for (int x = 0; x < width; ++x) {
      float sum[4] = {0, 0, 0, 0};
      for (const Tap& tap : columns[x]) {
        const uint8_t* p = source + static_cast<size_t>(tap.source) * 4;
        float alpha = p[3] / 255.0f;
        sum[0] += tap.weight * p[0] * alpha;
        sum[1] += tap.weight * p[1] * alpha;
        sum[2] += tap.weight * p[2] * alpha;
        sum[3] += tap.weight * p[3];
      }
      std::copy(sum, sum + 4, target + x * 4);
    }
  }
  // Second pass: the columns shrunk to the thumbnail's height.
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      float sum[4] = {0, 0, 0, 0};
      for (const Tap& tap : rows[y]) {
        const float* p = narrow.data() + (static_cast<size_t>(tap.source) * width + x) * 4;
        for (int c = 0; c < 4; ++c) sum[c] += tap.weight * p[c];
      }
      uint8_t* target = out.rgba.data() + (static_cast<size_t>(y) * width + x) * 4;
      for (int c = 0; c < 4; ++c) target[c] = static_cast<uint8_t>(std::clamp(std::lround(sum[c]), 0L, 255L));
    }
  }
  return out;
}

}  // namespace vorno
