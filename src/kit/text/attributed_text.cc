// The attributed string: marked-up copy to styled runs, with the colour table of the emphasis
// styles. Lines are separated by "\n" runs carrying the attributes of the line before, so the
// empty line between two paragraphs has the height of its own scale.
#include "kit/text/attributed_text.h"

#include "kit/model/text_markup.h"
#include "kit/text/font_resolver.h"
#include "kit/util/utf8.h"

#include <glib.h>
#include <unicode/locid.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <array>
#include <optional>

namespace vorno {
namespace TextInternal {

std::string sanitized(std::string_view text) {
  std::string clean;
  clean.reserve(text.size());
  for (char c : text) {
    if (c != '\0') clean += c;
  }
  if (g_utf8_validate(clean.data(), static_cast<gssize>(clean.size()), nullptr)) return clean;
  gchar* valid = g_utf8_make_valid(clean.data(), static_cast<gssize>(clean.size()));
  std::string out = valid;
  g_free(valid);
  return out;
}

namespace {

// Where the character after the first `count` characters of valid UTF-8 begins; nothing when
// the text is no longer than that.
std::optional<size_t> cutAfter(std::string_view text, size_t count) {
  const char* p = text.data();
  const char* end = text.data() + text.size();
  for (size_t n = 0; p < end; ++n, p = nextUTF8Character(p)) {
    if (n == count) return static_cast<size_t>(p - text.data());
  }
  return std::nullopt;
}

}  // namespace

std::string bounded(std::string text) {
  if (text.size() <= TextLayout::maxCharacters) return text;  // fewer bytes, so fewer characters
  if (auto cut = cutAfter(text, TextLayout::maxCharacters)) {
    text.resize(*cut);
    text += "…";
  }
  return text;
}

std::string uppercased(std::string_view text) {
  icu::UnicodeString s = icu::UnicodeString::fromUTF8(icu::StringPiece(text.data(), static_cast<int32_t>(text.size())));
  s.toUpper(icu::Locale::getRoot());
  std::string out;
  s.toUTF8String(out);
  return out;
}

std::vector<std::string_view> splitLines(std::string_view text) { return TextMarkup::splitLines(text); }

std::string withoutEmphasisMarks(std::string_view text) {
  std::string out;
  out.reserve(text.size());
  for (size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '*' && i + 1 < text.size() && text[i + 1] == '*') {
      ++i;
      continue;
    }
    out += text[i];
  }
  return out;
}

std::string faceLanguage(std::string_view locale) {
  std::string tag;
  for (char c : locale) tag += c == '_' ? '-' : static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
  std::vector<std::string> parts;
  for (size_t start = 0; start <= tag.size();) {
    size_t end = tag.find('-', start);
    if (end == std::string::npos) end = tag.size();
    parts.push_back(tag.substr(start, end - start));
    start = end + 1;
  }
  const std::string& language = parts.front();
  if (language == "ja" || language == "ko") return language;
  if (language != "zh") return tag;
  auto has = [&](std::string_view part) { return std::find(parts.begin() + 1, parts.end(), part) != parts.end(); };
  if (has("hk") || has("mo")) return "zh-hk";
  if (has("tw") || has("hant")) return "zh-tw";
  return "zh-cn";
}

TextLayout::TextRun run(std::string text, const TextLayout::Style& style, double lineSize) {
  ResolvedFont font = FontResolver::resolve(style.family, style.weight, lineSize);
  double k = style.emphasisStyle == EmphasisStyle::sticker ? 1.18 : 1.0;
  TextLayout::TextRun r;
  r.text = std::move(text);
  r.fontSize = lineSize;
  r.weight = style.weight;
  r.family = font.family;
  // A face without an italic stays upright: the style's 11 degree slant stands in for it.
  r.italic = style.italic && font.hasItalic;
  r.color = style.color;
  r.kern = lineSize * style.tracking;
  r.lineHeight = k * lineSize * style.lineHeight;
  return r;
}

}  // namespace TextInternal

namespace TextLayout {
namespace {

const RGBColor kInk = *RGBColor::fromHex("#14171D");

}  // namespace

std::string AttributedText::string() const {
  std::string s;
  for (const auto& run : runs) s += run.text;
  return s;
}

bool isSystemFamily(std::string_view family) {
  static const std::array<std::string_view, 6> names{"sf pro", "sf pro display", "sf pro text",
                                                     "san francisco", "system", "system font"};
  gchar* lower = g_utf8_strdown(family.data(), static_cast<gssize>(family.size()));
  bool found = std::find(names.begin(), names.end(), std::string_view(lower)) != names.end();
  g_free(lower);
  return found;
}

Style style(const TextSpec& spec) {
  Style s;
  s.size = spec.size;
  s.weight = spec.weight;
  s.family = spec.family;
  s.color = spec.color;
  s.emphasis = spec.emphasis;
  s.alignment = spec.alignment;
  s.lineHeight = spec.lineHeight;
  s.tracking = spec.tracking;
  s.uppercase = spec.uppercase;
  s.emphasisStyle = spec.emphasisStyle;
  s.block = spec.block;
  s.slant = spec.slant;
  s.effect = spec.effect;
  s.fill = spec.fill;
  s.mark = spec.mark;
  s.italic = spec.italic;
  s.language = spec.language;
  if (spec.italic && spec.slant == 0 && !FontResolver::resolve(spec.family, spec.weight, 20).hasItalic) {
    s.slant = 11.0;
  }
  return s;
}

Style withSize(Style style, double size) {
  style.size = size;
  return style;
}

std::string plain(std::string_view text) { return TextMarkup::plain(text); }

std::optional<std::pair<double, std::string>> lineScale(std::string_view line) { return TextMarkup::lineScale(line); }

RGBColor onColor(const RGBColor& color) {
  return kInk.contrast(color) > RGBColor::white().contrast(color) ? kInk : RGBColor::white();
}

bool isCut(std::string_view text) {
  if (text.size() <= maxCharacters) return false;  // fewer bytes, so fewer characters
  const std::string clean = TextInternal::sanitized(text);
  return g_utf8_strlen(clean.data(), static_cast<gssize>(clean.size())) > static_cast<glong>(maxCharacters);
}

AttributedText attributed(std::string_view input, const Style& style) {
  std::string text = TextInternal::bounded(TextInternal::sanitized(input));
  if (style.uppercase) text = TextInternal::uppercased(text);

  // The colours, once for the whole text.
  const MarkStyle mark = style.mark.value_or(MarkStyle{});
  RGBColor paper = mark.paper.value_or(RGBColor::white());
  std::vector<RGBColor> candidates{style.color, kInk};
  if (mark.paper) candidates.push_back(RGBColor::white());
  RGBColor paperInk = candidates.front();
  for (const RGBColor& c : candidates) {
    if (c.contrast(paper) > paperInk.contrast(paper)) paperInk = c;
  }
  RGBColor markInk = mark.textColor.value_or(onColor(mark.color.value_or(style.emphasis)));
  bool stickers = style.emphasisStyle == EmphasisStyle::sticker && !style.block;

  auto colour = [&](bool emphasised, bool lineHasMark) -> RGBColor {
    if (stickers) return lineHasMark ? markInk : paperInk;
    if (!emphasised) return style.color;
    if (style.block) return style.emphasis;
    switch (style.emphasisStyle) {
      case EmphasisStyle::color: return style.emphasis;
      case EmphasisStyle::highlight: return markInk;
      case EmphasisStyle::marker: return style.color;
      case EmphasisStyle::sticker: return style.emphasis;  // only with a block, handled above
    }
    return style.color;
  };
  auto marked = [&](bool emphasised, bool lineHasMark) {
    return style.block.has_value() || emphasised || (stickers && lineHasMark);
  };

  AttributedText out;
  out.alignment = style.alignment;
  out.language = style.language;
  bool emphasis = false;
  std::vector<std::string_view> lines = TextInternal::splitLines(text);
  for (size_t index = 0; index < lines.size(); ++index) {
    std::string_view line = lines[index];
    double scale = 1.0;
    std::string rest(line);
    if (auto prefix = lineScale(line)) {
      scale = prefix->first;
      rest = std::move(prefix->second);
    }
    double lineSize = scale * style.size;
    bool lineHasMark = emphasis || rest.find("**") != std::string::npos;

    size_t start = 0;
    bool first = true;
    while (true) {
      size_t end = rest.find("**", start);
      std::string part = rest.substr(start, end == std::string::npos ? std::string::npos : end - start);
      if (!first) emphasis = !emphasis;
      first = false;
      if (!part.empty()) {
        TextRun r = TextInternal::run(std::move(part), style, lineSize);
        r.color = colour(emphasis, lineHasMark);
        r.emphasis = marked(emphasis, lineHasMark);
        out.runs.push_back(std::move(r));
      }
      if (end == std::string::npos) break;
      start = end + 2;
    }
    if (index + 1 < lines.size()) {
      TextRun r = TextInternal::run("\n", style, lineSize);
      r.color = colour(emphasis, lineHasMark);
      r.emphasis = marked(emphasis, lineHasMark);
      out.runs.push_back(std::move(r));
    }
  }
  return out;
}

}  // namespace TextLayout
}  // namespace vorno
