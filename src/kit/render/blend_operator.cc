#include "kit/render/blend_operator.h"

#include <cairo.h>

namespace vorno {

int cairoOperator(BlendMode mode) {
  switch (mode) {
    case BlendMode::normal: return CAIRO_OPERATOR_OVER;
    case BlendMode::multiply: return CAIRO_OPERATOR_MULTIPLY;
    case BlendMode::screen: return CAIRO_OPERATOR_SCREEN;
    case BlendMode::overlay: return CAIRO_OPERATOR_OVERLAY;
    case BlendMode::darken: return CAIRO_OPERATOR_DARKEN;
    case BlendMode::lighten: return CAIRO_OPERATOR_LIGHTEN;
    case BlendMode::colorDodge: return CAIRO_OPERATOR_COLOR_DODGE;
    case BlendMode::colorBurn: return CAIRO_OPERATOR_COLOR_BURN;
    case BlendMode::softLight: return CAIRO_OPERATOR_SOFT_LIGHT;
    case BlendMode::hardLight: return CAIRO_OPERATOR_HARD_LIGHT;
    case BlendMode::difference: return CAIRO_OPERATOR_DIFFERENCE;
    case BlendMode::exclusion: return CAIRO_OPERATOR_EXCLUSION;
  }
  return CAIRO_OPERATOR_OVER;
}

void setBlendMode(cairo_t* cr, BlendMode mode) {
  cairo_set_operator(cr, static_cast<cairo_operator_t>(cairoOperator(mode)));
}

}  // namespace vorno
