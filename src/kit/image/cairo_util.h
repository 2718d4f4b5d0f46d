// Small bridges between our geometry types and cairo: paths, colours, and owners of cairo
// objects that release them on every way out of a scope.
#pragma once

#include "kit/model/color.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

#include <memory>
#include <optional>

typedef struct _cairo cairo_t;
typedef struct _cairo_surface cairo_surface_t;
typedef struct _cairo_pattern cairo_pattern_t;

namespace vorno {

/// Adds `path` to the context's current path, in user space.
void appendPath(cairo_t* cr, const Path& path);
/// Sets a solid source of `color`, alpha included.
void setColor(cairo_t* cr, RGBColor color);
/// Adds a rectangle to the current path.
void addRect(cairo_t* cr, const Rect& rect);

/// A new image surface (a cairo_format_t), cleared. A picture-sized one takes its pixels straight
/// from the kernel, faulted in by huge pages where the kernel offers them, and gives them back
/// when cairo destroys it. What every surface of a picture's size is made with; check its status.
cairo_surface_t* newImageSurface(int format, int width, int height);

/// The pixels of a context's target, for code that writes them itself where that is exactly what
/// cairo would draw: an ARGB32 or RGB24 image surface, drawn directly (no group), without device
/// offset or scale, clipped to one pixel-aligned rectangle or not at all. The clip is in device
/// pixels within the surface (empty when everything is clipped away). The surface is flushed.
struct DirectPixels {
  uint8_t* data = nullptr;
  int stride = 0, width = 0, height = 0;
  bool opaque = false;  ///< RGB24: the fourth byte is unused
  int clipLeft = 0, clipTop = 0, clipRight = 0, clipBottom = 0;
};
std::optional<DirectPixels> directPixels(cairo_t* cr);

struct CairoRelease {
  void operator()(cairo_t* cr) const;
  void operator()(cairo_surface_t* surface) const;
  void operator()(cairo_pattern_t* pattern) const;
};
using CairoContextPtr = std::unique_ptr<cairo_t, CairoRelease>;
using CairoSurfacePtr = std::unique_ptr<cairo_surface_t, CairoRelease>;
using CairoPatternPtr = std::unique_ptr<cairo_pattern_t, CairoRelease>;

/// cairo_save on construction, cairo_restore on destruction.
class CairoSaved {
 public:
  explicit CairoSaved(cairo_t* cr);
  ~CairoSaved();
  CairoSaved(const CairoSaved&) = delete;
  CairoSaved& operator=(const CairoSaved&) = delete;

 private:
  cairo_t* cr_;
};

}  // namespace vorno
