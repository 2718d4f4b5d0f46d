#include "kit/render/contact_sheet.h"

#include "kit/image/canvas.h"
#include "kit/image/cairo_util.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/slide_renderer.h"
#include "kit/util/thread_pool.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>

namespace vorno::ContactSheet {
namespace {

void addRoundedRect(cairo_t* cr, const Rect& rect, double radius) {
  radius = std::min({radius, rect.width / 2, rect.height / 2});
  cairo_new_sub_path(cr);
  cairo_arc(cr, rect.maxX() - radius, rect.minY() + radius, radius, -M_PI / 2, 0);
  cairo_arc(cr, rect.maxX() - radius, rect.maxY() - radius, radius, 0, M_PI / 2);
  cairo_arc(cr, rect.minX() + radius, rect.maxY() - radius, radius, M_PI / 2, M_PI);
  cairo_arc(cr, rect.minX() + radius, rect.minY() + radius, radius, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
}

}  // namespace

namespace {

// Tiles `tileHeight` high in rows of `columns`, as few rows as that allows, then as few columns
// as those rows need: the last row is never much shorter than the others.
Geometry grid(const StoreTarget& target, int tileHeight, int count, int columns) {
  Geometry g;
  g.tileHeight = std::max(tileHeight, 1);
  g.tileWidth = std::max(1, static_cast<int>(static_cast<double>(target.width) / target.height * g.tileHeight));
  g.gap = g.tileHeight / 30;
  count = std::max(count, 1);
  g.rows = (count + columns - 1) / columns;
  g.columns = (count + g.rows - 1) / g.rows;
  g.width = g.gap + g.columns * (g.tileWidth + g.gap);
  g.height = g.gap + g.rows * (g.tileHeight + g.gap);
  return g;
}

bool withinBound(const Geometry& g) {
  return g.width <= maxSide && g.height <= maxSide && int64_t(g.width) * g.height <= maxPixels;
}

}  // namespace

Geometry geometry(const StoreTarget& target, int tileHeight, int count) {
  Geometry row = grid(target, tileHeight, count, std::max(count, 1));
  if (withinBound(row)) return row;
  // Shrinking by 3% a step: from 900 pixels to 1 takes about 220 steps of plain arithmetic.
  for (double height = std::max(tileHeight, 1);; height *= 0.97) {
    const int h = std::max(1, static_cast<int>(height));
    const Geometry one = grid(target, h, 1, 1);
    const int columns = std::max(1, (maxSide - one.gap) / (one.tileWidth + one.gap));
    Geometry g = grid(target, h, count, columns);
    if (withinBound(g) || h == 1) return g;
  }
}

Sheet render(int count, const StoreTarget& target, int tileHeight, const std::function<Tile(size_t)>& makeTile) {
  if (count <= 0) throw VornoError::invalid("The project has no slides.");
  const Geometry g = geometry(target, tileHeight, count);

  std::vector<Tile> tiles(static_cast<size_t>(count));
  std::mutex lock;  // guards `tiles` and `failure` only, never the rendering
  std::exception_ptr failure;
  ThreadPool::parallelFor(tiles.size(), [&](size_t index) {
    try {
      Tile tile = makeTile(index);
      std::lock_guard guard(lock);
      tiles[index] = std::move(tile);
    } catch (...) {
      std::lock_guard guard(lock);
      if (!failure) failure = std::current_exception();
    }
  });
  if (failure) std::rethrow_exception(failure);

  Canvas canvas = Canvas::opaque(g.width, g.height);
  cairo_t* cr = canvas.context();
  setColor(cr, *RGBColor::fromHex("#D3D8E0"));
  cairo_paint(cr);
  Sheet sheet;
  for (int i = 0; i < count; ++i) {
    Tile& tile = tiles[static_cast<size_t>(i)];
    sheet.reports.push_back(std::move(tile.report));
    if (!tile.image) continue;
    Rect rect{static_cast<double>(g.tileX(i)), static_cast<double>(g.tileY(i)), static_cast<double>(g.tileWidth),
              static_cast<double>(g.tileHeight)};
    CairoSaved saved(cr);
    addRoundedRect(cr, rect, 0.05 * g.tileWidth);
    cairo_clip(cr);
    cairo_translate(cr, rect.x, rect.y);
    cairo_scale(cr, rect.width / tile.image.width(), rect.height / tile.image.height());
    cairo_set_source_surface(cr, tile.image.surface(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    cairo_paint(cr);
  }
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Render failed.");
  sheet.image = canvas.finish();
  return sheet;
}

Sheet render(const Project& project, const std::string& root, const StoreTarget& target, const std::string& locale,
             const SlideRenderer& renderer, int tileHeight) {
  if (project.slides.empty()) throw VornoError::invalid("The project has no slides.");
  const Geometry g = geometry(target, tileHeight, static_cast<int>(project.slides.size()));
  return render(static_cast<int>(project.slides.size()), target, tileHeight, [&](size_t index) {
    ComposedSlide composed = renderer.engine().layout(project, root, project.slides[index], target, locale);
    Image full = SlideRenderer::composite(composed, 1.0, nullptr);
    Tile tile;
    tile.report = SlideRenderer::report(composed, full);
    tile.image = Images::downscale(full, std::max(g.tileWidth, g.tileHeight));
    return tile;
  });
}

}  // namespace vorno::ContactSheet
