#include "kit/render/seam_markers.h"

#include <cairo.h>

#include <algorithm>

#include "kit/image/canvas.h"
#include "kit/util/vorno_error.h"

namespace vorno {

Image markSeams(const Image& board, int slices) {
  if (!board || slices < 2) return board;
  const double width = board.width(), height = board.height();
  const double slice = width / slices;
  // A hairline at preview size, still visible once the board is shrunk for the agent: about one
  // pixel of a 2000-pixel preview.
  const double lw = std::max(width / 1600, 1.0);
  const double tick = std::max(height * 0.035, 6 * lw);

  try {
    Canvas canvas = Canvas::opaque(board.width(), board.height());
    cairo_t* cr = canvas.context();
    cairo_set_source_surface(cr, board.surface(), 0, 0);
    cairo_paint(cr);
    cairo_set_line_cap(cr, CAIRO_LINE_CAP_BUTT);
    for (int k = 1; k < slices; ++k) {
      const double x = k * slice;
      // A dashed line through the whole height, dark under light so it reads on any picture.
      const double dashes[2] = {4 * lw, 4 * lw};
      cairo_set_dash(cr, dashes, 2, 0);
      cairo_move_to(cr, x, tick);
      cairo_line_to(cr, x, height - tick);
      cairo_set_line_width(cr, 3 * lw);
      cairo_set_source_rgba(cr, 0, 0, 0, 0.35);
      cairo_stroke_preserve(cr);
      cairo_set_line_width(cr, lw);
      cairo_set_source_rgba(cr, 1, 1, 1, 0.8);
      cairo_stroke(cr);

      // Solid ticks at the top and the bottom edge, where the cut is easiest to find.
      cairo_set_dash(cr, nullptr, 0, 0);
      for (double y0 : {0.0, height - tick}) {
        cairo_move_to(cr, x, y0);
        cairo_line_to(cr, x, y0 + tick);
      }
      cairo_set_line_width(cr, 4 * lw);
      cairo_set_source_rgba(cr, 0, 0, 0, 0.6);
      cairo_stroke_preserve(cr);
      cairo_set_line_width(cr, 2 * lw);
      cairo_set_source_rgba(cr, 1, 1, 1, 0.95);
      cairo_stroke(cr);
    }
    if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Couldn't draw the seams.");
    Image marked = canvas.finish();
    if (!marked) throw VornoError::io("Couldn't draw the seams.");
    return marked;
  } catch (const VornoError&) {
    throw VornoError::io("Couldn't draw the seams.");
  }
}

}  // namespace vorno
