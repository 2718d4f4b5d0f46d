// BoxResampler: shrinks a region of an image onto a pixel grid the caller chooses, each output
// pixel the area average of the source it covers. Used where a large picture is drawn smaller
// many times (a capture on a device's screen): resampled once onto the exact device pixels, it is
// then painted with a plain integer-offset copy.
#pragma once

#include "kit/image/image.h"

#include <compare>
#include <cstdint>

namespace vorno {

/// Output pixel (i, j) covers source x in [x + (i - offsetX) / scaleX, x + (i + 1 - offsetX) / scaleX)
/// and likewise in y. Source pixels outside the region repeat its edge pixels.
struct ResampleGrid {
  int x = 0, y = 0, width = 0, height = 0;  ///< the source region, whole pixels inside the image
  double scaleX = 1, scaleY = 1;            ///< output pixels per source pixel, in (0, 1]
  double offsetX = 0, offsetY = 0;          ///< output position of the region's left and top edges
  int outWidth = 0, outHeight = 0;

  auto operator<=>(const ResampleGrid&) const = default;
};

namespace BoxResampler {

/// True when `resample` accepts the grid for `image`: region inside it, scales in (0, 1], sizes
/// positive.
bool accepts(const Image& image, const ResampleGrid& grid);
/// The resampled pixels, same format as `image` (ARGB32 premultiplied or RGB24); a null Image when
/// the grid is not accepted or memory runs out.
Image resample(const Image& image, const ResampleGrid& grid);
/// `resample`, remembered in a small process-wide cache (bounded in bytes) keyed by the source
/// image's id and the grid. An entry doesn't hold its source.
Image cached(const Image& image, const ResampleGrid& grid);
/// Bytes held by that cache now.
int64_t cachedBytes();

/// While it lives, the cache of `cached` holds at most `bytes` (the smallest live limit applies).
/// An export, whose every capture is resampled for one picture only, keeps it small.
class CacheLimit {
 public:
  explicit CacheLimit(int64_t bytes);
  ~CacheLimit();
  CacheLimit(const CacheLimit&) = delete;
  CacheLimit& operator=(const CacheLimit&) = delete;

 private:
  int64_t bytes_;
};

}  // namespace BoxResampler
}  // namespace vorno
