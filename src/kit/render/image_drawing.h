// ImageDrawing: the content of image elements: the mask's clip, the crop, and either a vector
// file (SVG, PDF) drawn at the size its crop needs or a decoded raster from the ImageCache.
#pragma once

#include "kit/layout/element_layout.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

typedef struct _cairo cairo_t;

namespace vorno::ImageDrawing {

/// The clip outline of a mask in `rect`; an empty path for no mask or a mask that doesn't clip
/// beyond the rectangle.
Path maskPath(const ImageSpec& image, const Rect& rect);

/// The rectangle a whole vector drawing takes so that its `crop` fills `rect`.
Rect vectorRect(const CropRect& crop, const Rect& rect);

/// Draws the image into `rect`. Throws VornoError for a raster that can't be read ("Image not
/// found: ..." or "Not a readable image: ..."); the context's state is kept either way.
void drawImage(const ImageSpec& image, const Rect& rect, cairo_t* cr);

}  // namespace vorno::ImageDrawing
