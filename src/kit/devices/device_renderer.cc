// How a device is drawn. The body comes out of the numbers of its FrameSpec and the two colours
// of its Finish, at any size: shadows first, under everything; then, inside the turn's rotation,
// the buttons (so only a sliver shows beside the body), the band by its edge style, the hinge
// crease, the black bezel, fold marks, the screen with its capture, and the cameras on top. A
// bare screen draws only the screen and its optional ring. A custom frame draws the capture in
// its transparent screen and the frame image over it. The steps live in device_body.cc,
// device_screen.cc and device_shadow.cc.
#include "kit/devices/device_renderer.h"

#include "kit/devices/device_drawing.h"
#include "kit/devices/screen_shape.h"
#include "kit/image/cairo_util.h"
#include "kit/image/image_cache.h"

#include <cairo.h>

#include <algorithm>
#include <utility>

namespace vorno {
namespace {

using namespace DeviceDrawing;

constexpr RGBColor bezelBlack{0.02, 0.02, 0.025, 1};

Rect transformedBounds(const AffineTransform& t, const Rect& rect) {
  Point corners[4] = {t.apply({rect.minX(), rect.minY()}), t.apply({rect.maxX(), rect.minY()}),
                      t.apply({rect.maxX(), rect.maxY()}), t.apply({rect.minX(), rect.maxY()})};
  double x0 = corners[0].x, x1 = x0, y0 = corners[0].y, y1 = y0;
  for (const Point& p : corners) {
    x0 = std::min(x0, p.x), x1 = std::max(x1, p.x);
    y0 = std::min(y0, p.y), y1 = std::max(y1, p.y);
  }
  return {x0, y0, x1 - x0, y1 - y0};
}

void setMatrix(cairo_t* cr, const AffineTransform& t) {
  cairo_matrix_t m{t.a, t.b, t.c, t.d, t.tx, t.ty};
  cairo_transform(cr, &m);
}

ShapePainter filling(const Path& path) {
  return [path](cairo_t* cr) {
    appendPath(cr, path);
    cairo_fill(cr);
  };
}

// A custom frame: the capture in the image's transparent screen, the image over it.
DeviceRenderer::Result drawOverlay(const DeviceFrame& frame, cairo_t* cr, const Rect& body, const Image& capture,
                                   bool shadow) {
  const DeviceFrame::Overlay& overlay = *frame.overlay;
  DeviceRenderer::Result result;
  if (overlay.imageWidth <= 0 || overlay.imageHeight <= 0) return result;
  const double k = body.width / overlay.imageWidth;
  const Rect screen{body.minX() + overlay.screenX * k, body.minY() + overlay.screenY * k, frame.screenWidth * k,
                    frame.screenHeight * k};
  // The capture reaches two image pixels under the frame's inner edge, so no gap shows at the
  // antialiased border of the hole.
  const Rect under = screen.outsetBy(2 * k);
  const double underRadius = frame.screenCornerRadius * k + 2 * k;

  Image image;
  try {
    image = ImageCache::shared().image(overlay.path);
  } catch (...) {
    image = Image();  // the screen stands alone
  }

  if (shadow) {
    // The shadow is cast by the whole device, frame and screen together, and lies under both:
    // cast by the frame image alone it would also fall on the screen through the hole.
    Path screenShape = ScreenShape::continuousRect(under, underRadius);
    ShapePainter device = [&](cairo_t* c) {
      appendPath(c, screenShape);
      cairo_fill(c);
      if (!image) return;
      cairo_save(c);
      cairo_translate(c, body.x, body.y);
      cairo_scale(c, body.width / image.width(), body.height / image.height());
      cairo_mask_surface(c, image.surface(), 0, 0);
      cairo_restore(c);
    };
    paintShadow(cr, device, body.united(under), body.width * 0.07, body.width * 0.03, 0.25);
  }

  result.captureAspectMismatch = drawScreen(cr, frame, under, underRadius, std::nullopt, capture, pixelScale(cr));
  if (image && image.width() > 0 && image.height() > 0) {
    CairoSaved saved(cr);
    cairo_translate(cr, body.x, body.y);
    cairo_scale(cr, body.width / image.width(), body.height / image.height());
    cairo_set_source_surface(cr, image.surface(), 0, 0);
    cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
    cairo_rectangle(cr, 0, 0, image.width(), image.height());
    cairo_fill(cr);
  }
  result.screenRect = screen;
  return result;
}

}  // namespace

DeviceRenderer::DeviceRenderer(DeviceFrame frame, std::optional<Finish> finish) : frame_(std::move(frame)) {
  if (!finish) finish = Finish::named(frame_.spec.defaultFinish);
  if (!finish) finish = Finish::named("black");
  finish_ = *finish;
}

Size DeviceRenderer::nativeBodySize() const {
  Size size;
  if (frame_.overlay) {
    size = {static_cast<double>(frame_.overlay->imageWidth), static_cast<double>(frame_.overlay->imageHeight)};
  } else {
    const FrameSpec& spec = frame_.spec;
    double s = frame_.scale;
    double rim = 2 * s * (spec.bezel + spec.band);
    double hinge = spec.hinge ? s * spec.hinge->thickness : 0;
    size = {rim + frame_.screenWidth + hinge, rim + frame_.screenHeight};
  }
  if (frame_.turn) std::swap(size.width, size.height);
  return size;
}

double DeviceRenderer::bodyAspect() const {
  Size size = nativeBodySize();
  return size.height > 0 ? size.width / size.height : 1;
}

DeviceRenderer::Parts DeviceRenderer::parts(const Rect& body) const {
  Parts parts;
  if (body.isEmpty()) return parts;
  if (frame_.overlay) {
    const DeviceFrame::Overlay& overlay = *frame_.overlay;
    if (overlay.imageWidth <= 0) return parts;
    const double k = body.width / overlay.imageWidth;
    parts.screen = {body.minX() + overlay.screenX * k, body.minY() + overlay.screenY * k, frame_.screenWidth * k,
                    frame_.screenHeight * k};
    return parts;
  }
  const Geometry g = Geometry::make(frame_, frame_.turn ? swapped(body) : body);
  const AffineTransform rotation = turnRotation(frame_.turn, body.center());
  parts.screen = transformedBounds(rotation, g.screen);
  if (g.frameless()) return parts;
  // The same rectangles drawCameras fills.
  const FrameSpec& spec = frame_.spec;
  std::optional<Rect> camera;
  if (spec.island) {
    const double width = spec.island->width * g.px, height = spec.island->height * g.px;
    camera = Rect{g.screen.midX() - width / 2, g.screen.minY() + spec.island->top * g.px, width, height};
  } else if (spec.punchHole && spec.punchHole->diameter > 0) {
    const FrameSpec::PunchHole& hole = *spec.punchHole;
    const double d = hole.diameter * g.px;
    const double cx = hole.x ? g.screen.minX() + *hole.x * g.px : g.screen.midX();
    camera = Rect{cx - d / 2, g.screen.minY() + hole.top * g.px, d, d};
  }
  if (camera && !camera->isEmpty()) parts.camera = transformedBounds(rotation, *camera);
  return parts;
}

DeviceRenderer::Result DeviceRenderer::draw(cairo_t* cr, const Rect& body, const Image& capture, bool shadow) const {
  Result result;
  if (!cr || cairo_status(cr) != CAIRO_STATUS_SUCCESS || body.isEmpty()) return result;
  if (frame_.overlay) return drawOverlay(frame_, cr, body, capture, shadow);

  const Geometry g = Geometry::make(frame_, frame_.turn ? swapped(body) : body);
  const AffineTransform rotation = turnRotation(frame_.turn, body.center());
  const FrameSpec& spec = frame_.spec;

  if (shadow) {
    // A wide soft shadow for depth and a tight one for contact with the ground.
    Path outline = g.bodyPath().transformed(rotation);
    Rect bounds = transformedBounds(rotation, g.body);
    double m = std::min(body.width, body.height);
    // The body path is filled opaquely right after, so the shadow beneath it is never seen. The
    // body's full width between its corners' curves (which leave the straight edges 1.53 radii
    // from each corner) is a rectangle it surely covers; on a tall device it is most of the body.
    double corner = std::max(g.R, g.H);
    Rect band = g.body.width <= g.body.height ? g.body.insetBy(0, 1.53 * corner) : g.body.insetBy(1.53 * corner, 0);
    Rect covered = transformedBounds(rotation, band.isEmpty() ? g.body.insetBy(corner, corner) : band);
    paintShadow(cr, filling(outline), bounds, m * 0.09, m * 0.05, 0.22, ShadowResolution::automatic, covered);
    paintShadow(cr, filling(outline), bounds, m * 0.025, m * 0.01, 0.25, ShadowResolution::automatic, covered);
    CairoSaved saved(cr);
    appendPath(cr, outline);
    setColor(cr, finish_.dark);
    cairo_fill(cr);
  }

  CairoSaved turned(cr);
  setMatrix(cr, rotation);
  const double pixels = pixelScale(cr);
  std::optional<double> hingeRadius = spec.hinge ? std::optional<double>(g.hr) : std::nullopt;

  if (g.frameless()) {
    result.captureAspectMismatch = drawScreen(cr, frame_, g.screen, g.r, hingeRadius, capture, pixels);
    if (frame_.outline) {
      double w = std::max(2.0, std::min(g.screen.width, g.screen.height) * 0.035);
      CairoSaved saved(cr);
      appendPath(cr, ScreenShape::continuousRect(g.screen.outsetBy(w / 2), g.r + w / 2));
      setColor(cr, *frame_.outline);
      cairo_set_line_width(cr, w);
      cairo_stroke(cr);
    }
  } else {
    drawButtons(cr, spec.buttons, g.body, frame_.scale * 0.9 * g.k, finish_.dark);
    if (!finish_.isFlat()) {
      switch (spec.edge.value_or(FrameSpec::Edge::polished)) {
        case FrameSpec::Edge::rounded: drawRoundedRim(cr, g.body, g.b, g.R, finish_); break;
        case FrameSpec::Edge::flat: drawFlatEdge(cr, g.body, g.b, g.R, finish_); break;
        case FrameSpec::Edge::polished: drawPolishedEdge(cr, g, finish_); break;
      }
      drawHingeCrease(cr, g);
      CairoSaved saved(cr);
      appendPath(cr, g.bezelPath());
      setColor(cr, bezelBlack);
      cairo_fill(cr);
    } else {
      drawFlatBody(cr, g, finish_);
    }
    if (spec.fold) drawFoldMarks(cr, g, *spec.fold);
    result.captureAspectMismatch = drawScreen(cr, frame_, g.screen, g.r, hingeRadius, capture, pixels);
    drawCameras(cr, spec, g.screen, g.px);
  }
  result.screenRect = transformedBounds(rotation, g.screen);
  return result;
}

}  // namespace vorno
