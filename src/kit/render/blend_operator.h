// How an element's blend mode reaches cairo: the twelve separable modes map one to one on
// cairo's operators of the same names. The slide renderer sets it when it composites a layer.
#pragma once

#include "kit/model/enums.h"

typedef struct _cairo cairo_t;

namespace vorno {

/// The cairo_operator_t value (as an int, so that this header needs no cairo.h) of `mode`.
int cairoOperator(BlendMode mode);
/// Sets the context's operator for `mode`.
void setBlendMode(cairo_t* cr, BlendMode mode);

}  // namespace vorno
