// CornerRadiusCache: corner radii fitted to screen masks, remembered on disk because the fit
// rasterises a mask dozens of times. The file is a JSON object of key to radius in pixels, in the
// user's caches folder under app.vorno/corner-radii.json, written whole and atomically. A key
// holds the mask's path, the size and the mask's modification time, so a changed mask or a new
// toolchain misses by itself; the leading "v2|" retires entries of older fits.
#pragma once

#include <filesystem>
#include <map>
#include <mutex>
#include <optional>
#include <string>

namespace vorno {

class CornerRadiusCache {
 public:
  /// The process's cache, on the file in the user's caches folder (the folder is made if needed).
  static CornerRadiusCache& shared();
  /// A cache on `file`: read now if it exists; a missing or undecodable file is an empty map.
  explicit CornerRadiusCache(std::filesystem::path file);
  CornerRadiusCache(const CornerRadiusCache&) = delete;
  CornerRadiusCache& operator=(const CornerRadiusCache&) = delete;

  /// "v2|<path>|<width>x<height>|<mtime seconds>" and "|right" when mirrored.
  static std::string key(const std::string& pdfPath, int width, int height, bool mirrored);

  /// The remembered radius, or a fresh fit (stored and written to the file); nothing if the mask
  /// can't be fitted. No lock is held while fitting: two threads may fit one key at once.
  std::optional<double> radius(const std::string& pdfPath, int width, int height, bool mirrored);

  /// The map alone, without fitting.
  std::optional<double> value(const std::string& key) const;
  /// Enters a radius in memory only: a display that states its corners needs no fit.
  void setValue(const std::string& key, double radius);

  const std::filesystem::path& file() const { return file_; }

 private:
  std::filesystem::path file_;
  mutable std::mutex lock_;  ///< guards values_ only
  std::map<std::string, double> values_;
  std::mutex writeLock_;  ///< one file write at a time, never held while fitting
};

}  // namespace vorno
