// The icon is drawn in its own colours into a group, then the colour is filled over it with
// the IN operator, which keeps the icon's coverage and replaces its colour: any icon comes out
// in exactly the element's colour, antialiased edges included.
#include "kit/render/symbol_drawing.h"

#include "kit/image/cairo_util.h"
#include "kit/image/vector_image.h"
#include "kit/layout/symbols.h"

#include <cairo.h>

#include <algorithm>

namespace vorno::SymbolDrawing {

std::optional<Rect> symbolRect(std::string_view name, const Rect& rect) {
  std::optional<std::string> svg = Symbols::svgPath(name);
  if (!svg || rect.isEmpty()) return std::nullopt;
  std::optional<Size> natural = VectorImage::naturalSize(*svg);
  if (!natural || !(natural->width > 0) || !(natural->height > 0)) return std::nullopt;
  const double factor = std::min(rect.width / natural->width, rect.height / natural->height);
  const double w = natural->width * factor, h = natural->height * factor;
  return Rect{rect.midX() - w / 2, rect.midY() - h / 2, w, h};
}

void drawSymbol(std::string_view name, const RGBColor& color, const Rect& rect, cairo_t* cr) {
  std::optional<Rect> target = symbolRect(name, rect);
  if (!target) return;
  std::optional<std::string> svg = Symbols::svgPath(name);
  CairoSaved saved(cr);
  cairo_push_group(cr);
  bool drawn = VectorImage::draw(*svg, cr, *target);
  if (drawn) {
    cairo_set_operator(cr, CAIRO_OPERATOR_IN);
    setColor(cr, color);
    addRect(cr, rect.outsetBy(2));
    cairo_fill(cr);
  }
  cairo_pop_group_to_source(cr);
  if (drawn) cairo_paint(cr);
}

}  // namespace vorno::SymbolDrawing
