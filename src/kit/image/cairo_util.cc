#include "kit/image/cairo_util.h"

#include <cairo.h>

namespace vorno {

void appendPath(cairo_t* cr, const Path& path) {
  for (const Path::Element& element : path.elements()) {
    const Point* p = element.points;
    switch (element.verb) {
      case Path::Verb::move: cairo_move_to(cr, p[0].x, p[0].y); break;
      case Path::Verb::line: cairo_line_to(cr, p[0].x, p[0].y); break;
      case Path::Verb::curve: cairo_curve_to(cr, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y); break;
      case Path::Verb::close: cairo_close_path(cr); break;
    }
  }
}

void setColor(cairo_t* cr, RGBColor color) { cairo_set_source_rgba(cr, color.r, color.g, color.b, color.a); }

void addRect(cairo_t* cr, const Rect& rect) { cairo_rectangle(cr, rect.x, rect.y, rect.width, rect.height); }

void CairoRelease::operator()(cairo_t* cr) const { cairo_destroy(cr); }
void CairoRelease::operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
void CairoRelease::operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }

CairoSaved::CairoSaved(cairo_t* cr) : cr_(cr) { cairo_save(cr_); }
CairoSaved::~CairoSaved() { cairo_restore(cr_); }

}  // namespace vorno
