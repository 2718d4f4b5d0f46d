// Hand-made composed slides and fake layers for the renderer's tests: a small target, solid
// backgrounds, and elements whose layer is one flat colour, so a test can read back exactly
// where each element landed without depending on how any kind of content is drawn.
#pragma once

#include "kit/image/canvas.h"
#include "kit/image/fill_painter.h"
#include "kit/layout/element_layout.h"
#include "kit/model/fill.h"
#include "kit/model/store_target.h"
#include "kit/util/geometry.h"

#include <algorithm>
#include <atomic>
#include <string>

namespace vorno::testing {

inline StoreTarget smallTarget(int width = 100, int height = 200) {
  StoreTarget target = StoreTarget::iphone69();
  target.width = width;
  target.height = height;
  return target;
}

/// A board of `members` slices with white backgrounds; the focus is slide `focus`.
inline ComposedSlide board(const StoreTarget& target, int members = 1, int focus = 0) {
  ComposedSlide composed;
  composed.target = target;
  composed.locale = "en-US";
  for (int i = 0; i < members; ++i) {
    composed.slideIDs.push_back("s" + std::to_string(i));
    composed.sliceBackgrounds.push_back(Fill::solid(RGBColor::white()));
  }
  composed.slideID = composed.slideIDs[static_cast<size_t>(focus)];
  return composed;
}

/// A shape element of `frame` owned by `owner`; its fake layer is pure red.
inline ElementLayout block(const std::string& id, const Rect& frame, const std::string& owner = "s0") {
  ElementLayout element;
  element.id = id;
  element.owner = ElementOwner::slide(owner);
  element.kind = ElementLayout::Kind::shape;
  element.label = id;
  element.frame = frame;
  element.content = ShapeSpec{};
  element.contentKey = "block|" + id + "|" + std::to_string(frame.width) + "x" + std::to_string(frame.height);
  return element;
}

/// Layers as the real renderer sizes them, flat red over the whole frame (bleed stays clear).
/// Counts its calls.
struct FlatLayers {
  std::atomic<int> calls{0};

  Image operator()(const ElementLayout& element, double scale) {
    calls.fetch_add(1);
    scale = std::clamp(scale, 0.02, 1.0);
    Rect rect = element.layerRect();
    Canvas canvas = Canvas::transparent(std::max(1, static_cast<int>(scale * rect.width)),
                                        std::max(1, static_cast<int>(scale * rect.height)));
    Rect content{element.bleed * scale, element.bleed * scale, element.frame.width * scale,
                 element.frame.height * scale};
    FillPainter::paint(Fill::solid(RGBColor{1, 0, 0, 1}), canvas.context(), content);
    return canvas.finish();
  }
};

/// The pixel at (x, y) as 0xRRGGBB (alpha dropped; pictures are opaque).
inline uint32_t rgbAt(const Image& image, int x, int y) {
  const auto* row = reinterpret_cast<const uint32_t*>(image.data() + static_cast<size_t>(y) * image.stride());
  return row[x] & 0xFFFFFF;
}

inline int alphaAt(const Image& image, int x, int y) {
  const auto* row = reinterpret_cast<const uint32_t*>(image.data() + static_cast<size_t>(y) * image.stride());
  return int(row[x] >> 24);
}

}  // namespace vorno::testing
