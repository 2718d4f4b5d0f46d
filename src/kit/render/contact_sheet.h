// ContactSheet: the whole set side by side, as on a store page: every slide rendered at full
// size, shrunk to a tile, and laid in one row on a light grey ground with rounded tiles. A set
// too long for one row within the sheet's bound (maxSide pixels a side, maxPixels in all) wraps
// into rows of equal length, read left to right and top to bottom, and its tiles shrink as far
// as it takes to fit; so a sheet of any number of slides can be drawn.
//
//   ContactSheet::Sheet sheet = ContactSheet::render(project, root, target, "en-US", renderer, 900);
//
// The slides are rendered at once on the process's thread pool; everything below is re-entrant.
#pragma once

#include "kit/image/image.h"
#include "kit/render/render_report.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace vorno {

struct Project;
struct StoreTarget;
class SlideRenderer;

namespace ContactSheet {

struct Sheet {
  Image image;
  std::vector<RenderReport> reports;  ///< one per slide, in slide order
};

/// One slide's part of the sheet: its picture (any size; it is drawn into the tile) and report.
struct Tile {
  Image image;
  RenderReport report;
};

/// The most pixels on a side of a sheet.
inline constexpr int maxSide = 16384;
/// The most pixels of a sheet, 2^25: 128 MB of canvas, and as much again in tiles.
inline constexpr int64_t maxPixels = int64_t(1) << 25;

/// The measures of a sheet of `count` tiles for a target: one row of tiles `tileHeight` pixels
/// high when it fits the bound, else rows of smaller tiles that do.
struct Geometry {
  int tileWidth = 0;
  int tileHeight = 0;
  int gap = 0;
  int columns = 1;  ///< tiles in a row
  int rows = 1;
  int width = 0;
  int height = 0;
  /// Where tile `index` goes.
  int tileX(int index) const { return gap + (index % columns) * (tileWidth + gap); }
  int tileY(int index) const { return gap + (index / columns) * (tileHeight + gap); }
};
Geometry geometry(const StoreTarget& target, int tileHeight, int count);

/// Every slide of the project on the target in the locale. Throws invalid "The project has no
/// slides." without slides, and a slide's failure after every other slide has finished.
Sheet render(const Project& project, const std::string& root, const StoreTarget& target, const std::string& locale,
             const SlideRenderer& renderer, int tileHeight);

/// The sheet of `count` tiles, each made by `makeTile(index)` on the thread pool. The first
/// failure is thrown once all tiles are done.
Sheet render(int count, const StoreTarget& target, int tileHeight, const std::function<Tile(size_t)>& makeTile);

}  // namespace ContactSheet
}  // namespace vorno
