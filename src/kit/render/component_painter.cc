// How it works: the painter sets one transform from the component's space (1000 units wide,
// y down) to the target rectangle, then paints each part with plain cairo fills. The star, the
// laurel, the tick and the tail are our own paths; text goes through the text engine, symbols
// through their SVG icon tinted with the part's colour, images through the shared image cache.
#include "kit/render/component_painter.h"

#include "kit/image/cairo_util.h"
#include "kit/image/image_cache.h"
#include "kit/image/vector_image.h"
#include "kit/layout/symbols.h"
#include "kit/text/text_layout.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::ComponentPainter {

namespace {

using D = ComponentDrawing;

constexpr double pi = M_PI;

void fill(cairo_t* cr, const Path& path, const RGBColor& color) {
  cairo_new_path(cr);
  appendPath(cr, path);
  setColor(cr, color);
  cairo_fill(cr);
}

void drawStars(cairo_t* cr, const D::Stars& s) {
  // Five stars as tall as the row, the space left over shared by the four gaps.
  double size = std::min(s.rect.height, s.rect.width / 5);
  double gap = (s.rect.width - 5 * size) / 4;
  double value = std::clamp(s.value, 0.0, 5.0);
  for (int i = 0; i < 5; ++i) {
    Rect box{s.rect.x + i * (size + gap), s.rect.y + (s.rect.height - size) / 2, size, size};
    Path shape = star(box);
    double filled = std::clamp(value - i, 0.0, 1.0);
    // A part-filled star is split at its share: colour on the left, the empty colour on the
    // right, so that a translucent colour never lies over the other.
    double split = box.x + box.width * filled;
    if (filled < 1) {
      CairoSaved saved(cr);
      cairo_rectangle(cr, split, box.y, box.maxX() - split, box.height);
      cairo_clip(cr);
      fill(cr, shape, s.empty);
    }
    if (filled > 0) {
      CairoSaved saved(cr);
      cairo_rectangle(cr, box.x, box.y, split - box.x, box.height);
      cairo_clip(cr);
      fill(cr, shape, s.color);
    }
  }
}

void drawSymbol(cairo_t* cr, const D::Symbol& s) {
  std::optional<std::string> svg = Symbols::svgPath(s.name);
  if (!svg || s.rect.isEmpty()) return;
  // The icons are square; fit the square in the box and centre it.
  double side = std::min(s.rect.width, s.rect.height);
  Rect box{s.rect.midX() - side / 2, s.rect.midY() - side / 2, side, side};
  // Draw the icon in a group, then keep its coverage and take the colour everywhere else.
  cairo_push_group(cr);
  bool drawn = VectorImage::draw(*svg, cr, box);
  if (drawn) {
    cairo_set_operator(cr, CAIRO_OPERATOR_IN);
    setColor(cr, s.color);
    Rect grown = box.outsetBy(2);
    cairo_rectangle(cr, grown.x, grown.y, grown.width, grown.height);
    cairo_fill(cr);
  }
  cairo_pop_group_to_source(cr);
  if (drawn) cairo_paint(cr);
  cairo_set_source_rgba(cr, 0, 0, 0, 0);
}

void drawImage(cairo_t* cr, const D::Image& part) {
  Image image;
  try {
    image = ImageCache::shared().image(part.path);
  } catch (const VornoError&) {
    return;  // an icon that can't be read is left out
  }
  if (!image || image.width() <= 0 || image.height() <= 0) return;
  CairoSaved saved(cr);
  Path clip;
  clip.addRoundedRect(part.rect, part.radius);
  cairo_new_path(cr);
  appendPath(cr, clip);
  cairo_clip(cr);
  // Cover the rectangle, centred, as an app icon would be shown.
  double scale = std::max(part.rect.width / image.width(), part.rect.height / image.height());
  double w = image.width() * scale, h = image.height() * scale;
  cairo_translate(cr, part.rect.midX() - w / 2, part.rect.midY() - h / 2);
  cairo_scale(cr, scale, scale);
  cairo_set_source_surface(cr, image.surface(), 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  cairo_paint(cr);
}

void drawCheck(cairo_t* cr, const D::Check& c) {
  Path disc;
  disc.addEllipse(c.rect);
  fill(cr, disc, c.fill);
  CairoSaved saved(cr);
  cairo_new_path(cr);
  appendPath(cr, tick(c.rect));
  setColor(cr, c.mark);
  cairo_set_line_width(cr, c.rect.width * 0.11);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_stroke(cr);
}

void drawText(cairo_t* cr, const D::Text& t) {
  TextLayout::Fitted laid = TextLayout::laid(t.spec, t.rect.width);
  TextLayout::draw(laid, cr, t.rect.x, t.rect.y);
}

struct PaintPart {
  cairo_t* cr;
  void operator()(const D::Card& c) const {
    Path p;
    p.addRoundedRect(c.rect, c.radius);
    fill(cr, p, c.color);
  }
  void operator()(const D::Text& t) const { drawText(cr, t); }
  void operator()(const D::Stars& s) const { drawStars(cr, s); }
  void operator()(const D::Symbol& s) const { drawSymbol(cr, s); }
  void operator()(const D::Image& i) const { drawImage(cr, i); }
  void operator()(const D::Check& c) const { drawCheck(cr, c); }
  void operator()(const D::Laurel& l) const { fill(cr, laurel(l.rect, l.mirrored), l.color); }
  void operator()(const D::Tail& t) const { fill(cr, tail(t.rect), t.color); }
};

// An almond-shaped leaf from `base` to `tip`, `width` across at its widest.
void addLeaf(Path& path, Point base, Point tip, double width) {
  double dx = tip.x - base.x, dy = tip.y - base.y, length = std::hypot(dx, dy);
  if (length <= 0) return;
  double nx = -dy / length * width, ny = dx / length * width;  // a normal as long as the width
  Point mid{base.x + dx * 0.5, base.y + dy * 0.5};
  path.moveTo(base);
  path.curveTo({mid.x + nx * 0.55 - dx * 0.15, mid.y + ny * 0.55 - dy * 0.15},
               {mid.x + nx * 0.45 + dx * 0.25, mid.y + ny * 0.45 + dy * 0.25}, tip);
  path.curveTo({mid.x - nx * 0.45 + dx * 0.25, mid.y - ny * 0.45 + dy * 0.25},
               {mid.x - nx * 0.55 - dx * 0.15, mid.y - ny * 0.55 - dy * 0.15}, base);
  path.close();
}

}  // namespace

Path star(const Rect& rect) {
  // A regular star spans 2 cos 18° of its radius across and 1 + cos 36° from top point to the
  // lower points; the radius is the largest that fits, and the star is centred by its extent.
  double across = 2 * std::cos(pi / 10), down = 1 + std::cos(pi / 5);
  double r = std::min(rect.width / across, rect.height / down);
  double inner = r * 0.47;
  Point c{rect.midX(), rect.y + (rect.height - down * r) / 2 + r};
  Path p;
  for (int i = 0; i < 10; ++i) {
    double angle = -pi / 2 + i * pi / 5;
    double radius = i % 2 == 0 ? r : inner;
    Point q{c.x + radius * std::cos(angle), c.y + radius * std::sin(angle)};
    if (i == 0)
      p.moveTo(q);
    else
      p.lineTo(q);
  }
  p.close();
  return p;
}

Path laurel(const Rect& rect, bool mirrored) {
  // Drawn as the left branch in a unit box, then fitted to the rectangle (and flipped for the
  // right-hand one). The stem is a cubic from the foot, bowing out to the left, up to the top;
  // leaves stand on it in pairs, the outer ones larger, all leaning up the stem.
  Point s0{0.78, 0.99}, s1{0.05, 0.86}, s2{0.02, 0.22}, s3{0.62, 0.02};
  auto at = [&](double t) {
    double u = 1 - t;
    return Point{u * u * u * s0.x + 3 * u * u * t * s1.x + 3 * u * t * t * s2.x + t * t * t * s3.x,
                 u * u * u * s0.y + 3 * u * u * t * s1.y + 3 * u * t * t * s2.y + t * t * t * s3.y};
  };
  // Work in a space where x and y have the same unit: the box is 125 by 310 in the design.
  double aspect = rect.width > 0 ? rect.height / rect.width : 2.48;
  auto scaled = [&](Point p) { return Point{p.x, p.y * aspect}; };
  Path p;
  // The stem as a thin filled band: the curve out, and back a little to the right.
  const int steps = 24;
  double stem = 0.045;
  // It runs the same way round as the leaves, so that where they overlap the nonzero fill adds
  // them up instead of cutting holes.
  for (int i = 0; i <= steps; ++i) {
    Point q = scaled(at(static_cast<double>(i) / steps));
    if (i == 0)
      p.moveTo({q.x + stem / 2, q.y});
    else
      p.lineTo({q.x + stem / 2, q.y});
  }
  for (int i = steps; i >= 0; --i) {
    Point q = scaled(at(static_cast<double>(i) / steps));
    p.lineTo({q.x - stem / 2, q.y});
  }
  p.close();
  const int leaves = 7;
  for (int i = 0; i < leaves; ++i) {
    double t = 0.08 + i * (0.86 / (leaves - 1));
    Point base = scaled(at(t));
    Point ahead = scaled(at(std::min(1.0, t + 0.02)));
    double tx = ahead.x - base.x, ty = ahead.y - base.y, tl = std::hypot(tx, ty);
    tx /= tl, ty /= tl;
    // The outward normal of a stem climbing up the left side points left.
    double ox = ty, oy = -tx;
    if (ox > 0) ox = -ox, oy = -oy;
    double grow = 1 - 0.35 * t;  // leaves shrink toward the top
    double outer = 0.5 * grow, innerLength = 0.36 * grow;
    addLeaf(p, base, {base.x + (ox * 0.8 + tx * 0.6) * outer, base.y + (oy * 0.8 + ty * 0.6) * outer}, 0.17 * grow);
    if (i < leaves - 1)
      addLeaf(p, base, {base.x + (-ox * 0.75 + tx * 0.66) * innerLength, base.y + (-oy * 0.75 + ty * 0.66) * innerLength},
              0.13 * grow);
  }
  // The top leaf carries on the stem's line.
  Point top = scaled(at(1));
  addLeaf(p, top, {top.x + 0.16, top.y - 0.3}, 0.13);

  // From the unit space to the rectangle: the design spans x 0...1 and y 0...aspect.
  Rect box = p.bounds();
  double sx = rect.width / std::max(box.width, 1e-9), sy = rect.height / std::max(box.height, 1e-9);
  double scale = std::min(sx, sy);
  double ox = rect.x + (rect.width - box.width * scale) / 2, oy = rect.y + (rect.height - box.height * scale) / 2;
  AffineTransform fit{scale, 0, 0, scale, ox - box.x * scale, oy - box.y * scale};
  if (mirrored) fit = fit.then({-1, 0, 0, 1, 2 * rect.midX(), 0});
  return p.transformed(fit);
}

Path tick(const Rect& rect) {
  Path p;
  p.moveTo({rect.x + rect.width * 0.29, rect.y + rect.height * 0.52});
  p.lineTo({rect.x + rect.width * 0.44, rect.y + rect.height * 0.67});
  p.lineTo({rect.x + rect.width * 0.72, rect.y + rect.height * 0.36});
  return p;
}

Path tail(const Rect& r) {
  Path p;
  p.moveTo({r.x, r.y});
  p.lineTo({r.maxX(), r.y});
  p.curveTo({r.x + r.width * 0.62, r.y + r.height * 0.28}, {r.x + r.width * 0.3, r.y + r.height * 0.6},
            {r.x + r.width * 0.12, r.maxY()});
  p.curveTo({r.x + r.width * 0.1, r.y + r.height * 0.62}, {r.x + r.width * 0.06, r.y + r.height * 0.3}, {r.x, r.y});
  p.close();
  return p;
}

void draw(const ComponentDrawing& drawing, const Rect& rect, cairo_t* cr) {
  if (rect.isEmpty() || drawing.size.width <= 0 || drawing.size.height <= 0) return;
  CairoSaved saved(cr);
  cairo_translate(cr, rect.x, rect.y);
  cairo_scale(cr, rect.width / drawing.size.width, rect.height / drawing.size.height);
  for (const auto& part : drawing.parts) {
    CairoSaved partSaved(cr);
    std::visit(PaintPart{cr}, part);
  }
}

}  // namespace vorno::ComponentPainter
