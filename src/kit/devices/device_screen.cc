// The screen of a drawn device and the cameras on it. The capture fills the screen's width and
// hangs from its top edge, because the top of an app (navigation, headline) is what a viewer
// reads first; a capture a little short for the screen runs on in its own bottom rows, so the
// gap reads as more of the app's background instead of a bar.
#include "kit/devices/device_drawing.h"

#include "kit/devices/screen_shape.h"
#include "kit/image/box_resampler.h"
#include "kit/image/cairo_util.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::DeviceDrawing {
namespace {

constexpr double mismatchTolerance = 0.005;

// Paints `surface` (`width` by `height` pixels) stretched over `rect`. Edge pixels are padded
// outward so the image's own border doesn't fade into transparency under the filter.
void paintSurface(cairo_t* cr, cairo_surface_t* surface, double width, double height, const Rect& rect) {
  if (rect.isEmpty() || width <= 0 || height <= 0) return;
  CairoSaved saved(cr);
  cairo_translate(cr, rect.x, rect.y);
  cairo_scale(cr, rect.width / width, rect.height / height);
  cairo_set_source_surface(cr, surface, 0, 0);
  cairo_pattern_t* pattern = cairo_get_source(cr);
  cairo_pattern_set_filter(pattern, CAIRO_FILTER_GOOD);
  cairo_pattern_set_extend(pattern, CAIRO_EXTEND_PAD);
  cairo_rectangle(cr, 0, 0, width, height);
  cairo_fill(cr);
}

// The same for a whole-pixel `region` of `image`. Shrunk under a plain scale, the region is
// averaged once onto the very device pixels it covers (and kept for the next picture of the same
// size), then copied at a whole-pixel offset: GOOD below three quarters is a per-pixel 2-D
// convolution, some eight times slower. The rectangle's own edges still come from the path.
void paintImage(cairo_t* cr, const Image& image, const ResampleGrid& region, const Rect& rect) {
  if (rect.isEmpty() || region.width <= 0 || region.height <= 0) return;
  cairo_matrix_t m;
  cairo_get_matrix(cr, &m);
  if (m.xy == 0 && m.yx == 0 && m.xx > 0 && m.yy > 0) {
    const double x0 = m.x0 + m.xx * rect.x, y0 = m.y0 + m.yy * rect.y;
    const double width = m.xx * rect.width, height = m.yy * rect.height;
    ResampleGrid grid = region;
    grid.scaleX = width / region.width;
    grid.scaleY = height / region.height;
    const double left = std::floor(x0), top = std::floor(y0);
    grid.offsetX = x0 - left;
    grid.offsetY = y0 - top;
    grid.outWidth = static_cast<int>(std::ceil(x0 + width) - left);
    grid.outHeight = static_cast<int>(std::ceil(y0 + height) - top);
    if (BoxResampler::accepts(image, grid)) {
      if (Image shrunk = BoxResampler::cached(image, grid)) {
        CairoSaved saved(cr);
        addRect(cr, rect);
        cairo_identity_matrix(cr);
        cairo_set_source_surface(cr, shrunk.surface(), left, top);
        cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_NEAREST);
        cairo_fill(cr);
        return;
      }
    }
  }
  CairoSurfacePtr piece(cairo_surface_create_for_rectangle(image.surface(), region.x, region.y, region.width,
                                                           region.height));
  if (cairo_surface_status(piece.get()) != CAIRO_STATUS_SUCCESS) return;
  paintSurface(cr, piece.get(), region.width, region.height, rect);
}

// The capture (or the piece the frame's crop names) on the screen. Returns the mismatch.
std::optional<double> paintCapture(cairo_t* cr, const DeviceFrame& frame, const Rect& rect, const Image& capture) {
  ResampleGrid region{0, 0, capture.width(), capture.height()};
  if (frame.crop) {
    const CropRect& crop = *frame.crop;
    const double width = capture.width(), height = capture.height();
    // The integral rectangle around the crop, kept inside the image.
    double x0 = std::clamp(std::floor(crop.x * width), 0.0, width - 1);
    double y0 = std::clamp(std::floor(crop.y * height), 0.0, height - 1);
    double x1 = std::clamp(std::ceil((crop.x + crop.width) * width), x0 + 1, width);
    double y1 = std::clamp(std::ceil((crop.y + crop.height) * height), y0 + 1, height);
    region = {static_cast<int>(x0), static_cast<int>(y0), static_cast<int>(x1 - x0), static_cast<int>(y1 - y0)};
  }
  const double width = region.width, height = region.height;

  std::optional<double> mismatch;
  const double rectAspect = rect.width / rect.height;
  double m = std::abs(width / height - rectAspect) / rectAspect;
  if (m > mismatchTolerance) mismatch = m;

  const double c = rect.width / width * height;
  paintImage(cr, capture, region, {rect.x, rect.y, rect.width, c});
  if (c < rect.height) {
    // The strip overlaps the capture by one unit so no seam of the background shows.
    double rows = std::min(2.0, height);
    CairoSurfacePtr bottom(cairo_surface_create_for_rectangle(capture.surface(), region.x,
                                                              region.y + height - rows, width, rows));
    if (cairo_surface_status(bottom.get()) == CAIRO_STATUS_SUCCESS)
      paintSurface(cr, bottom.get(), width, rows, {rect.x, rect.y + c - 1, rect.width, rect.height - c + 1});
  }
  return mismatch;
}

void paintPlaceholder(cairo_t* cr, const Rect& rect) {
  CairoPatternPtr gradient(cairo_pattern_create_linear(0, rect.minY(), 0, rect.maxY()));
  cairo_pattern_add_color_stop_rgb(gradient.get(), 0, 0x2A / 255.0, 0x2F / 255.0, 0x3A / 255.0);
  cairo_pattern_add_color_stop_rgb(gradient.get(), 1, 0x12 / 255.0, 0x15 / 255.0, 0x1B / 255.0);
  cairo_set_source(cr, gradient.get());
  addRect(cr, rect);
  cairo_fill(cr);
}

}  // namespace

std::optional<double> drawScreen(cairo_t* cr, const DeviceFrame& frame, const Rect& screen, double radius,
                                 std::optional<double> hingeRadius, const Image& capture, double pixelScale) {
  if (screen.isEmpty()) return std::nullopt;
  CairoSaved saved(cr);

  std::optional<MaskImage> mask;
  if (frame.maskPDFPath) {
    int width = std::max(1, static_cast<int>(std::lround(screen.width * pixelScale)));
    int height = std::max(1, static_cast<int>(std::lround(screen.height * pixelScale)));
    mask = ScreenShape::renderMask(*frame.maskPDFPath, width, height);
  }
  if (mask) {
    // The exact shape is coverage, not a path: the screen is drawn into a group and shown
    // through the mask stretched over the rectangle.
    addRect(cr, screen);
    cairo_clip(cr);
    cairo_push_group(cr);
  } else {
    Path shape = ScreenShape::continuousRect(screen, radius);
    if (frame.spec.hinge) {
      double side = hingeRadius.value_or(radius);
      bool left = frame.spec.hinge->side == FrameSpec::Hinge::Side::left;
      shape = ScreenShape::continuousRect(screen, left ? side : radius, left ? radius : side);
    }
    appendPath(cr, shape);
    cairo_clip(cr);
  }

  std::optional<double> mismatch;
  {
    CairoSaved content(cr);
    Rect rect = screen;
    if (frame.turn) {
      // The body was turned; turn the picture back so a landscape capture stands upright.
      double angle = *frame.turn == FrameTurn::clockwise ? -M_PI / 2 : M_PI / 2;
      cairo_translate(cr, screen.midX(), screen.midY());
      cairo_rotate(cr, angle);
      cairo_translate(cr, -screen.midX(), -screen.midY());
      rect = swapped(screen);
    }
    if (capture && capture.width() > 0 && capture.height() > 0)
      mismatch = paintCapture(cr, frame, rect, capture);
    else
      paintPlaceholder(cr, rect);
  }

  if (mask) {
    cairo_pop_group_to_source(cr);
    // The mask's bytes are only borrowed: finishing the surface before it goes makes cairo copy
    // them for any snapshot it still holds.
    CairoSurfacePtr coverage(cairo_image_surface_create_for_data(const_cast<uint8_t*>(mask->data()),
                                                                 CAIRO_FORMAT_A8, mask->width, mask->height,
                                                                 mask->stride));
    CairoPatternPtr pattern(cairo_pattern_create_for_surface(coverage.get()));
    cairo_matrix_t matrix;
    cairo_matrix_init_scale(&matrix, mask->width / screen.width, mask->height / screen.height);
    cairo_matrix_translate(&matrix, -screen.x, -screen.y);
    cairo_pattern_set_matrix(pattern.get(), &matrix);
    cairo_pattern_set_filter(pattern.get(), CAIRO_FILTER_GOOD);
    cairo_mask(cr, pattern.get());
    pattern.reset();
    cairo_surface_finish(coverage.get());
  }
  return mismatch;
}

void drawCameras(cairo_t* cr, const FrameSpec& spec, const Rect& screen, double px) {
  CairoSaved saved(cr);
  if (spec.island) {
    const FrameSpec::Island& island = *spec.island;
    double width = island.width * px, height = island.height * px;
    Rect pill{screen.midX() - width / 2, screen.minY() + island.top * px, width, height};
    if (!pill.isEmpty()) {
      Path path;
      path.addRoundedRect(pill, height / 2);
      appendPath(cr, path);
      cairo_set_source_rgb(cr, 0, 0, 0);
      cairo_fill(cr);
    }
  }
  if (spec.punchHole) {
    const FrameSpec::PunchHole& hole = *spec.punchHole;
    double d = hole.diameter * px;
    if (!(d > 0)) return;
    double cx = hole.x ? screen.minX() + *hole.x * px : screen.midX();
    Rect circle{cx - d / 2, screen.minY() + hole.top * px, d, d};
    auto ellipse = [&](const Rect& rect) {
      Path path;
      path.addEllipse(rect);
      appendPath(cr, path);
    };
    ellipse(circle);
    cairo_set_source_rgb(cr, 0, 0, 0);
    cairo_fill(cr);
    // A thin grey ring: the edge of the glass around the lens.
    ellipse(circle.insetBy(d * 0.035, d * 0.035));
    cairo_set_source_rgb(cr, 0.24, 0.25, 0.28);
    cairo_set_line_width(cr, d * 0.07);
    cairo_stroke(cr);
    Rect lens = circle.insetBy(d * 0.27, d * 0.27);
    ellipse(lens);
    cairo_set_source_rgb(cr, 0.09, 0.11, 0.16);
    cairo_fill(cr);
    // The glint sits up and to the left, where the light comes from.
    ellipse({lens.minX() + 0.22 * lens.width, lens.minY() + 0.2 * lens.height, 0.22 * lens.width, 0.22 * lens.height});
    cairo_set_source_rgba(cr, 0.55, 0.62, 0.75, 0.55);
    cairo_fill(cr);
  }
}

}  // namespace vorno::DeviceDrawing
