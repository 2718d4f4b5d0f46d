#include "kit/layout/element_layout.h"

#include "kit/text/text_layout.h"

#include <algorithm>

namespace vorno {

std::string ElementLayout::uid() const {
  std::string result = owner.kind == ElementOwner::Kind::slide ? "slide:" : "spread:";
  result += owner.id;
  result += "/";
  result += id;
  if (incoming) result += "~next";
  return result;
}

Rect ElementLayout::inkBounds() const {
  Rect r = frame;
  if (const TextSpec* spec = text()) {
    if (auto span = TextLayout::inkSpan(*spec, frame.width)) r = {frame.x + span->first, frame.y, span->second - span->first, frame.height};
  }
  // Turned about the frame's centre, not the narrowed box's: the text turns as a whole.
  return r.rotatedBounds(rotation, frame.center());
}

Rect ElementLayout::drawnFrame() const { return frame.scaledAboutCenter(drawScale); }

Rect ElementLayout::drawnInkBounds() const {
  Rect ink = inkBounds();
  if (drawScale == 1) return ink;
  Point c = frame.center();
  return {c.x + (ink.x - c.x) * drawScale, c.y + (ink.y - c.y) * drawScale, ink.width * drawScale,
          ink.height * drawScale};
}

const ElementLayout* ComposedSlide::element(std::string_view id, std::string_view ownerID) const {
  for (const auto& e : elements)
    if (e.id == id && e.owner.id == ownerID) return &e;
  return nullptr;
}

const ElementLayout* ComposedSlide::element(std::string_view uid) const {
  for (const auto& e : elements)
    if (e.uid() == uid) return &e;
  return nullptr;
}

std::vector<ElementLayout> sorted(std::vector<ElementLayout> elements) {
  std::stable_sort(elements.begin(), elements.end(),
                   [](const ElementLayout& a, const ElementLayout& b) { return a.z < b.z; });
  return elements;
}

}  // namespace vorno
