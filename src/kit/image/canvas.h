// Canvas: a bitmap being drawn, an owned cairo image surface with its context. When the drawing
// is done, `finish` hands the pixels over as an immutable Image without a copy.
//
//   Canvas canvas = Canvas::transparent(w, h);   // premultiplied ARGB32, cleared
//   cairo_t* cr = canvas.context();              // y down, origin top left
//   ... draw ...
//   Image layer = canvas.finish();
#pragma once

#include "kit/image/image.h"

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;

namespace vorno {

class Canvas {
 public:
  /// A transparent bitmap; throws VornoError io "Could not allocate a <w>×<h> layer."
  static Canvas transparent(int width, int height);
  /// An opaque bitmap (no alpha), filled black; throws io "Could not allocate a <w>×<h> canvas."
  static Canvas opaque(int width, int height);

  Canvas(Canvas&& other) noexcept;
  Canvas& operator=(Canvas&& other) noexcept;
  Canvas(const Canvas&) = delete;
  Canvas& operator=(const Canvas&) = delete;
  ~Canvas();

  int width() const;
  int height() const;
  cairo_t* context() const { return cr_; }
  /// Ends drawing and returns the pixels; the canvas is empty afterwards.
  Image finish();

 private:
  Canvas(cairo_surface_t* surface, cairo_t* cr) : surface_(surface), cr_(cr) {}
  static Canvas make(int format, int width, int height);
  cairo_surface_t* surface_ = nullptr;
  cairo_t* cr_ = nullptr;
};

}  // namespace vorno
