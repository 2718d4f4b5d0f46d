// Test-only helpers for layer tests: element builders and pixel readers.
#pragma once

#include "kit/image/image.h"
#include "kit/layout/element_layout.h"
#include "kit/render/render_test_support.h"
#include "kit/util/geometry.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace vorno::testing {

/// Premultiplied A, R, G, B of one pixel, 0...255.
inline std::array<int, 4> argb(const Image& image, int x, int y) {
  uint32_t p;
  std::memcpy(&p, image.data() + size_t(y) * image.stride() + size_t(x) * 4, 4);
  return {int(p >> 24), int((p >> 16) & 255), int((p >> 8) & 255), int(p & 255)};
}

/// The bounding box of pixels whose alpha passes `threshold`; empty when none.
inline Rect inkBox(const Image& image, int threshold = 0) {
  int x0 = image.width(), y0 = image.height(), x1 = -1, y1 = -1;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x)
      if (alphaAt(image, x, y) > threshold) {
        x0 = std::min(x0, x), y0 = std::min(y0, y), x1 = std::max(x1, x), y1 = std::max(y1, y);
      }
  if (x1 < 0) return {};
  return {double(x0), double(y0), double(x1 - x0 + 1), double(y1 - y0 + 1)};
}

inline ElementLayout element(ElementLayout::Kind kind, ElementLayout::Content content, Rect frame, double bleed = 0) {
  ElementLayout e;
  e.id = "e";
  e.kind = kind;
  e.frame = frame;
  e.content = std::move(content);
  e.bleed = bleed;
  return e;
}

inline ElementLayout shapeElement(ShapeSpec shape, Rect frame, double bleed = 0) {
  return element(ElementLayout::Kind::shape, std::move(shape), frame, bleed);
}

inline ShapeSpec solidShape(ShapeKind kind, RGBColor color) {
  ShapeSpec s;
  s.kind = kind;
  s.fill = Fill::solid(color);
  return s;
}

}  // namespace vorno::testing
