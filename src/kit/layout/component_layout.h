// ComponentLayout: a ready-made component (rating, badge, award, review, stat, checklist,
// notification, callout) turned into a ComponentDrawing, a short list of primitive parts in a
// space of its own that ComponentPainter draws.
//
// The space is always 1000 units wide, y down, origin top left; the height follows from the
// content. An element's width scales the whole drawing, so its height on the canvas is
// width x size.height / size.width.
//
//   ComponentDrawing d = ComponentLayout::make(spec, theme, fg, muted, "en-US", root);
//   double height = frameWidth * d.size.height / d.size.width;
//   std::string key = "component|" + d.description();
#pragma once

#include "kit/model/color.h"
#include "kit/text/text_spec.h"
#include "kit/util/geometry.h"

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorno {

struct ComponentSpec;
struct Theme;

struct ComponentDrawing {
  /// A filled rounded rectangle.
  struct Card {
    Rect rect;
    double radius = 0;
    RGBColor color;
    bool operator==(const Card&) const = default;
  };
  /// Set text, laid in `rect` (its width is the column, its top the first line's top).
  struct Text {
    TextSpec spec;
    Rect rect;
    bool operator==(const Text&) const = default;
  };
  /// A row of five stars filled up to `value` (0 to 5), the rest in `empty`.
  struct Stars {
    Rect rect;
    double value = 5;
    RGBColor color;
    RGBColor empty;
    bool operator==(const Stars&) const = default;
  };
  /// A symbol of the icon set (see Symbols), tinted with `color`.
  struct Symbol {
    std::string name;
    Rect rect;
    RGBColor color;
    bool operator==(const Symbol&) const = default;
  };
  /// An image file clipped to a rounded rectangle; left out when the file can't be read.
  struct Image {
    std::string path;
    Rect rect;
    double radius = 0;
    bool operator==(const Image&) const = default;
  };
  /// A filled disc with a tick.
  struct Check {
    Rect rect;
    RGBColor fill;
    RGBColor mark;
    bool operator==(const Check&) const = default;
  };
  /// One laurel branch; `mirrored` is the right-hand one.
  struct Laurel {
    Rect rect;
    RGBColor color;
    bool mirrored = false;
    bool operator==(const Laurel&) const = default;
  };
  /// The pointer below a callout's capsule.
  struct Tail {
    Rect rect;
    RGBColor color;
    bool operator==(const Tail&) const = default;
  };
  using Part = std::variant<Card, Text, Stars, Symbol, Image, Check, Laurel, Tail>;

  Size size;                ///< width (always 1000 for full-width kinds) and height, in units
  std::vector<Part> parts;  ///< painted in order

  bool operator==(const ComponentDrawing&) const = default;

  /// Every value that changes pixels, in one line: the cache key of a component's layer.
  std::string description() const;
};

/// What a text measures: its laid size at a width (height unbounded) and its line count.
struct TextMeasure {
  Size size;
  int lines = 1;
};
/// Measures a text at a width. The layout rounds the answer up itself.
using TextMeasurer = std::function<TextMeasure(const TextSpec& spec, double width)>;

namespace ComponentLayout {

/// "#14171D": the dark of light cards and of text on them.
RGBColor ink();
/// "#FFB21A": the stars.
RGBColor gold();

/// Lays a component out for one locale. `fg` and `muted` are the slide's text colours (used by
/// the `clear` style); `root` is the package folder that a relative icon `image` is below.
/// Never throws: missing texts take no room.
ComponentDrawing make(const ComponentSpec& spec, const Theme& theme, const RGBColor& fg, const RGBColor& muted,
                      std::string_view locale, const std::optional<std::string>& root);

/// The same with another text measurer: tests use it to check geometry independent of fonts.
ComponentDrawing make(const ComponentSpec& spec, const Theme& theme, const RGBColor& fg, const RGBColor& muted,
                      std::string_view locale, const std::optional<std::string>& root,
                      const TextMeasurer& measure);

/// The text engine's measure: TextLayout::attributed, then suggestedSize and lineCount.
TextMeasure measureWithTextEngine(const TextSpec& spec, double width);

}  // namespace ComponentLayout

}  // namespace vorno
