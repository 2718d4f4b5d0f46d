// TextLayout: from marked-up copy and a resolved style to a measured, fitted block of type, and
// the drawing of it with its emphasis marks, stickers, outline, hard shadow and painted letters.
//
// Measures are canvas pixels: a font size is a size in pixels of the target's canvas. Drawing
// works in cairo's own space, y down: `top` is the smallest y of the text block.
//
//   TextLayout::Style style = TextLayout::style(spec);
//   TextLayout::Fitted f = TextLayout::fit(spec.text, style, {1096.5, 475}, 0.55, std::nullopt);
//   if (f.overflow) ...;                        // even the floor size failed
//   TextLayout::draw(f, cr, x, top);            // into any cairo context
//
// Every function is re-entrant: each call makes its own Pango layout, so slides can be laid and
// drawn on several threads at once.
#pragma once

#include "kit/text/text_spec.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

typedef struct _cairo cairo_t;

namespace vorno {

/// Where a font family comes from.
enum class FontSource { project, system, local, missing };

namespace TextLayout {

/// A TextSpec without its text: how to set a text.
struct Style {
  double size = 0;
  FontWeight weight = FontWeight::regular;
  std::optional<std::string> family;
  RGBColor color;
  RGBColor emphasis;
  TextAlign alignment = TextAlign::center;
  double lineHeight = 1;
  double tracking = 0;
  bool uppercase = false;
  EmphasisStyle emphasisStyle = EmphasisStyle::color;
  std::optional<RGBColor> block;
  double slant = 0;
  std::optional<TextEffect> effect;
  std::optional<Fill> fill;
  std::optional<MarkStyle> mark;
  bool italic = false;
  std::string language;

  bool operator==(const Style&) const = default;
};

/// One run of styled text: the attributed string is a list of these, lines joined by "\n" runs.
struct TextRun {
  std::string text;  ///< UTF-8
  double fontSize = 0;
  FontWeight weight = FontWeight::regular;
  std::optional<std::string> family;
  bool italic = false;
  RGBColor color;
  double kern = 0;        ///< extra advance after each character, pixels
  double lineHeight = 0;  ///< fixed height of the line this run sits on, pixels
  bool emphasis = false;  ///< counts as marked when boxes are drawn

  bool operator==(const TextRun&) const = default;
};

struct AttributedText {
  std::vector<TextRun> runs;
  TextAlign alignment = TextAlign::center;
  std::string language;

  bool operator==(const AttributedText&) const = default;
  /// The runs' text joined.
  std::string string() const;
};

struct Fitted {
  AttributedText attributed;  ///< the styled text at the chosen size
  Size size;                  ///< the box width asked for; the measured height rounded up
  double fontSize = 0;        ///< the chosen base size
  bool overflow = false;      ///< even the smallest allowed size failed
  int lineCount = 0;
  Style style;  ///< with `size` = `fontSize`

  bool operator==(const Fitted&) const = default;
};

/// A box of a highlight or a marker, in the drawing space (y down).
struct MarkBox {
  int line = 0;
  Rect box;
  double radius = 0;
  double angle = 0;  ///< radians
  bool operator==(const MarkBox&) const = default;
};

/// Lower-case family names that always mean the system font.
bool isSystemFamily(std::string_view family);

/// The style of a spec. An italic spec whose face has no italic gets an 11 degree slant instead.
Style style(const TextSpec& spec);
/// The same style at another base size.
Style withSize(Style style, double size);

/// The string without "{n}" line prefixes and "**".
std::string plain(std::string_view text);
/// The line's scale and the rest of the line; see TextMarkup::lineScale.
std::optional<std::pair<double, std::string>> lineScale(std::string_view line);

/// The styled runs of marked-up copy.
AttributedText attributed(std::string_view text, const Style& style);
/// Width and height of the laid text at `width` with unlimited height; the height is not rounded.
Size suggestedSize(const AttributedText& text, double width);
/// Lines laid at `width`.
int lineCount(const AttributedText& text, double width);
/// The widest single word of the text at the style's size: what must fit the box unbroken.
double widestWord(std::string_view text, const Style& style);

/// Chooses the font size at which `text` fits `box`, falling by 5% steps to `minScale` x size.
Fitted fit(std::string_view text, const Style& style, Size box, double minScale, std::optional<int> maxLines);
/// The spec laid at `width` as it stands, no fitting: what a layer draws and a manual text measures.
Fitted laid(const TextSpec& spec, double width);

/// The ink of the text laid at `width`, as x from the frame's left edge; nothing without ink.
std::optional<std::pair<double, double>> inkSpan(const TextSpec& spec, double width);
/// Whether a highlight box covers a neighbouring line.
bool marksCollide(const TextSpec& spec, double width);
/// The highlight or marker boxes of a fitted text laid in `frame`.
std::vector<MarkBox> markBoxes(const Fitted& fitted, const Rect& frame);
/// Outlines of every laid glyph in `frame`, slant applied.
Path glyphPath(const Fitted& fitted, const Rect& frame);

/// Draws the text with its left edge at `x` and its top at `top`.
void draw(const Fitted& fitted, cairo_t* cr, double x, double top);

/// Where a family comes from: the package's fonts/, the system, elsewhere on this machine, or
/// nowhere (then the system font stands in).
FontSource fontSource(std::string_view family, const std::string& root);
/// White, or "#14171D" when that reads better on `color`.
RGBColor onColor(const RGBColor& color);

}  // namespace TextLayout

namespace FontRegistry {
/// Makes the fonts in `root`/fonts usable by family name in this process; a changed file is
/// registered again. Safe from any thread.
void registerFonts(const std::string& root);
/// Whether a font file lies in the package's fonts/ folder, symlinks resolved.
bool isProjectFont(const std::string& fontPath, const std::string& root);
}  // namespace FontRegistry

}  // namespace vorno
