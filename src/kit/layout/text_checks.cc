#include "kit/layout/text_checks.h"

#include "kit/layout/content_keys.h"
#include "kit/model/enum_names.h"
#include "kit/text/text_layout.h"
#include "kit/util/format.h"

#include <set>
#include <sstream>

namespace vorno {

namespace {

using ContentKeys::number;
std::string colorKey(const std::optional<RGBColor>& c) { return ContentKeys::color(c); }
std::string fillKey(const std::optional<Fill>& f) { return ContentKeys::fill(f); }
std::string optionalNumber(const std::optional<double>& v) { return ContentKeys::number(v); }

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

template <class E>
std::string name(E value) {
  return std::string(EnumNames<E>::names[static_cast<size_t>(value)]);
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

void fontIssues(const std::vector<ElementLayout>& elements, const std::string& root, IssueSink& sink) {
  std::vector<std::string> families;
  std::set<std::string> seen;
  for (const auto& e : elements) {
    const TextSpec* spec = e.text();
    if (!spec || !spec->family || spec->family->empty()) continue;
    if (seen.insert(*spec->family).second) families.push_back(*spec->family);
  }
  for (const auto& family : families) {
    switch (TextLayout::fontSource(family, root)) {
      case FontSource::local:
        sink.info("font.local", "Font " + family +
                                    " comes from this Mac, not the project's fonts/: renders on another Mac will use "
                                    "the system font. Add the font file with asset_add.");
        break;
      case FontSource::missing:
        sink.warning("font.missing", "Font " + family +
                                         " isn't in the project's fonts/ or installed on this Mac, so the system font "
                                         "is used. Add the .ttf or .otf with asset_add, or pick another family.");
        break;
      default:
        break;
    }
  }
}

ElementLayout textElement(const std::string& id, const std::string& label, const ElementOwner& owner, TextSpec spec,
                          const Placement& placement, double z, double opacity, bool shadow, bool manual, double W,
                          double H) {
  spec.size *= placement.fontScale.value_or(1);
  const double width = W * placement.width;
  const double height = TextLayout::suggestedSize(TextLayout::attributed(spec.text, TextLayout::style(spec)), width).height;
  ElementLayout e;
  e.id = id;
  e.owner = owner;
  e.kind = ElementLayout::Kind::text;
  e.label = label;
  e.frame = {W * placement.x - width * 0.5, H * placement.y - height * 0.5, width, height};
  e.rotation = placement.rotation.value_or(0);
  e.opacity = opacity;
  e.shadow = shadow;
  e.z = z;
  e.isManual = manual;
  e.placement = placement;
  e.bleed = spec.size * (shadow ? 0.6 : 0.3);
  e.contentKey = textKey(spec, width, opacity, shadow);
  e.content = std::move(spec);
  return e;
}

void textChecks(const std::vector<ElementLayout>& elements, const StyleContext& context, const Fill& background,
                const std::optional<SlideLayoutEngine::Board>& board, double W, double H, IssueSink& sink) {
  for (const auto& e : elements) {
    const TextSpec* spec = e.text();
    if (!spec || e.decorative) continue;
    if (TextLayout::marksCollide(*spec, e.frame.width))
      sink.warning("text.marks", e.label +
                                     ": a highlight block covers part of the line next to it. Make the setup line "
                                     "smaller ({0.7} at its start) or raise lineHeight in its text style.",
                   e.uid());

    // A sticker brings its own paper, so the background doesn't matter to it.
    if (spec->emphasisStyle == EmphasisStyle::sticker && !spec->block) continue;
    RGBColor behind;
    if (spec->block) {
      behind = *spec->block;
    } else if (spec->effect && spec->effect->outline) {
      behind = *spec->effect->outline;
    } else if (board) {
      behind = board->fill.sample((e.frame.midX() / W + board->index) / board->count, e.frame.midY() / H,
                                  {W * board->count, H});
    } else {
      behind = background.sample(e.frame.midX() / W, e.frame.midY() / H, {W, H});
    }
    const double ratio = spec->color.contrast(behind);
    const double needed = spec->size < context.unit * 0.06 ? 4.5 : 3.0;
    if (ratio < needed) {
      auto suggestion = spec->color.adjusted(needed, behind);
      sink.add(Issue::Severity::warning, "text.contrast",
               formatted("%s contrast is %.1f:1 against the background behind it; aim for %.1f:1.", e.label.c_str(),
                         ratio, needed),
               e.uid(), suggestion ? std::optional<std::string>(suggestion->hex()) : std::nullopt);
    }
  }
}

}  // namespace vorno
