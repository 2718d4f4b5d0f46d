// ContactSheet: the whole set side by side, as on a store page: every slide rendered at full
// size, shrunk to a tile, and laid in one row on a light grey ground with rounded tiles.
//
//   ContactSheet::Sheet sheet = ContactSheet::render(project, root, target, "en-US", renderer, 900);
//
// The slides are rendered at once on the process's thread pool; everything below is re-entrant.
#pragma once

#include "kit/image/image.h"
#include "kit/render/render_report.h"

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

/// The measures of a sheet of `count` tiles `tileHeight` pixels high for a target.
struct Geometry {
  int tileWidth = 0;
  int tileHeight = 0;
  int gap = 0;
  int width = 0;
  int height = 0;
  /// Where tile `index` goes.
  int tileX(int index) const { return gap + index * (tileWidth + gap); }
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
