// ScreenShape: the outline of a screen. Device screens and bodies have continuous corners: the
// curvature eases in from the straight edge instead of jumping to that of a circle, which is what
// makes a device corner read as smooth. This is the one corner every device shape uses.
// Also here: rasterising a PDF screen mask, and fitting a corner radius to such a mask.
//
//   Path body = ScreenShape::continuousRect({0, 0, 400, 860}, 60);
//   std::optional<MaskImage> mask = ScreenShape::renderMask(pdf, 1206, 2622);
#pragma once

#include "kit/devices/mask_image.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

#include <optional>
#include <string>
#include <vector>

namespace vorno::ScreenShape {

/// How far along each edge a continuous corner of radius 1 reaches: its curvature eases in over
/// this length, about half again the radius.
inline constexpr double cornerExtent = 1.528665;

/// A rounded rectangle with continuous corners of `radius` (below 0 taken as 0).
Path continuousRect(const Rect& rect, double radius);
/// The same with one radius for both left corners and another for both right corners; equal
/// radii give the plain form, negative radii are taken as 0.
Path continuousRect(const Rect& rect, double left, double right);

/// The first page of a PDF drawn into exactly `width` by `height` pixels, its alpha kept as
/// coverage. Nothing for a missing file or page or a size below 1. Cached in MaskCache.
std::optional<MaskImage> renderMask(const std::string& pdfPath, int width, int height);

/// The candidate radius (pixels) whose continuous corner best matches one corner of the mask at
/// this size; `mirrored` compares with the mask flipped left to right. On equal scores the
/// earlier candidate stays. Nothing if the mask can't be rendered or no candidate was tried.
std::optional<double> bestRadius(const std::string& pdfPath, int width, int height, bool mirrored,
                                 const std::vector<double>& candidates);

/// The corner radius of the mask in pixels: whole radii on a copy at most 360 pixels wide, then
/// half pixels around that answer at full size. Nothing if the mask can't be rendered.
std::optional<double> fitCornerRadius(const std::string& pdfPath, int width, int height, bool mirrored);

}  // namespace vorno::ScreenShape
