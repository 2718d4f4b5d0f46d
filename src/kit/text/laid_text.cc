#include "kit/text/laid_text.h"

#include "kit/text/attributed_text.h"
#include "kit/text/balanced_breaks.h"
#include "kit/text/font_resolver.h"
#include "kit/text/joining_scripts.h"
#include "kit/text/text_context.h"
#include "kit/util/utf8.h"

#include <cairo.h>
#include <hb-ot.h>
#include <hb.h>
#include <pango/pangocairo.h>

#include <algorithm>
#include <cmath>
#include <map>
#include <tuple>

namespace vorno {
namespace {

thread_local uint64_t laidBytes = 0;

constexpr double kScale = PANGO_SCALE;
// Pango keeps sizes and widths in ints of 1/1024 pixel: these bounds keep them from overflowing
// whatever a document asks for.
constexpr double kMaxFontSize = 100000;
constexpr double kMinFontSize = 0.01;
constexpr double kMaxWidth = 1000000;

int pangoUnits(double pixels) { return static_cast<int>(std::lround(pixels * kScale)); }
double pixels(int units) { return units / kScale; }

PangoWeight pangoWeight(FontWeight weight) {
  switch (weight) {
    case FontWeight::regular: return PANGO_WEIGHT_NORMAL;
    case FontWeight::medium: return PANGO_WEIGHT_MEDIUM;
    case FontWeight::semibold: return PANGO_WEIGHT_SEMIBOLD;
    case FontWeight::bold: return PANGO_WEIGHT_BOLD;
    case FontWeight::heavy: return PANGO_WEIGHT_ULTRABOLD;
    case FontWeight::black: return PANGO_WEIGHT_HEAVY;
  }
  return PANGO_WEIGHT_NORMAL;
}

guint16 channel(double c) { return static_cast<guint16>(std::lround(std::clamp(std::isnan(c) ? 0.0 : c, 0.0, 1.0) * 65535)); }

void insert(PangoAttrList* list, PangoAttribute* attr, int start, int end) {
  attr->start_index = static_cast<guint>(start);
  attr->end_index = static_cast<guint>(end);
  pango_attr_list_insert(list, attr);
}

PangoFontDescription* description(const TextLayout::TextRun& run, const std::string& hanFamily) {
  double size = std::isfinite(run.fontSize) ? std::clamp(run.fontSize, kMinFontSize, kMaxFontSize) : kMinFontSize;
  PangoFontDescription* desc = pango_font_description_new();
  std::string family = run.family && !run.family->empty() ? *run.family : FontResolver::systemFamily(size);
  if (!hanFamily.empty()) family += "," + hanFamily;
  pango_font_description_set_family(desc, family.c_str());
  pango_font_description_set_weight(desc, pangoWeight(run.weight));
  pango_font_description_set_style(desc, run.italic ? PANGO_STYLE_ITALIC : PANGO_STYLE_NORMAL);
  pango_font_description_set_absolute_size(desc, size * kScale);
  return desc;
}

bool isBlank(gunichar c) { return g_unichar_isspace(c) || c == '\n' || c == '\r'; }

}  // namespace

namespace {

/// The attributes of every run: face, colour, and letter spacing outside joining scripts.
void applyAttributes(PangoLayout* layout, const std::vector<TextLayout::TextRun>& runs,
                     const std::vector<int>& runStarts, const std::string& locale) {
  std::string language = TextInternal::faceLanguage(locale);
  std::string han = FontResolver::hanFamily(language);
  PangoAttrList* attrs = pango_attr_list_new();
  int length = 0;
  for (size_t i = 0; i < runs.size(); ++i) {
    const auto& run = runs[i];
    int start = runStarts[i], end = start + static_cast<int>(run.text.size());
    length = std::max(length, end);
    if (start == end) continue;
    PangoFontDescription* desc = description(run, han);
    insert(attrs, pango_attr_font_desc_new(desc), start, end);
    pango_font_description_free(desc);
    insert(attrs, pango_attr_foreground_new(channel(run.color.r), channel(run.color.g), channel(run.color.b)), start, end);
    // Pango reads an alpha of 0 as "not set" and draws opaque: the nearest thing to nothing is 1.
    insert(attrs, pango_attr_foreground_alpha_new(std::max<guint16>(channel(run.color.a), 1)), start, end);
    if (run.kern != 0 && std::isfinite(run.kern)) {
      int spacing = pangoUnits(std::clamp(run.kern, -kMaxFontSize, kMaxFontSize));
      for (auto [from, to] : JoiningScripts::spacedRanges(run.text)) {
        insert(attrs, pango_attr_letter_spacing_new(spacing), start + from, start + to);
      }
    }
  }
  if (!locale.empty() && length > 0) {
    insert(attrs, pango_attr_language_new(pango_language_from_string(language.c_str())), 0, length);
  }
  pango_layout_set_attributes(layout, attrs);
  pango_attr_list_unref(attrs);
}

/// Wraps `layout` at `width`: words wrap, and a word longer than the line breaks between
/// characters, as the platform's word wrapping does. Fitting never accepts a size where that
/// happens.
void setWrapWidth(PangoLayout* layout, const std::vector<TextLayout::TextRun>& runs, double width) {
  // Pango counts a letter space after a line's last letter when it decides where to break,
  // then trims it from the line it measures. Giving it that space back makes the two agree: a
  // line (or a word) that measures at most `width` is laid on one line at `width`.
  double trailingSpace = -kMaxFontSize;
  for (const auto& run : runs)
    if (std::isfinite(run.kern)) trailingSpace = std::max(trailingSpace, std::clamp(run.kern, -kMaxFontSize, kMaxFontSize));
  if (runs.empty()) trailingSpace = 0;
  double pangoWidth = width + trailingSpace;
  if (!(pangoWidth > 0)) pangoWidth = width;
  pango_layout_set_width(layout, pangoUnits(std::min(pangoWidth, kMaxWidth)));
  pango_layout_set_wrap(layout, PANGO_WRAP_WORD_CHAR);
}

/// The left and right ends, from the line's origin, of the characters from byte `start` up to
/// `end`: one walk over the line's glyphs. Asking Pango for the x of each character instead
/// walks the run up to it every time, which made a line of n characters cost n² (a 50 KB word
/// took seconds per layout).
std::pair<double, double> contentExtent(PangoLayoutLine* pl, int start, int end) {
  int x = 0, minX = 0, maxX = 0;
  bool any = false;
  for (GSList* r = pl->runs; r; r = r->next) {
    auto* run = static_cast<PangoGlyphItem*>(r->data);
    const PangoGlyphString* glyphs = run->glyphs;
    for (int i = 0; i < glyphs->num_glyphs; ++i) {
      const int width = glyphs->glyphs[i].geometry.width;
      const int cluster = run->item->offset + glyphs->log_clusters[i];
      if (cluster >= start && cluster < end) {
        const int a = std::min(x, x + width), b = std::max(x, x + width);
        minX = any ? std::min(minX, a) : a;
        maxX = any ? std::max(maxX, b) : b;
        any = true;
      }
      x += width;
    }
  }
  return {pixels(minX), pixels(maxX)};
}

}  // namespace

LaidText::LaidText(const TextLayout::AttributedText& text, double width, Breaking breaking) : runs_(text.runs) {
  for (const auto& run : runs_) {
    runStarts_.push_back(static_cast<int>(string_.size()));
    string_ += run.text;
  }
  layout_ = pango_layout_new(TextContext::current());
  pango_layout_set_text(layout_, string_.data(), static_cast<int>(string_.size()));
  applyAttributes(layout_, runs_, runStarts_, text.language);

  bool wraps = std::isfinite(width) && width > 0;
  if (wraps) {
    setWrapWidth(layout_, runs_, width);
    if (breaking == Breaking::balanced) extraLayouts_ = BalancedBreaks::rebreak(layout_);
  }
  laidBytes += string_.size() * static_cast<uint64_t>(1 + extraLayouts_);
  if (string_.empty()) return;
  measureLines(text.alignment, wraps ? std::optional<double>(width) : std::nullopt);
}

void LaidText::measureLines(TextAlign alignment, std::optional<double> boxWidth) {
  int count = pango_layout_get_line_count(layout_);
  double top = 0;
  const TextLayout::TextRun* faceRun = nullptr;
  std::optional<double> faceDescent;
  // The lines are read off Pango's list in one walk: asking for each by index walks the list
  // up to it every time.
  GSList* next = pango_layout_get_lines_readonly(layout_);
  for (int index = 0; index < count && next; ++index, next = next->next) {
    auto* pl = static_cast<PangoLayoutLine*>(next->data);
    LaidLine line;
    line.start = pl->start_index;
    line.length = pl->length;
    // A text that ends in a line break has no line after it.
    if (index == count - 1 && index > 0 && line.length == 0 && string_.back() == '\n') break;

    PangoRectangle ink, logical;
    pango_layout_line_get_extents(pl, &ink, &logical);
    line.ascent = pixels(-logical.y);
    line.descent = pixels(logical.y + logical.height);
    line.width = pixels(logical.width);
    line.ink = {pixels(ink.x), pixels(ink.y), pixels(ink.width), pixels(ink.height)};
    const TextLayout::TextRun* run = runAt(line.start);
    line.height = run ? run->lineHeight : line.ascent + line.descent;
    if (run) {
      // Lines of one paragraph share a face: ask Pango for it once.
      if (!faceRun || faceRun->fontSize != run->fontSize || faceRun->family != run->family ||
          faceRun->weight != run->weight || faceRun->italic != run->italic) {
        faceRun = run;
        faceDescent = ownDescent(*run);
      }
      line.descent = faceDescent.value_or(line.descent);
    }
    if (!std::isfinite(line.height) || line.height < 0) line.height = 0;
    line.top = top;
    top += line.height;

    // The visible content: from the line's first character to its last one that isn't white.
    int contentEnd = line.start;
    for (const char* p = string_.data() + line.start; p < string_.data() + line.start + line.length;
         p = nextUTF8Character(p)) {
      if (!isBlank(g_utf8_get_char(p))) contentEnd = static_cast<int>(nextUTF8Character(p) - string_.data());
    }
    auto [minX, maxX] = contentExtent(pl, line.start, contentEnd);
    line.contentMinX = minX;
    line.trailingWhitespace = std::max(0.0, line.width - (maxX - minX));

    // Lines align within the box, also when balanced breaking wrapped them narrower.
    double content = maxX - minX, left = 0;
    if (boxWidth) {
      switch (alignment) {
        case TextAlign::left: left = 0; break;
        case TextAlign::center: left = (*boxWidth - content) / 2; break;
        case TextAlign::right: left = *boxWidth - content; break;
      }
    }
    line.origin = {left - minX, line.top + line.height - line.descent};
    lines_.push_back(line);
    pangoLines_.push_back(pl);
  }
  height_ = top;
}

namespace {

/// Descent over size of the faces this thread asked for, by family, weight and slope: one font
/// load per face instead of one per laid text. Outlines are unhinted, so the ratio holds at
/// every size. Forgotten when the thread's context changes (a package registered fonts).
struct DescentRatios {
  PangoContext* context = nullptr;
  guint serial = 0;
  std::map<std::tuple<std::string, FontWeight, bool>, std::optional<double>> ratios;
};

thread_local DescentRatios descentRatios;

std::optional<double> descentRatio(PangoContext* context, const TextLayout::TextRun& run) {
  PangoFontDescription* desc = description(run, "");
  PangoFont* font = pango_context_load_font(context, desc);
  pango_font_description_free(desc);
  if (!font) return std::nullopt;
  // Read in design units, as capHeightAt does, whatever scale Pango chose for its own font.
  hb_face_t* face = hb_font_get_face(pango_font_get_hb_font(font));
  unsigned upem = hb_face_get_upem(face);
  std::optional<double> ratio;
  if (upem > 0) {
    hb_font_t* units = hb_font_create(face);
    hb_font_set_scale(units, static_cast<int>(upem), static_cast<int>(upem));
    hb_font_extents_t extents{};
    if (hb_font_get_h_extents(units, &extents)) ratio = -static_cast<double>(extents.descender) / upem;
    hb_font_destroy(units);
  }
  g_object_unref(font);
  return ratio;
}

}  // namespace

std::optional<double> LaidText::ownDescent(const TextLayout::TextRun& run) const {
  PangoContext* context = pango_layout_get_context(layout_);
  DescentRatios& cache = descentRatios;
  if (cache.context != context || cache.serial != pango_context_get_serial(context)) {
    cache.ratios.clear();
    cache.context = context;
    cache.serial = pango_context_get_serial(context);
  }
  auto key = std::make_tuple(run.family.value_or(""), run.weight, run.italic);
  auto it = cache.ratios.find(key);
  if (it == cache.ratios.end()) it = cache.ratios.emplace(key, descentRatio(context, run)).first;
  if (!it->second) return std::nullopt;
  double descent = run.fontSize * *it->second;
  return std::isfinite(descent) ? std::optional<double>(descent) : std::nullopt;
}

uint64_t LaidText::bytesLaid() { return laidBytes; }

LaidText::~LaidText() {
  if (layout_) g_object_unref(layout_);
}

double LaidText::contentWidth() const {
  double widest = 0;
  for (const auto& line : lines_) widest = std::max(widest, line.width - line.trailingWhitespace);
  return widest;
}

PangoLayoutLine* LaidText::pangoLine(const LaidLine& line) const {
  size_t i = static_cast<size_t>(&line - lines_.data());
  if (i >= lines_.size()) return nullptr;
  return pangoLines_[i];
}

double LaidText::offsetForIndex(const LaidLine& line, int byteIndex) const {
  PangoLayoutLine* pl = pangoLine(line);
  if (!pl) return 0;
  int x = 0;
  int end = line.start + line.length;
  if (byteIndex >= end) {
    if (line.length == 0) return 0;
    const char* last = g_utf8_find_prev_char(string_.data() + line.start, string_.data() + end);
    pango_layout_line_index_to_x(pl, static_cast<int>(last - string_.data()), TRUE, &x);
  } else {
    pango_layout_line_index_to_x(pl, std::max(byteIndex, line.start), FALSE, &x);
  }
  return pixels(x);
}

const TextLayout::TextRun* LaidText::runAt(int byteIndex) const {
  if (byteIndex < 0 || byteIndex >= static_cast<int>(string_.size())) return nullptr;
  auto it = std::upper_bound(runStarts_.begin(), runStarts_.end(), byteIndex);
  // Empty runs share their start with the next one: step back to the run that has the byte.
  while (it != runStarts_.begin()) {
    size_t i = static_cast<size_t>(it - runStarts_.begin()) - 1;
    if (byteIndex < runStarts_[i] + static_cast<int>(runs_[i].text.size())) return &runs_[i];
    --it;
  }
  return nullptr;
}

namespace {

PangoFont* fontAt(PangoLayoutLine* pl, int byteIndex) {
  for (GSList* r = pl ? pl->runs : nullptr; r; r = r->next) {
    auto* run = static_cast<PangoGlyphItem*>(r->data);
    if (byteIndex >= run->item->offset && byteIndex < run->item->offset + run->item->length) {
      return run->item->analysis.font;
    }
  }
  return nullptr;
}

}  // namespace

std::optional<double> LaidText::capHeightAt(const LaidLine& line, int byteIndex) const {
  const TextLayout::TextRun* run = runAt(byteIndex);
  PangoFont* font = fontAt(pangoLine(line), byteIndex);
  if (!run || !font) return std::nullopt;
  hb_font_t* pangoFont = pango_font_get_hb_font(font);
  if (!pangoFont) return std::nullopt;
  hb_face_t* face = hb_font_get_face(pangoFont);
  unsigned upem = hb_face_get_upem(face);
  if (upem == 0) return std::nullopt;
  // A font of our own at one unit per design unit reads the OS/2 value unscaled, whatever scale
  // Pango chose for its own.
  hb_font_t* units = hb_font_create(face);
  hb_font_set_scale(units, static_cast<int>(upem), static_cast<int>(upem));
  hb_position_t cap = 0;
  bool found = hb_ot_metrics_get_position(units, HB_OT_METRICS_TAG_CAP_HEIGHT, &cap);
  hb_font_destroy(units);
  if (!found || cap <= 0) return std::nullopt;
  return run->fontSize * cap / upem;
}

std::string LaidText::faceFamilyAt(int byteIndex) const {
  for (GSList* l = pango_layout_get_lines_readonly(layout_); l; l = l->next) {
    if (PangoFont* font = fontAt(static_cast<PangoLayoutLine*>(l->data), byteIndex)) {
      PangoFontDescription* desc = pango_font_describe(font);
      std::string family = pango_font_description_get_family(desc) ? pango_font_description_get_family(desc) : "";
      pango_font_description_free(desc);
      return family;
    }
  }
  return "";
}

int LaidText::unknownGlyphsCount() const { return pango_layout_get_unknown_glyphs_count(layout_); }

namespace {

void placeLine(cairo_t* cr, const LaidLine& line, double x, double y, double shear) {
  cairo_translate(cr, x + line.origin.x, y + line.origin.y);
  if (shear != 0 && std::isfinite(shear)) {
    // y grows downward here, so a forward lean moves points above the baseline (negative y) right.
    cairo_matrix_t m;
    cairo_matrix_init(&m, 1, 0, -shear, 1, 0, 0);
    cairo_transform(cr, &m);
  }
  cairo_move_to(cr, 0, 0);
}

}  // namespace

void LaidText::appendLinePath(cairo_t* cr, const LaidLine& line, double x, double y, double shear) const {
  PangoLayoutLine* pl = pangoLine(line);
  if (!pl) return;
  cairo_save(cr);
  placeLine(cr, line, x, y, shear);
  pango_cairo_layout_line_path(cr, pl);
  cairo_restore(cr);
}

void LaidText::showLine(cairo_t* cr, const LaidLine& line, double x, double y, double shear) const {
  PangoLayoutLine* pl = pangoLine(line);
  if (!pl) return;
  cairo_save(cr);
  placeLine(cr, line, x, y, shear);
  pango_cairo_show_layout_line(cr, pl);
  cairo_restore(cr);
}

}  // namespace vorno
