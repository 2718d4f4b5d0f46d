#include "kit/devices/corner_radius_cache.h"

#include "kit/devices/screen_shape.h"
#include "kit/model/coding.h"
#include "kit/util/atomic_write.h"
#include "kit/util/json_output.h"
#include "kit/util/paths.h"
#include "kit/util/read_file.h"

#include <nlohmann/json.hpp>
#include <sys/stat.h>


namespace vorno {

CornerRadiusCache& CornerRadiusCache::shared() {
  static CornerRadiusCache cache([] {
    std::filesystem::path folder = userCachesFolder() / "app.vorno";
    std::error_code ignored;
    std::filesystem::create_directories(folder, ignored);  // a failure shows later as an unwritten file
    return folder / "corner-radii.json";
  }());
  return cache;
}

CornerRadiusCache::CornerRadiusCache(std::filesystem::path file) : file_(std::move(file)) {
  std::optional<std::string> text = readRegularFile(file_);
  if (!text) return;
  Json json;
  try {
    json = parseJSON(*text);  // bounded nesting: a damaged file can't exhaust the stack
  } catch (const std::exception&) {
    return;
  }
  if (!json.is_object()) return;
  // Entries that aren't numbers are dropped one by one; the rest of the file stays useful.
  for (const auto& [key, value] : json.items())
    if (value.is_number()) values_[key] = value.get<double>();
}

std::string CornerRadiusCache::key(const std::string& pdfPath, int width, int height, bool mirrored) {
  struct stat info {};
  long long seconds = ::stat(pdfPath.c_str(), &info) == 0 ? static_cast<long long>(info.st_mtime) : 0;
  std::string key = "v2|" + pdfPath + "|" + std::to_string(width) + "x" + std::to_string(height) + "|" +
                    std::to_string(seconds);
  if (mirrored) key += "|right";
  return key;
}

std::optional<double> CornerRadiusCache::value(const std::string& key) const {
  std::lock_guard guard(lock_);
  auto it = values_.find(key);
  if (it == values_.end()) return std::nullopt;
  return it->second;
}

void CornerRadiusCache::setValue(const std::string& key, double radius) {
  std::lock_guard guard(lock_);
  values_[key] = radius;
}

std::optional<double> CornerRadiusCache::radius(const std::string& pdfPath, int width, int height, bool mirrored) {
  std::string cacheKey = key(pdfPath, width, height, mirrored);
  if (auto hit = value(cacheKey)) return hit;

  // The fit rasterises the mask a few dozen times: no lock while it runs.
  auto fitted = ScreenShape::fitCornerRadius(pdfPath, width, height, mirrored);
  if (!fitted) return std::nullopt;

  {
    std::lock_guard guard(lock_);
    values_[cacheKey] = *fitted;
  }
  // Writers take turns, and each copies the map only once it holds its turn, so the file written
  // last always holds every radius fitted so far. The map's own lock is held for the copy only.
  std::lock_guard writing(writeLock_);
  Json whole = Json::object();
  {
    std::lock_guard guard(lock_);
    for (const auto& [k, v] : values_) whole[k] = v;
  }
  try {
    atomicWrite(file_, documentJSON(whole));
  } catch (...) {
    // A cache that can't be written only costs time on the next run.
  }
  return fitted;
}

}  // namespace vorno
