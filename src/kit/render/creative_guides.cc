#include "kit/render/creative_guides.h"

#include "kit/image/canvas.h"
#include "kit/model/store_target.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>

namespace vorno::CreativeGuides {

Image overlay(const Image& image, const StoreTarget& target) {
  if (!target.safeArea || !image || target.width <= 0 || target.height <= 0) return image;
  const double width = image.width(), height = image.height();
  const double sx = width / target.width, sy = height / target.height;
  const Rect& area = *target.safeArea;
  const Rect safe{area.minX() * sx, area.minY() * sy, area.width * sx, area.height * sy};

  try {
    Canvas canvas = Canvas::opaque(image.width(), image.height());
    cairo_t* cr = canvas.context();
    cairo_set_source_surface(cr, image.surface(), 0, 0);
    cairo_paint(cr);

    // The veil: everything but the safe area, as one even-odd path.
    cairo_rectangle(cr, 0, 0, width, height);
    cairo_rectangle(cr, safe.x, safe.y, safe.width, safe.height);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_EVEN_ODD);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.32);
    cairo_fill(cr);

    // A dark dash outside a light one, so the line reads on any picture.
    const double lw = std::max(width / 640, 2.0);
    const double dashes[2] = {5 * lw, 3 * lw};
    cairo_set_line_width(cr, lw);
    cairo_set_dash(cr, dashes, 2, 0);
    Rect outer = safe.outsetBy(lw);
    cairo_rectangle(cr, outer.x, outer.y, outer.width, outer.height);
    cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
    cairo_stroke(cr);
    cairo_rectangle(cr, safe.x, safe.y, safe.width, safe.height);
    cairo_set_source_rgba(cr, 1, 1, 1, 0.95);
    cairo_stroke(cr);

    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Couldn't draw the safe area.");
    Image result = canvas.finish();
    if (!result) throw VornoError::io("Couldn't draw the safe area.");
    return result;
  } catch (const VornoError&) {
    throw VornoError::io("Couldn't draw the safe area.");
  }
}

}  // namespace vorno::CreativeGuides
