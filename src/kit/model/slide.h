// Slide: one screenshot of a set, with its words, device and free elements, and the hand
// placements (Placement, SlideOverride) that adjust it per store target.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/fill.h"
#include "kit/model/localized_text.h"
#include "kit/model/slide_element.h"
#include "kit/model/text_style.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorno {

struct StoreTarget;
struct SlideOverride;
struct MotionScene;

/// Where one item stands on one target, by hand. Fractions of the canvas, x and y at the item's
/// centre; on a spread x runs from 0 to the number of slides.
struct Placement {
  double x = 0.5;
  double y = 0.5;
  double width = 1;
  std::optional<double> height;
  std::optional<double> fontScale;  ///< factor on the text's size
  std::optional<double> rotation;   ///< degrees

  bool operator==(const Placement&) const = default;

  /// The placement of `id` on `target`: its own, else one borrowed from a target of the same
  /// family, else between tablets and foldables. The flag says it was borrowed. Creative
  /// canvases never borrow.
  static std::optional<std::pair<Placement, bool>> effective(std::string_view id, const StoreTarget& target,
                                                             const std::map<std::string, SlideOverride>& overrides);
};

/// A slide's adjustments on one target, keyed by target id.
struct SlideOverride {
  std::optional<Archetype> archetype;
  std::optional<double> deviceWidth;
  std::optional<double> deviceOffsetY;
  std::optional<double> headlineScale;
  /// Keyed by eyebrow, headline, subhead, device, or a free element's id.
  std::optional<std::map<std::string, Placement>> placements;

  bool operator==(const SlideOverride&) const = default;
};

struct Slide {
  std::string id;
  Archetype archetype = Archetype::hero;
  std::optional<LocalizedText> eyebrow;
  LocalizedText headline;
  std::optional<LocalizedText> subhead;
  std::optional<DeviceSlot> device;
  bool inverted = false;  ///< uses the theme's inverted background and foreground
  std::optional<Fill> background;
  std::map<std::string, SlideOverride> overrides;  ///< keyed by target id
  std::vector<SlideElement> elements;
  std::map<std::string, RGBColor> textColors;  ///< keyed by text field name
  std::optional<EmphasisStyle> emphasisStyle;
  std::map<std::string, TextStyle> textStyles;  ///< keyed by text field name
  std::optional<RGBColor> accent;
  /// Set in memory only, by motion composition, to hold the type size steady across scenes;
  /// never read from nor written to a document.
  std::map<std::string, double> textSizeCaps;

  bool operator==(const Slide&) const = default;

  /// The slide's own text fields, in this order.
  static constexpr std::array<std::string_view, 3> textFields{"eyebrow", "headline", "subhead"};

  /// The hand placement of `id` on the target with that id, not inherited.
  std::optional<Placement> placement(std::string_view id, std::string_view targetID) const;
  /// `Placement::effective` over this slide's overrides.
  std::optional<std::pair<Placement, bool>> effectivePlacement(std::string_view id, const StoreTarget& target) const;

  // A slide at one moment of a creative's loop (slide_moment.cc).

  /// A copy with the scene's texts and captures swapped in, by element id ("eyebrow",
  /// "headline", "subhead", "device", or a free element's); ids that match nothing are passed over.
  Slide applying(const MotionScene& scene) const;
  /// Whether a capture or image path holds "{frame}": an image sequence, one file per frame.
  bool usesFrames() const;
  /// A copy with every "{frame}" in capture and image paths replaced by `index` as "%04d".
  Slide atFrame(int index) const;
  /// A copy in which every recording (.mov, .mp4, .m4v) among the capture and image paths names
  /// its picture at `seconds`, as "<path>@t=<seconds with four decimals>".
  Slide atTime(double seconds) const;
};

}  // namespace vorno
