// A text as an element: its content key, and a hand-placed text measured at its placement's width.
#include "kit/layout/text_element.h"

#include "kit/layout/content_keys.h"
#include "kit/model/enum_names.h"
#include "kit/text/text_layout.h"

namespace vorno {

namespace {

using ContentKeys::number;
std::string colorKey(const std::optional<RGBColor>& c) { return ContentKeys::color(c); }
std::string fillKey(const std::optional<Fill>& f) { return ContentKeys::fill(f); }
std::string optionalNumber(const std::optional<double>& v) { return ContentKeys::number(v); }
using ContentKeys::name;

std::string effectKey(const std::optional<TextEffect>& e) {
  if (!e) return "-";
  return colorKey(e->outline) + "," + optionalNumber(e->outlineWidth) + "," + colorKey(e->shadow) + "," +
         optionalNumber(e->shadowX) + "," + optionalNumber(e->shadowY);
}

std::string markKey(const std::optional<MarkStyle>& m) {
  if (!m) return "-";
  return colorKey(m->color) + "," + colorKey(m->textColor) + "," + colorKey(m->paper) + "," +
         optionalNumber(m->padding) + "," + optionalNumber(m->radius) + "," + optionalNumber(m->tilt) + "," +
         optionalNumber(m->height) + "," + optionalNumber(m->offset) + "," + optionalNumber(m->opacity);
}


}  // namespace

std::string textKey(const TextSpec& spec, double width, double opacity, bool shadow) {
  std::string key = "text|" + spec.text + "|" + number(width) + "|o" + number(opacity) + (shadow ? "|s" : "") + "|" +
                    number(spec.size) + "|" + name(spec.weight) + "|" + spec.family.value_or("") + "|" +
                    spec.color.hex() + "|" + spec.emphasis.hex() + "|" + name(spec.alignment) + "|" +
                    number(spec.tracking) + "|" + number(spec.lineHeight) + (spec.uppercase ? "|U" : "|-") + "|" +
                    name(spec.emphasisStyle) + "|" + colorKey(spec.block) + "|" + number(spec.slant) +
                    (spec.italic ? "|i" : "|-") + "|" + effectKey(spec.effect) + "|" + fillKey(spec.fill) + "|" +
                    markKey(spec.mark) + "|" + spec.language;
  return key;
}

ElementLayout textElement(const ElementName& name, TextSpec spec, const Placement& placement,
                          const Stacking& stacking, Size canvas) {
  const double W = canvas.width, H = canvas.height;
  const double opacity = stacking.opacity;
  const bool shadow = stacking.shadow;
  spec.size *= placement.fontScale.value_or(1);
  const double width = W * placement.width;
  const double height = TextLayout::suggestedSize(TextLayout::attributed(spec.text, TextLayout::style(spec)), width).height;
  ElementLayout e;
  e.id = name.id;
  e.owner = name.owner;
  e.kind = ElementLayout::Kind::text;
  e.label = name.label;
  e.frame = {W * placement.x - width * 0.5, H * placement.y - height * 0.5, width, height};
  e.rotation = placement.rotation.value_or(0);
  e.opacity = opacity;
  e.shadow = shadow;
  e.z = stacking.z;
  e.isManual = stacking.manual;
  e.placement = placement;
  e.bleed = spec.size * (shadow ? 0.6 : 0.3);
  e.contentKey = textKey(spec, width, opacity, shadow);
  e.content = std::move(spec);
  return e;
}

}  // namespace vorno
