// The filmstrip: moments spread evenly over a creative's loop, tiled in rows on a light ground
// with each moment's time under its tile, so that the motion can be judged at a glance.
#include "kit/image/canvas.h"
#include "kit/image/cairo_util.h"
#include "kit/model/creative.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_renderer.h"
#include "kit/render/creative_guides.h"
#include "kit/render/layer_cache.h"
#include "kit/text/text_layout.h"
#include "kit/util/format.h"
#include "kit/util/thread_pool.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <exception>
#include <mutex>

namespace vorno {

namespace {

constexpr int kGap = 24;
constexpr int kLabelBand = 54;  // under each tile: the label's box and the gap above it
constexpr double kLabelSize = 22;
constexpr int64_t kLayerBudget = int64_t{256} << 20;

void drawLabel(cairo_t* cr, const std::string& text, double left, double top, double width) {
  TextLayout::Style style;
  style.size = kLabelSize;
  style.weight = FontWeight::medium;
  style.color = *RGBColor::fromHex("#4A505C");
  style.alignment = TextAlign::left;
  style.language = "en";
  TextLayout::Fitted fitted = TextLayout::fit(text, style, {width, kLabelSize * 3}, 1.0, 1);
  // The label sits in a box 30 px taller than its text, the text centred in it.
  const double box = fitted.size.height + 30;
  TextLayout::draw(fitted, cr, left, top + (box - fitted.size.height) / 2);
}

}  // namespace

int MotionRenderer::filmstripColumns(int count) {
  if (count <= 4) return std::max(count, 1);
  if (count <= 6) return 3;
  return 4;
}

MotionRenderer::Filmstrip MotionRenderer::filmstrip(const Project& project, const std::string& root,
                                                    const Creative& creative, const std::string& locale, int count,
                                                    int width, bool guides) const {
  const StoreTarget* target = StoreTarget::canvas(creative.canvas);
  if (!target) throw VornoError::invalid("Unknown canvas " + creative.canvas + ".");
  count = std::max(count, 2);
  const double length = creative.motion ? creative.motion->resolvedDuration() : 10;
  const int columns = filmstripColumns(count);
  const int tileWidth = (width - (columns + 1) * kGap) / columns;
  if (tileWidth < 1) throw VornoError::invalid(formatted("A filmstrip %d px wide has no room for its tiles.", width));
  const int tileHeight = static_cast<int>(tileWidth / (static_cast<double>(target->width) / target->height));
  const int rows = (count + columns - 1) / columns;
  const int height = rows * (tileHeight + kLabelBand) + (rows + 1) * kGap;

  Filmstrip strip;
  for (int i = 0; i < count; ++i) strip.times.push_back(i * length / count);

  // The tiles are drawn at once, sharing their layers: what doesn't move is drawn one time.
  LayerCache layers(kLayerBudget);
  const double scale = static_cast<double>(tileWidth) / target->width;
  std::vector<Image> tiles(static_cast<size_t>(count));
  std::vector<std::vector<Issue>> tileIssues(static_cast<size_t>(count));
  std::mutex lock;
  std::exception_ptr failure;
  ThreadPool::parallelFor(tiles.size(), [&](size_t index) {
    try {
      std::optional<ComposedSlide> composed = layout(project, root, creative, locale, strip.times[index]);
      if (!composed) throw VornoError::invalid("Unknown canvas " + creative.canvas + ".");
      Image tile = SlideRenderer::composite(*composed, 0, scale, &layers);
      if (guides) tile = CreativeGuides::overlay(tile, *target);
      std::lock_guard guard(lock);
      tiles[index] = std::move(tile);
      tileIssues[index] = std::move(composed->issues);
    } catch (...) {
      std::lock_guard guard(lock);
      if (!failure) failure = std::current_exception();
    }
  });
  if (failure) std::rethrow_exception(failure);
  for (const auto& issues : tileIssues)
    for (const Issue& issue : issues)
      if (std::find(strip.issues.begin(), strip.issues.end(), issue) == strip.issues.end())
        strip.issues.push_back(issue);

  Canvas canvas = Canvas::opaque(width, height);
  cairo_t* cr = canvas.context();
  cairo_set_source_rgb(cr, 0.93, 0.94, 0.95);
  cairo_paint(cr);
  const bool posterFirst = !creative.motion || creative.motion->posterTime() == 0;
  for (int i = 0; i < count; ++i) {
    const double left = (i % columns) * (tileWidth + kGap) + kGap;
    const double top = (i / columns) * (tileHeight + kGap + kLabelBand) + kGap;
    const Image& tile = tiles[static_cast<size_t>(i)];
    {
      CairoSaved saved(cr);
      cairo_rectangle(cr, left, top, tileWidth, tileHeight);
      cairo_clip(cr);
      cairo_translate(cr, left, top);
      cairo_scale(cr, static_cast<double>(tileWidth) / tile.width(), static_cast<double>(tileHeight) / tile.height());
      cairo_set_source_surface(cr, tile.surface(), 0, 0);
      cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
      cairo_paint(cr);
    }
    std::string label = formatted("%.2f s", strip.times[static_cast<size_t>(i)]);
    if (i == 0 && posterFirst) label += "  · poster";
    drawLabel(cr, label, left, top + tileHeight, tileWidth);
  }
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Render failed.");
  strip.image = canvas.finish();
  return strip;
}

}  // namespace vorno
