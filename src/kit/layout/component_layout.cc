// How it works: every kind is laid out in a space 1000 units wide, y down. The style picks the
// card colour and three inks (main, secondary, and the accent used for marks); each kind then
// places its parts with the fixed numbers of its design and measures its texts with the text
// engine. A text's height (and, for one-line labels, its width) is the measure rounded up plus
// 2 units of slack, so a label laid in exactly its measured box never wraps.
#include "kit/layout/component_layout.h"

#include "kit/model/enum_names.h"
#include "kit/model/slide_element.h"
#include "kit/model/theme.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace vorno {

namespace {

using Kind = ComponentSpec::Kind;
using Style = ComponentSpec::Style;
using D = ComponentDrawing;

// One-line labels are measured at this width: wider than any label, so nothing wraps.
constexpr double unbounded = 100000;

RGBColor withAlpha(RGBColor c, double alpha) {
  c.a = alpha;
  return c;
}

// White, unless ink reads strictly better on `color`.
RGBColor onColor(const RGBColor& color) {
  RGBColor ink = ComponentLayout::ink();
  return ink.contrast(color) > RGBColor::white().contrast(color) ? ink : RGBColor::white();
}

Style effectiveStyle(const ComponentSpec& spec) {
  Style style = spec.style.value_or([&] {
    switch (spec.type) {
      case Kind::award:
      case Kind::stat:
      case Kind::checklist:
        return Style::clear;
      case Kind::callout:
        return Style::accent;
      default:
        return Style::light;
    }
  }());
  // A notification always has its card.
  if (spec.type == Kind::notification && style == Style::clear) style = Style::light;
  return style;
}

struct Palette {
  std::optional<RGBColor> card;
  RGBColor main, secondary, mark;
};

Palette palette(Style style, const Theme& theme, const RGBColor& fg, const RGBColor& muted) {
  RGBColor ink = ComponentLayout::ink(), white = RGBColor::white();
  const RGBColor& accent = theme.accent;
  switch (style) {
    case Style::light:
    case Style::dark: {
      RGBColor card = style == Style::light ? white : ink;
      RGBColor main = style == Style::light ? ink : white;
      // Marks are graphics, so the accent is moved to 3:1 against the card, the contrast that
      // makes an icon legible; an accent that already has it stays as it is.
      RGBColor mark = accent.adjusted(3.0, card).value_or(accent);
      return {card, main, withAlpha(main, style == Style::light ? 0.58 : 0.66), mark};
    }
    case Style::accent: {
      RGBColor main = accent.luminance() > 0.55 ? ink : white;
      // The card is the accent itself, so marks take the main ink to stay visible.
      return {accent, main, withAlpha(main, 0.78), main};
    }
    case Style::clear:
      return {std::nullopt, fg, muted, accent};
  }
  return {std::nullopt, fg, muted, accent};
}

std::optional<std::string> resolved(const std::optional<LocalizedText>& text, std::string_view locale) {
  if (!text) return std::nullopt;
  std::optional<std::string> s = text->resolve(locale);
  if (!s || s->empty()) return std::nullopt;
  return s;
}

// Sets and measures the texts of one component.
class Setter {
 public:
  Setter(const Theme& theme, std::string_view locale, RGBColor emphasis, const TextMeasurer& measure)
      : theme_(theme), language_(locale), emphasis_(emphasis), measure_(measure) {}

  TextSpec spec(std::string text, double size, FontWeight weight, RGBColor color, TextAlign align,
                double lineHeight = 1, double tracking = 0) const {
    TextSpec s;
    s.text = std::move(text);
    s.size = size;
    s.weight = weight;
    s.family = theme_.fontFamily;
    s.color = color;
    s.emphasis = emphasis_;
    s.alignment = align;
    s.lineHeight = lineHeight;
    s.tracking = tracking;
    s.language = language_;
    return s;
  }

  /// Rounded measure at a column width.
  TextMeasure at(const TextSpec& s, double width) const {
    TextMeasure m = measure_(s, width);
    return {{std::ceil(m.size.width) + 2, std::ceil(m.size.height) + 2}, std::max(1, m.lines)};
  }
  /// Rounded measure of a label on one line, its width its own.
  TextMeasure natural(const TextSpec& s) const { return at(s, unbounded); }
  /// The unrounded height of one line, for centring a mark on a text's first line.
  double firstLine(const TextSpec& s, double width) const {
    TextMeasure m = measure_(s, width);
    return m.size.height / std::max(1, m.lines);
  }

 private:
  const Theme& theme_;
  std::string language_;
  RGBColor emphasis_;
  const TextMeasurer& measure_;
};

std::string valueText(double value) {
  char buffer[32];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, value, std::chars_format::fixed, 1);
  return ec == std::errc() ? std::string(buffer, end) : std::string("0.0");
}

double starValue(const ComponentSpec& spec) {
  double v = spec.value.value_or(5);
  return std::isfinite(v) ? std::clamp(v, 0.0, 5.0) : 5;
}

// A one-line text whose left edge is at `x` and whose middle is on y = 115; returns its end.
double lineAt(D& d, const Setter& set, TextSpec s, double x) {
  TextMeasure m = set.natural(s);
  d.parts.push_back(D::Text{std::move(s), {x, 115 - m.size.height / 2, m.size.width, m.size.height}});
  return x + m.size.width;
}

D rating(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale) {
  D d;
  double inset = p.card ? 95 : 0;
  double value = starValue(spec);
  d.parts.push_back(D::Stars{{inset, 115 - 46, 516, 92}, value, ComponentLayout::gold(),
                             withAlpha(ComponentLayout::gold(), 0.28)});
  double x = inset + 516;
  if (spec.value) x = lineAt(d, set, set.spec(valueText(value), 100, FontWeight::bold, p.main, TextAlign::left, 1.18), x + 50);
  if (auto title = resolved(spec.title, locale))
    x = lineAt(d, set, set.spec(*title, 100, FontWeight::semibold, p.secondary, TextAlign::left), x + (spec.value ? 42 : 50));
  d.size = {x + inset, 230};
  if (p.card) d.parts.insert(d.parts.begin(), D::Card{{0, 0, d.size.width, 230}, 115, *p.card});
  return d;
}

// An icon's image path as the painter reads it: relative paths are the package's.
std::string packagePath(const std::string& path, const std::optional<std::string>& root) {
  if (path.front() != '/' && root && !root->empty()) return *root + "/" + path;
  return path;
}

D badgeOrCallout(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale,
                 const std::optional<std::string>& root) {
  D d;
  bool callout = spec.type == Kind::callout;
  double inset = p.card ? 95 : 0;
  double x = inset;
  const Rect icon{inset, 115 - 57.5, 115, 115};
  // The icon is the user's own image when there is one (a logo, an award's seal), else a symbol;
  // an image has the corners of an app icon, so a square picture sits in the capsule as one.
  if (spec.image && !spec.image->empty()) {
    d.parts.push_back(D::Image{packagePath(*spec.image, root), icon, 115 * 0.225});
    x = inset + 157;
  } else if (spec.symbol && !spec.symbol->empty()) {
    d.parts.push_back(D::Symbol{*spec.symbol, icon, callout ? p.main : p.mark});
    x = inset + 157;
  }
  // An empty label is one blank, so the capsule keeps its height and some width.
  std::string label = resolved(spec.title, locale).value_or(" ");
  x = lineAt(d, set,
             set.spec(label, 100, callout ? FontWeight::bold : FontWeight::semibold, p.main, TextAlign::left, 1.18), x);
  double width = x + inset;
  d.size = {width, 230};
  std::vector<D::Part> back;
  if (p.card) {
    back.push_back(D::Card{{0, 0, width, 230}, 115, *p.card});
    // The tail stays under the capsule's straight part, however narrow the capsule.
    if (callout) {
      back.push_back(D::Tail{{std::min(140.0, width - 124), 228, 93, 64}, *p.card});
      d.size.height = 228 + 64;
    }
  }
  d.parts.insert(d.parts.begin(), back.begin(), back.end());
  return d;
}

D award(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale) {
  D d;
  double inset = p.card ? 80 : 0;
  std::optional<TextSpec> title, subtitle;
  if (auto t = resolved(spec.title, locale))
    title = set.spec(*t, 86, FontWeight::heavy, p.main, TextAlign::center, 1.08, 0.06);
  if (auto s = resolved(spec.subtitle, locale)) subtitle = set.spec(*s, 74, FontWeight::regular, p.main, TextAlign::center);
  double column = 200;
  if (title) column = std::max(column, set.natural(*title).size.width);
  if (subtitle) column = std::max(column, set.natural(*subtitle).size.width);
  double titleHeight = title ? set.at(*title, column).size.height : 0;
  double subtitleHeight = subtitle ? set.at(*subtitle, column).size.height : 0;
  double block = titleHeight + subtitleHeight + (title && subtitle ? 12 : 0);
  // The laurels are 310 tall; text that is taller (hard line breaks) makes the award taller.
  double inner = std::max(310.0, block);
  double width = 2 * inset + 250 + 60 + column;
  d.size = {width, 2 * inset + inner};
  if (p.card) d.parts.push_back(D::Card{{0, 0, width, d.size.height}, 70, *p.card});
  RGBColor laurel = withAlpha(p.main, p.main.a * 0.9);
  double laurelY = inset + (inner - 310) / 2;
  d.parts.push_back(D::Laurel{{inset, laurelY, 125, 310}, laurel, false});
  d.parts.push_back(D::Laurel{{width - inset - 125, laurelY, 125, 310}, laurel, true});
  double x = inset + 155, y = inset + (inner - block) / 2;
  if (title) {
    d.parts.push_back(D::Text{*title, {x, y, column, titleHeight}});
    y += titleHeight + 12;
  }
  if (subtitle) d.parts.push_back(D::Text{*subtitle, {x, y, column, subtitleHeight}});
  return d;
}

D review(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale) {
  D d;
  double inset = p.card ? 64 : 0, column = 1000 - 2 * inset;
  d.parts.push_back(D::Stars{{inset, inset, 262, 46}, starValue(spec), ComponentLayout::gold(),
                             withAlpha(ComponentLayout::gold(), 0.28)});
  double y = inset + 76, bottom = inset + 46;
  if (auto quote = resolved(spec.title, locale)) {
    TextSpec s = set.spec(*quote, 54, FontWeight::semibold, p.main, TextAlign::left);
    double h = set.at(s, column).size.height;
    d.parts.push_back(D::Text{std::move(s), {inset, y, column, h}});
    bottom = y + h;
    y = bottom + 24;
  }
  if (auto name = resolved(spec.subtitle, locale)) {
    TextSpec s = set.spec(*name, 38, FontWeight::regular, p.secondary, TextAlign::left, 1.18);
    double h = set.at(s, column).size.height;
    d.parts.push_back(D::Text{std::move(s), {inset, y, column, h}});
    bottom = y + h;
  }
  d.size = {1000, bottom + inset};
  if (p.card) d.parts.insert(d.parts.begin(), D::Card{{0, 0, 1000, d.size.height}, 56, *p.card});
  return d;
}

D stat(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale) {
  D d;
  double inset = p.card ? 110 : 0;
  std::optional<TextSpec> title, caption;
  if (auto t = resolved(spec.title, locale))
    title = set.spec(*t, 320, FontWeight::black, p.main, TextAlign::center, 1, -0.03);
  if (auto c = resolved(spec.subtitle, locale))
    caption = set.spec(*c, 90, FontWeight::semibold, p.secondary, TextAlign::center, 1.18);
  double column = 0;
  if (title) column = std::max(column, set.natural(*title).size.width);
  if (caption) column = std::max(column, set.natural(*caption).size.width);
  double y = inset;
  std::vector<D::Part> texts;
  if (title) {
    double h = set.at(*title, column).size.height;
    texts.push_back(D::Text{*title, {inset, y, column, h}});
    y += h;
  }
  if (caption) {
    if (title) y += 20;
    double h = set.at(*caption, column).size.height;
    texts.push_back(D::Text{*caption, {inset, y, column, h}});
    y += h;
  }
  d.size = {column + 2 * inset, y + inset};
  if (p.card) d.parts.push_back(D::Card{{0, 0, d.size.width, d.size.height}, 80, *p.card});
  d.parts.insert(d.parts.end(), texts.begin(), texts.end());
  return d;
}

D checklist(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale) {
  D d;
  double inset = p.card ? 60 : 0, column = 1000 - 2 * inset - 96;
  std::vector<D::Part> rows;
  double y = inset;
  bool first = true;
  for (const auto& item : spec.items.value_or(std::vector<LocalizedText>{})) {
    std::optional<std::string> text = resolved(item, locale);
    if (!text) continue;
    if (!first) y += 34;
    first = false;
    TextSpec s = set.spec(*text, 54, FontWeight::regular, p.main, TextAlign::left);
    TextMeasure m = set.at(s, column);
    double row = std::max(67.5, m.size.height);
    double checkY, textY;
    if (m.lines <= 1) {
      // One line: check and text share the row's middle.
      checkY = y + (row - 66) / 2;
      textY = y + (row - m.size.height) / 2;
    } else {
      // Several lines: the check sits on the first one.
      checkY = y + (set.firstLine(s, column) - 66) / 2;
      textY = y;
    }
    rows.push_back(D::Check{{inset, checkY, 66, 66}, p.mark, onColor(p.mark)});
    rows.push_back(D::Text{std::move(s), {inset + 96, textY, column, m.size.height}});
    y += row;
  }
  d.size = {1000, y + inset};
  if (p.card) d.parts.push_back(D::Card{{0, 0, 1000, d.size.height}, 52, *p.card});
  d.parts.insert(d.parts.end(), rows.begin(), rows.end());
  return d;
}

D notification(const ComponentSpec& spec, const Palette& p, const Setter& set, std::string_view locale,
               const Theme& theme, const std::optional<std::string>& root) {
  D d;
  TextSpec time = set.spec("now", 32, FontWeight::regular, p.secondary, TextAlign::right, 1.18);
  TextMeasure timeSize = set.natural(time);
  double titleColumn = std::max(1.0, 790 - 20 - timeSize.size.width);
  std::optional<TextSpec> title, subtitle;
  if (auto t = resolved(spec.title, locale)) title = set.spec(*t, 40, FontWeight::semibold, p.main, TextAlign::left);
  if (auto s = resolved(spec.subtitle, locale)) subtitle = set.spec(*s, 38, FontWeight::regular, p.main, TextAlign::left);
  double titleHeight = title ? set.at(*title, titleColumn).size.height : 0;
  double subtitleHeight = subtitle ? set.at(*subtitle, 790).size.height : 0;
  double textHeight = titleHeight + subtitleHeight + (title && subtitle ? 6 : 0);
  double inner = std::max(104.0, textHeight);
  double height = inner + 76;
  d.size = {1000, height};
  d.parts.push_back(D::Card{{0, 0, 1000, height}, 58, p.card.value_or(RGBColor::white())});

  Rect icon{38, (height - 104) / 2, 104, 104};
  if (spec.image && !spec.image->empty()) {
    d.parts.push_back(D::Image{packagePath(*spec.image, root), icon, 23.4});
  } else {
    // The stock icon: a bell on the accent.
    d.parts.push_back(D::Card{icon, 23.4, theme.accent});
    d.parts.push_back(D::Symbol{"bell.fill", icon.insetBy(22, 22), onColor(theme.accent)});
  }
  double top = 38 + (inner - textHeight) / 2;
  // The time sits on the title's first line, its right edge at 962.
  double lineHeight = title ? set.firstLine(*title, titleColumn) + 2 : timeSize.size.height;
  d.parts.push_back(D::Text{time, {962 - timeSize.size.width, top + (lineHeight - timeSize.size.height) / 2,
                                   timeSize.size.width, timeSize.size.height}});
  if (title) d.parts.push_back(D::Text{*title, {172, top, titleColumn, titleHeight}});
  if (subtitle)
    d.parts.push_back(D::Text{*subtitle, {172, top + titleHeight + (title ? 6 : 0), 790, subtitleHeight}});
  return d;
}

}  // namespace

namespace ComponentLayout {

RGBColor ink() { return {0x14 / 255.0, 0x17 / 255.0, 0x1D / 255.0, 1}; }
RGBColor gold() { return {0xFF / 255.0, 0xB2 / 255.0, 0x1A / 255.0, 1}; }

ComponentDrawing make(const ComponentSpec& spec, const Theme& theme, const RGBColor& fg, const RGBColor& muted,
                      std::string_view locale, const std::optional<std::string>& root, const TextMeasurer& measure) {
  Palette p = palette(effectiveStyle(spec), theme, fg, muted);
  Setter set(theme, locale, p.mark, measure);
  D d;
  switch (spec.type) {
    case Kind::rating: d = rating(spec, p, set, locale); break;
    case Kind::badge:
    case Kind::callout: d = badgeOrCallout(spec, p, set, locale, root); break;
    case Kind::award: d = award(spec, p, set, locale); break;
    case Kind::review: d = review(spec, p, set, locale); break;
    case Kind::stat: d = stat(spec, p, set, locale); break;
    case Kind::checklist: d = checklist(spec, p, set, locale); break;
    case Kind::notification: d = notification(spec, p, set, locale, theme, root); break;
  }
  // An empty component (a clear stat without text) still has a size, so the element's height
  // stays a number.
  d.size.width = std::max(d.size.width, 1.0);
  d.size.height = std::max(d.size.height, 1.0);
  return d;
}

}  // namespace ComponentLayout

namespace {

// The shortest text that reads back as the same double: stable across runs and machines.
void put(std::string& out, double v) {
  char buffer[32];
  auto [end, ec] = std::to_chars(buffer, buffer + sizeof buffer, v);
  out.append(buffer, ec == std::errc() ? end : buffer);
}

void put(std::string& out, const Rect& r) {
  for (double v : {r.x, r.y, r.width, r.height}) {
    put(out, v);
    out += ',';
  }
}

void put(std::string& out, const RGBColor& c) { out += c.hex(); }

// Free text is written with its length first, so no text can imitate the separators.
void put(std::string& out, std::string_view text) {
  out += std::to_string(text.size());
  out += ':';
  out += text;
}

// A component's texts never carry a block, effect, fill or mark style; the fields that they do
// use are all here.
void put(std::string& out, const TextSpec& s) {
  put(out, std::string_view(s.text));
  out += ',';
  put(out, s.size);
  out += ',';
  out += rawValue(s.weight);
  out += ',';
  put(out, std::string_view(s.family.value_or("")));
  out += ',';
  put(out, s.color);
  out += ',';
  put(out, s.emphasis);
  out += ',';
  out += rawValue(s.alignment);
  out += ',';
  put(out, s.lineHeight);
  out += ',';
  put(out, s.tracking);
  out += s.uppercase ? ",u" : ",";
  out += s.italic ? ",i," : ",,";
  put(out, s.slant);
  out += ',';
  out += s.language;
}

struct Describe {
  std::string& out;
  void operator()(const ComponentDrawing::Card& p) {
    out += "card(";
    put(out, p.rect);
    put(out, p.radius);
    out += ',';
    put(out, p.color);
  }
  void operator()(const ComponentDrawing::Text& p) {
    out += "text(";
    put(out, p.rect);
    put(out, p.spec);
  }
  void operator()(const ComponentDrawing::Stars& p) {
    out += "stars(";
    put(out, p.rect);
    put(out, p.value);
    out += ',';
    put(out, p.color);
    out += ',';
    put(out, p.empty);
  }
  void operator()(const ComponentDrawing::Symbol& p) {
    out += "symbol(";
    put(out, p.rect);
    put(out, std::string_view(p.name));
    out += ',';
    put(out, p.color);
  }
  void operator()(const ComponentDrawing::Image& p) {
    out += "image(";
    put(out, p.rect);
    put(out, p.radius);
    out += ',';
    put(out, std::string_view(p.path));
  }
  void operator()(const ComponentDrawing::Check& p) {
    out += "check(";
    put(out, p.rect);
    put(out, p.fill);
    out += ',';
    put(out, p.mark);
  }
  void operator()(const ComponentDrawing::Laurel& p) {
    out += "laurel(";
    put(out, p.rect);
    put(out, p.color);
    out += p.mirrored ? ",m" : ",";
  }
  void operator()(const ComponentDrawing::Tail& p) {
    out += "tail(";
    put(out, p.rect);
    put(out, p.color);
  }
};

}  // namespace

std::string ComponentDrawing::description() const {
  std::string out;
  put(out, size.width);
  out += 'x';
  put(out, size.height);
  for (const Part& part : parts) {
    out += '|';
    std::visit(Describe{out}, part);
    out += ')';
  }
  return out;
}

}  // namespace vorno
