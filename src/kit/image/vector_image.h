// VectorImage: SVG (librsvg) and PDF (poppler, first page) files, which have no pixels of their
// own. They are measured at their natural size (SVG user units or PDF points, one per pixel),
// drawn straight into a cairo context, or rasterised at a multiple of that size.
#pragma once

#include "kit/image/image.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>

typedef struct _cairo cairo_t;

namespace vorno::VectorImage {

/// True for a lower-cased extension of "svg" or "pdf": the files drawn as vectors.
bool isVector(const std::string& path);
/// Width and height at natural size; nothing for an unreadable file or an SVG without a size or
/// a viewBox.
std::optional<Size> naturalSize(const std::string& path);
/// A transparent bitmap of the drawing at `scale` times its natural size. The scale is lowered
/// when the result would pass the decoders' limits (32767 on a side, 100 megapixels). A null
/// Image for an unreadable file.
Image rasterize(const std::string& path, double scale);
/// Draws the drawing stretched to fill `rect` (like any image drawn into a rectangle, the aspect
/// is the rectangle's). False, and nothing drawn, for an unreadable file.
bool draw(const std::string& path, cairo_t* cr, const Rect& rect);

}  // namespace vorno::VectorImage
