#include "kit/model/text_style.h"

#include "kit/model/codings.h"

namespace vorno {

MarkStyle Coding<MarkStyle>::read(const Reader& r) {
  r.requireObject();
  MarkStyle s;
  s.color = r.getIfPresent<RGBColor>("color");
  s.textColor = r.getIfPresent<RGBColor>("textColor");
  s.paper = r.getIfPresent<RGBColor>("paper");
  s.padding = r.getIfPresent<double>("padding");
  s.radius = r.getIfPresent<double>("radius");
  s.tilt = r.getIfPresent<double>("tilt");
  s.height = r.getIfPresent<double>("height");
  s.offset = r.getIfPresent<double>("offset");
  s.opacity = r.getIfPresent<double>("opacity");
  return s;
}

Json Coding<MarkStyle>::write(const MarkStyle& s) {
  return ObjectWriter()
      .putIfPresent("color", s.color)
      .putIfPresent("textColor", s.textColor)
      .putIfPresent("paper", s.paper)
      .putIfPresent("padding", s.padding)
      .putIfPresent("radius", s.radius)
      .putIfPresent("tilt", s.tilt)
      .putIfPresent("height", s.height)
      .putIfPresent("offset", s.offset)
      .putIfPresent("opacity", s.opacity)
      .done();
}

ShadowStyle Coding<ShadowStyle>::read(const Reader& r) {
  r.requireObject();
  ShadowStyle s;
  s.color = r.getIfPresent<RGBColor>("color");
  s.opacity = r.getIfPresent<double>("opacity");
  s.blur = r.getIfPresent<double>("blur");
  s.x = r.getIfPresent<double>("x");
  s.y = r.getIfPresent<double>("y");
  return s;
}

Json Coding<ShadowStyle>::write(const ShadowStyle& s) {
  return ObjectWriter()
      .putIfPresent("color", s.color)
      .putIfPresent("opacity", s.opacity)
      .putIfPresent("blur", s.blur)
      .putIfPresent("x", s.x)
      .putIfPresent("y", s.y)
      .done();
}

TextEffect Coding<TextEffect>::read(const Reader& r) {
  r.requireObject();
  TextEffect e;
  e.outline = r.getIfPresent<RGBColor>("outline");
  e.outlineWidth = r.getIfPresent<double>("outlineWidth");
  e.shadow = r.getIfPresent<RGBColor>("shadow");
  e.shadowX = r.getIfPresent<double>("shadowX");
  e.shadowY = r.getIfPresent<double>("shadowY");
  return e;
}

Json Coding<TextEffect>::write(const TextEffect& e) {
  return ObjectWriter()
      .putIfPresent("outline", e.outline)
      .putIfPresent("outlineWidth", e.outlineWidth)
      .putIfPresent("shadow", e.shadow)
      .putIfPresent("shadowX", e.shadowX)
      .putIfPresent("shadowY", e.shadowY)
      .done();
}

TextStyle Coding<TextStyle>::read(const Reader& r) {
  r.requireObject();
  TextStyle s;
  s.fontFamily = r.getIfPresent<std::string>("fontFamily");
  s.weight = r.getIfPresent<FontWeight>("weight");
  s.scale = r.getIfPresent<double>("scale");
  s.tracking = r.getIfPresent<double>("tracking");
  s.lineHeight = r.getIfPresent<double>("lineHeight");
  s.uppercase = r.getIfPresent<bool>("uppercase");
  s.italic = r.getIfPresent<bool>("italic");
  s.color = r.getIfPresent<RGBColor>("color");
  s.align = r.getIfPresent<TextAlign>("align");
  s.slant = r.getIfPresent<double>("slant");
  s.emphasisStyle = r.getIfPresent<EmphasisStyle>("emphasisStyle");
  s.mark = r.getIfPresent<MarkStyle>("mark");
  s.effect = r.getIfPresent<TextEffect>("effect");
  s.fill = r.getIfPresent<Fill>("fill");
  return s;
}

Json Coding<TextStyle>::write(const TextStyle& s) {
  return ObjectWriter()
      .putIfPresent("fontFamily", s.fontFamily)
      .putIfPresent("weight", s.weight)
      .putIfPresent("scale", s.scale)
      .putIfPresent("tracking", s.tracking)
      .putIfPresent("lineHeight", s.lineHeight)
      .putIfPresent("uppercase", s.uppercase)
      .putIfPresent("italic", s.italic)
      .putIfPresent("color", s.color)
      .putIfPresent("align", s.align)
      .putIfPresent("slant", s.slant)
      .putIfPresent("emphasisStyle", s.emphasisStyle)
      .putIfPresent("mark", s.mark)
      .putIfPresent("effect", s.effect)
      .putIfPresent("fill", s.fill)
      .done();
}

}  // namespace vorno
