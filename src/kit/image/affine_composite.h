// AffineComposite: a layer drawn onto a picture under a turn (and a mild scale), bilinear, with
// the OVER operator: how a tilted phone lands on its slide. cairo hands this to pixman's general
// path, which fetches and blends one pixel at a time through function pointers (about 40 ms for a
// phone at full size); this one walks each row of the picture only across the span the turned
// layer covers, in fixed point, four channels to a vector register, in about a quarter of that.
//
//   cairo_matrix_t toDevice = ...;  // layer pixels to the picture's pixels
//   if (!AffineComposite::over(cr, layer, toDevice, fade)) { /* let cairo draw it */ }
//
// The result matches cairo's bilinear filter to within a level or two: the same sampling points
// (pixel centres), the same 7-bit weights, the same rounding of OVER.
#pragma once

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo_matrix cairo_matrix_t;

namespace vorno::AffineComposite {

/// Draws `layer` (an ARGB32 image surface) onto the target of `cr`, each layer pixel placed by
/// `layerToDevice`, at opacity `alpha`, within the context's clip. False, with nothing drawn, for
/// what only cairo handles: a target that is not a plain ARGB32 or RGB24 image, a group, an
/// operator other than OVER, a clip that is not one pixel-aligned rectangle, or a scale at which
/// cairo's good filter would be more than bilinear.
bool over(cairo_t* cr, cairo_surface_t* layer, const cairo_matrix_t& layerToDevice, double alpha);

}  // namespace vorno::AffineComposite
