// The loop check of a video compares the picture before its first frame with the one after its
// last; this is the measure it uses.
#include "kit/image/images.h"

#include <cstdint>
#include <cstdlib>

namespace vorno::Images {

double pixelDifference(const Image& a, const Image& b) {
  if (!a || !b) return a || b ? 1 : 0;
  if (a.width() != b.width() || a.height() != b.height()) return 1;
  int64_t pixels = static_cast<int64_t>(a.width()) * a.height();
  if (pixels == 0) return 0;
  // Both pictures are taken opaque over black. Their pixels are premultiplied (or opaque), so
  // the colour bytes as stored already are the picture over black: nothing needs drawing.
  int64_t differing = 0;
  for (int y = 0; y < a.height(); ++y) {
    const auto* rowA = reinterpret_cast<const uint32_t*>(a.data() + static_cast<size_t>(y) * a.stride());
    const auto* rowB = reinterpret_cast<const uint32_t*>(b.data() + static_cast<size_t>(y) * b.stride());
    for (int x = 0; x < a.width(); ++x) {
      uint32_t p = rowA[x], q = rowB[x];
      int delta = std::abs(static_cast<int>(p >> 16 & 0xff) - static_cast<int>(q >> 16 & 0xff)) +
                  std::abs(static_cast<int>(p >> 8 & 0xff) - static_cast<int>(q >> 8 & 0xff)) +
                  std::abs(static_cast<int>(p & 0xff) - static_cast<int>(q & 0xff));
      differing += delta > 6;
    }
  }
  return static_cast<double>(differing) / static_cast<double>(pixels);
}

}  // namespace vorno::Images
