#include "kit/layout/text_checks.h"

#include "kit/layout/content_keys.h"
#include "kit/layout/contrast_advice.h"
#include "kit/model/enum_names.h"
#include "kit/text/text_layout.h"
#include "kit/text/text_length.h"
#include "kit/util/format.h"

#include <set>
#include <sstream>

namespace vorno {

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
                                    " is installed on this machine but not in the project's fonts/: renders on "
                                    "another machine will use the system font. Add the font file with asset_add.");
        break;
      case FontSource::missing:
        sink.warning("font.missing", "Font " + family +
                                         " isn't in the project's fonts/ or installed on this machine, so the system font "
                                         "is used. Add the .ttf or .otf with asset_add, or pick another family.");
        break;
      default:
        break;
    }
  }
}

namespace {

// What lies behind a text: its own block or outline, else the background across its ink. With a
// board the background spans the whole spread, and this slide is one member of it.
std::vector<RGBColor> colorsBehind(const ElementLayout& e, const TextSpec& spec, const Fill& background,
                                   const std::optional<SlideLayoutEngine::Board>& board, double W, double H) {
  if (spec.block) return {*spec.block};
  if (spec.effect && spec.effect->outline) return {*spec.effect->outline};
  if (board)
    return ContrastAdvice::behind(board->fill, e.inkBounds(), {W, H}, {W * board->count, H}, W * board->index);
  return ContrastAdvice::behind(background, e.inkBounds(), {W, H}, {W, H}, 0);
}

// The field that gave an automatic text its colour, when it is one a slide's textColors can't
// override: the theme's style for the role. Writing a suggestion into textColors would change
// nothing, so the message says where it goes.
std::string colorSourceNote(const ElementLayout& e, const TextSpec& spec, const StyleContext& context) {
  if (e.kind != ElementLayout::Kind::text || e.owner.kind != ElementOwner::Kind::slide) return "";
  if (e.id != "eyebrow" && e.id != "headline" && e.id != "subhead") return "";
  if (!context.theme.textStyles) return "";
  auto style = context.theme.textStyles->find(e.id);
  if (style == context.theme.textStyles->end() || !style->second.color) return "";
  if (style->second.color->hex() != spec.color.hex()) return "";
  return " The colour comes from theme.textStyles." + e.id + ".color, which wins over the slide's textColors." +
         e.id + ": change it there, or set the slide's textStyles." + e.id + ".color.";
}

// Rounding the suggestion to "#RRGGBB" and the spread of pixels behind a text can each cost a
// few hundredths of a ratio; the suggestion aims this much higher, so applying it clears the
// warning for good.
constexpr double suggestionMargin = 0.1;

void contrastCheck(const ElementLayout& e, const TextSpec& spec, const StyleContext& context,
                   const std::vector<RGBColor>& behind, IssueSink& sink) {
  const double ratio = ContrastAdvice::worstContrast(spec.color, behind);
  const double needed = spec.size < context.unit * 0.06 ? 4.5 : 3.0;
  if (ratio >= needed) return;
  auto suggestion = ContrastAdvice::suggestion(spec.color, behind, needed + suggestionMargin);
  sink.add(Issue::Severity::warning, "text.contrast",
           formatted("%s contrast is %.1f:1 against the background behind it; aim for %.1f:1.", e.label.c_str(), ratio,
                     needed) +
               colorSourceNote(e, spec, context),
           e.uid(), suggestion ? std::optional<std::string>(suggestion->hex()) : std::nullopt);
}

// A text past the most the text engine lays out is drawn cut short; a component's texts too.
void lengthCheck(const ElementLayout& e, IssueSink& sink) {
  bool cut = false;
  if (const TextSpec* spec = e.text()) cut = TextLayout::isCut(spec->text);
  if (const ComponentDrawing* drawing = std::get_if<ComponentDrawing>(&e.content)) {
    for (const ComponentDrawing::Part& part : drawing->parts)
      if (const auto* text = std::get_if<ComponentDrawing::Text>(&part)) cut = cut || TextLayout::isCut(text->spec.text);
  }
  if (!cut) return;
  const std::string limit = std::to_string(TextLayout::maxCharacters);
  sink.warning("text.cut",
               e.label + " is longer than " + limit + " characters; only the first " + limit +
                   " are laid out and drawn, ending in \"…\". Shorten it.",
               e.uid());
}

}  // namespace

void textChecks(const std::vector<ElementLayout>& elements, const StyleContext& context, const Fill& background,
                const std::optional<SlideLayoutEngine::Board>& board, double W, double H, IssueSink& sink) {
  for (const auto& e : elements) {
    lengthCheck(e, sink);
    const TextSpec* spec = e.text();
    if (!spec || e.decorative) continue;
    if (TextLayout::marksCollide(*spec, e.frame.width))
      sink.warning("text.marks", e.label +
                                     ": a highlight block covers part of the line next to it. Make the setup line "
                                     "smaller ({0.7} at its start) or raise lineHeight in its text style.",
                   e.uid());

    // A sticker brings its own paper, so the background doesn't matter to it.
    if (spec->emphasisStyle == EmphasisStyle::sticker && !spec->block) continue;
    contrastCheck(e, *spec, context, colorsBehind(e, *spec, background, board, W, H), sink);
  }
}

}  // namespace vorno
