// How a picture is stacked: an opaque canvas of one slice, its CTM scaled to the output and moved
// so that canvas coordinates of the whole board can be used; the backgrounds of the board; then
// each element's layer, drawn at `scale × drawScale` and placed at its layer rectangle (scaled
// about its centre by `drawScale`), turned about that centre, with the element's blend mode and
// fade. cairo is y down like the document, so a layer goes where its rectangle says, unflipped.
#include "kit/render/slide_renderer.h"

#include "kit/render/blend_operator.h"

#include "kit/image/affine_composite.h"
#include "kit/image/canvas.h"
#include "kit/render/layer_bounds.h"
#include "kit/render/layer_cache.h"
#include "kit/render/layer_renderer.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace vorno {
namespace {

double clampedScale(double scale) {
  if (!(scale >= 0.02)) return 0.02;  // NaN too
  return std::min(scale, 1.0);
}

int pixels(double scale, double length) { return std::max(1, static_cast<int>(scale * length)); }

// The rectangle used to decide whether an element reaches a slice: its layer rectangle (bleed
// included, so a blur that reaches in keeps it), scaled by drawScale, and for a turned element
// the square that holds it at any angle.
Rect cullingRect(const ElementLayout& original) {
  const std::optional<ElementLayout> clamped = LayerBounds::clamped(original);
  const ElementLayout& element = LayerBounds::drawn(original, clamped);
  Rect rect = element.layerRect();
  if (element.drawScale != 1) rect = rect.scaledAboutCenter(element.drawScale);
  if (element.rotation != 0) {
    double side = std::hypot(rect.width, rect.height);
    rect = {rect.midX() - side / 2, rect.midY() - side / 2, side, side};
  }
  return rect;
}

Image layerImage(const ElementLayout& element, double scale, LayerCache* cache) {
  double layerScale = scale * element.drawScale;
  return cache ? cache->layer(element, layerScale) : LayerRenderer::render(element, layerScale);
}

// Draws a layer where its element stands, in canvas coordinates of the board.
void place(cairo_t* cr, const ElementLayout& element, const Image& layer) {
  if (!layer || element.fade <= 0) return;
  Rect rect = element.layerRect();
  double shrink = 1 - element.drawScale;
  Rect target = rect.insetBy(shrink * rect.width * 0.5, shrink * rect.height * 0.5);
  // A zero or negative size would leave the context in an error state for the rest of the picture.
  if (!(target.width > 0) || !(target.height > 0)) return;

  cairo_save(cr);
  if (element.blend) setBlendMode(cr, *element.blend);
  cairo_translate(cr, target.midX(), target.midY());
  // Positive degrees turn clockwise on the screen, which is cairo's positive angle in y down.
  if (element.rotation != 0) cairo_rotate(cr, element.rotation * M_PI / 180);
  cairo_scale(cr, target.width / layer.width(), target.height / layer.height());
  if (element.rotation != 0) {  // a turned layer: ours is several times faster than cairo's
    cairo_matrix_t layerToDevice;
    cairo_get_matrix(cr, &layerToDevice);
    cairo_matrix_translate(&layerToDevice, -layer.width() / 2.0, -layer.height() / 2.0);
    if (AffineComposite::over(cr, layer.surface(), layerToDevice, element.fade)) {
      cairo_restore(cr);
      return;
    }
  }
  cairo_set_source_surface(cr, layer.surface(), -layer.width() / 2.0, -layer.height() / 2.0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  if (element.fade < 1) {
    cairo_paint_with_alpha(cr, element.fade);
  } else {
    cairo_paint(cr);
  }
  cairo_restore(cr);
}

// Where an unturned element's layer lands on the canvas's pixel grid: the whole pixel of its
// top left corner and the eighth-of-a-pixel phase a cached layer is drawn at. `x0`, `y0` and
// `scale` are the canvas's plain matrix. Nothing when the element isn't placed that way.
struct AlignedSpot {
  double x = 0, y = 0;       // exact top left in device pixels
  double left = 0, top = 0;  // whole pixels, corrected for a phase that rounds up to 8
  int phaseX = 0, phaseY = 0;
  bool empty = false;        // nothing to show
};

std::optional<AlignedSpot> alignedSpot(const ElementLayout& element, double x0, double y0, double scale) {
  if (element.rotation != 0) return std::nullopt;
  // A layer past the bound is drawn smaller and stretched into place: it has no pixel grid.
  if (LayerBounds::resolution(element, scale * element.drawScale) < 1) return std::nullopt;
  AlignedSpot spot;
  Rect rect = element.layerRect();
  double shrink = 1 - element.drawScale;
  Rect target = rect.insetBy(shrink * rect.width * 0.5, shrink * rect.height * 0.5);
  if (!(target.width > 0) || !(target.height > 0)) {  // as place(): nothing to show
    spot.empty = true;
    return spot;
  }
  spot.x = x0 + scale * target.x, spot.y = y0 + scale * target.y;
  if (!std::isfinite(spot.x) || !std::isfinite(spot.y) || std::abs(spot.x) > 1e7 || std::abs(spot.y) > 1e7)
    return std::nullopt;
  spot.left = std::floor(spot.x), spot.top = std::floor(spot.y);
  // Cached layers are drawn at eighths of a pixel: at most 1/16 px from the exact place, and
  // still copied whole, never resampled.
  spot.phaseX = static_cast<int>(std::lround((spot.x - spot.left) * 8));
  spot.phaseY = static_cast<int>(std::lround((spot.y - spot.top) * 8));
  if (spot.phaseX == 8) spot.phaseX = 0, spot.left += 1;
  if (spot.phaseY == 8) spot.phaseY = 0, spot.top += 1;
  return spot;
}

// The scale a cached layer of an element that motion scales is drawn at: the next step up a ladder
// of steps 1 % apart. A camera's push-in or a wave on scale changes the scale every frame, so a
// layer drawn at the exact scale would never be drawn twice; one drawn on the ladder serves the
// frames near it, resampled into place by at most 1 %.
double ladderScale(double scale) {
  static const double step = std::log(1.01);
  return std::exp(std::ceil(std::log(scale) / step - 1e-9) * step);
}

// The key under which `drawElement` asks a cache for the element's layer.
std::string cacheKey(const ElementLayout& element, const std::optional<AlignedSpot>& spot, double scale) {
  if (element.drawScale != 1) return LayerCache::key(element, ladderScale(scale * element.drawScale));
  if (spot) return LayerCache::phasedKey(element, scale * element.drawScale, spot->phaseX, spot->phaseY);
  return LayerCache::key(element, scale * element.drawScale);
}

// Draws an element's layer drawn afresh on the canvas's own pixel grid and copied at a whole-pixel
// position: exact, and a straight copy instead of a resampling of the whole layer (8 ms for a
// phone at full size). Only for a layer at its own size, unturned, under a plain scale; false
// (nothing drawn) otherwise.
bool placeAligned(cairo_t* cr, const ElementLayout& element, const std::optional<AlignedSpot>& spot, double scale,
                  LayerCache* cache) {
  if (element.fade <= 0) return true;
  if (!spot) return false;
  if (spot->empty) return true;
  Image layer = cache ? cache->layer(element, scale * element.drawScale, spot->phaseX, spot->phaseY)
                      : LayerRenderer::render(element, scale * element.drawScale, spot->x - spot->left,
                                              spot->y - spot->top);
  if (!layer) return true;
  cairo_save(cr);
  if (element.blend) setBlendMode(cr, *element.blend);
  cairo_identity_matrix(cr);
  cairo_set_source_surface(cr, layer.surface(), spot->left, spot->top);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
  if (element.fade < 1) {
    cairo_paint_with_alpha(cr, element.fade);
  } else {
    cairo_paint(cr);
  }
  cairo_restore(cr);
  return true;
}

// The aligned spot under the context's matrix, when that is a plain scale by `scale`.
std::optional<AlignedSpot> alignedSpot(cairo_t* cr, const ElementLayout& element, double scale) {
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  if (m.xy != 0 || m.yx != 0 || m.xx != scale || m.yy != scale) return std::nullopt;
  return alignedSpot(element, m.x0, m.y0, scale);
}

// The element where it stands. Without a cache: straight into the picture when a layer would add
// nothing (a layer the size of a phone costs 15 MB to clear, fill and copy), else a layer made on
// the pixel grid. With one: a cached layer drawn at the element's phase on the pixel grid when it
// is unturned, else the cached layer resampled into place (it serves any position). A planned
// cache that expects no second use of the layer is no help: the element is drawn as without one.
void drawElement(cairo_t* cr, const ElementLayout& original, double scale, LayerCache* cache) {
  const std::optional<ElementLayout> clamped = LayerBounds::clamped(original);
  const ElementLayout& element = LayerBounds::drawn(original, clamped);
  const std::optional<AlignedSpot> spot = alignedSpot(cr, element, scale);
  if (cache && !cache->worthKeeping(cacheKey(element, spot, scale))) cache = nullptr;
  if (!cache && element.rotation == 0 && element.drawScale == 1 && !element.blend && element.fade >= 1 &&
      LayerRenderer::drawInPlace(element, cr))
    return;
  if (cache && element.drawScale != 1) {
    if (element.fade > 0) place(cr, element, cache->layer(element, ladderScale(scale * element.drawScale)));
    return;
  }
  if (placeAligned(cr, element, spot, scale, cache)) return;
  place(cr, element, layerImage(element, scale, cache));
}

Image finished(Canvas& canvas) {
  if (cairo_status(canvas.context()) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Render failed.");
  Image image = canvas.finish();
  if (!image) throw VornoError::io("Render failed.");
  return image;
}

// Board coordinates for one slice at `scale`.
void enterSlice(cairo_t* cr, double scale, int slice, double W) {
  cairo_scale(cr, scale, scale);
  cairo_translate(cr, -slice * W, 0);
}

// The kind's word in a report.
std::string kindName(ElementLayout::Kind kind) {
  switch (kind) {
    case ElementLayout::Kind::text: return "text";
    case ElementLayout::Kind::device: return "device";
    case ElementLayout::Kind::image: return "image";
    case ElementLayout::Kind::symbol: return "symbol";
    case ElementLayout::Kind::shape: return "shape";
    case ElementLayout::Kind::component: return "component";
  }
  return "element";
}

}  // namespace

bool SlideRenderer::reachesSlice(const ElementLayout& element, int slice, const StoreTarget& target) {
  Rect sliceRect{static_cast<double>(slice) * target.width, 0, static_cast<double>(target.width),
                 static_cast<double>(target.height)};
  return cullingRect(element).intersects(sliceRect);
}

RenderOutput SlideRenderer::render(const Project& project, const std::string& root, const Slide& slide,
                                   const StoreTarget& target, const std::string& locale, double scale,
                                   LayerCache* layers) const {
  ComposedSlide composed = engine_.layout(project, root, slide, target, locale);
  Image image = composite(composed, composed.focusIndex(), scale, layers);
  RenderReport rendered = report(composed, image);
  return {std::move(image), std::move(rendered)};
}

Image SlideRenderer::composite(const ComposedSlide& composed, double scale, LayerCache* layers) {
  return composite(composed, composed.focusIndex(), scale, layers);
}

Image SlideRenderer::composite(const ComposedSlide& composed, int slice, double scale, LayerCache* layers) {
  scale = clampedScale(scale);
  const double W = composed.target.width, H = composed.target.height;
  Canvas canvas = Canvas::opaque(pixels(scale, W), pixels(scale, H));
  cairo_t* cr = canvas.context();
  enterSlice(cr, scale, slice, W);
  LayerRenderer::paintBoard(composed, cr);
  for (const auto& element : composed.elements) {
    if (!reachesSlice(element, slice, composed.target)) continue;
    drawElement(cr, element, scale, layers);
  }
  return finished(canvas);
}

Image SlideRenderer::compositeBoard(const ComposedSlide& composed, double scale) {
  scale = clampedScale(scale);
  scale *= LayerBounds::boardResolution(composed, scale);  // many or huge slices: a smaller board
  const double W = composed.target.width, H = composed.target.height;
  const double count = std::max<size_t>(composed.slideIDs.size(), 1);
  Canvas canvas = Canvas::opaque(pixels(scale, W * count), pixels(scale, H));
  cairo_t* cr = canvas.context();
  cairo_scale(cr, scale, scale);
  LayerRenderer::paintBoard(composed, cr);
  for (const auto& element : composed.elements) drawElement(cr, element, scale, nullptr);
  return finished(canvas);
}

std::vector<Issue> SlideRenderer::boardIssues(const ComposedSlide& composed, double scale) {
  IssueSink sink(composed.slideID, composed.target.id, composed.locale);
  LayerBounds::reportBoardReduction(composed, clampedScale(scale), sink);
  return sink.issues();
}

std::vector<std::string> SlideRenderer::layerKeys(const ComposedSlide& composed, int slice, double scale) {
  scale = clampedScale(scale);
  const double W = composed.target.width;
  // The matrix `composite` sets: scaled, then moved to the slice (as cairo composes them).
  const double x0 = -slice * W * scale, y0 = 0;
  std::vector<std::string> keys;
  for (const auto& original : composed.elements) {
    if (!reachesSlice(original, slice, composed.target) || original.fade <= 0) continue;
    const std::optional<ElementLayout> clamped = LayerBounds::clamped(original);
    const ElementLayout& element = LayerBounds::drawn(original, clamped);
    const std::optional<AlignedSpot> spot = alignedSpot(element, x0, y0, scale);
    if (spot && spot->empty) continue;
    keys.push_back(cacheKey(element, spot, scale));
  }
  return keys;
}

std::vector<ExportedLayer> SlideRenderer::layers(const ComposedSlide& composed, int slice, double scale) {
  scale = clampedScale(scale);
  const double W = composed.target.width, H = composed.target.height;
  const int width = pixels(scale, W), height = pixels(scale, H);
  std::vector<ExportedLayer> result;

  Canvas background = Canvas::opaque(width, height);
  enterSlice(background.context(), scale, slice, W);
  LayerRenderer::paintBoard(composed, background.context());
  result.push_back({"background", "Background", finished(background)});

  for (const auto& element : composed.elements) {
    if (!reachesSlice(element, slice, composed.target)) continue;
    Canvas canvas = Canvas::transparent(width, height);
    enterSlice(canvas.context(), scale, slice, W);
    drawElement(canvas.context(), element, scale, nullptr);
    result.push_back({element.id, element.label, finished(canvas)});
  }
  return result;
}

RenderReport SlideRenderer::report(const ComposedSlide& composed, const Image& image) {
  const int slice = composed.focusIndex();
  const double W = composed.target.width, H = composed.target.height;
  auto normalized = [&](const char* id) -> std::optional<NormalizedRect> {
    const ElementLayout* element = composed.element(id, composed.slideID);
    if (!element) return std::nullopt;
    Rect frame = element->frame.offsetBy(-slice * W, 0);
    return NormalizedRect{frame.x / W, frame.y / H, frame.width / W, frame.height / H};
  };
  RenderReport report;
  report.slide = composed.slideID;
  report.target = composed.target.id;
  report.locale = composed.locale;
  report.width = image ? image.width() : 0;
  report.height = image ? image.height() : 0;
  report.frame = composed.frameID;
  report.headlineFontSize = composed.headlineFontSize;
  report.deviceRect = normalized("device");
  report.textRect = normalized("headline");
  for (const auto& element : composed.elements) {
    if (!reachesSlice(element, slice, composed.target)) continue;
    const Rect frame = element.frame.offsetBy(-slice * W, 0);
    report.elements.push_back({element.id, kindName(element.kind), static_cast<int>(std::lround(frame.x)),
                               static_cast<int>(std::lround(frame.y)), static_cast<int>(std::lround(frame.width)),
                               static_cast<int>(std::lround(frame.height)), element.rotation});
  }
  report.issues = composed.issues;
  IssueSink reductions(composed.slideID, composed.target.id, composed.locale);
  for (const auto& element : composed.elements)
    if (reachesSlice(element, slice, composed.target)) LayerBounds::reportReductions(element, reductions);
  for (Issue& issue : reductions.take()) report.issues.push_back(std::move(issue));
  return report;
}

}  // namespace vorno
