// The pieces a slide is made of: free elements (SlideElement), the device that shows a capture
// (DeviceSlot with its per-store looks), the capture reference (ScreenshotRef), the crop of a
// capture (CropRect) and ready-made components (ComponentSpec).
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/model/fill.h"
#include "kit/model/localized_text.h"
#include "kit/model/store_target.h"
#include "kit/model/text_style.h"

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace vorno {

/// A region of a capture, fractions of its size from the top left.
struct CropRect {
  double x = 0, y = 0, width = 1, height = 1;

  bool operator==(const CropRect&) const = default;

  /// Kept inside the capture and never thinner than 2%: the origin within 0...0.98, the size at
  /// least 0.02 and at most what is left of the capture.
  CropRect clamped() const;
};

/// Which capture a device shows: one path for every target, or one per target id or platform
/// name. Paths may hold "{locale}".
struct ScreenshotRef {
  std::variant<std::string, std::map<std::string, std::string>> value;

  bool operator==(const ScreenshotRef&) const = default;

  static ScreenshotRef path(std::string p) { return {std::move(p)}; }
  static ScreenshotRef byTarget(std::map<std::string, std::string> m) { return {std::move(m)}; }

  /// The path for a target and locale: the target's own entry, else its platform's, else (on a
  /// foldable only) the big iPhones'; "{locale}" replaced. Nothing when no entry applies.
  std::optional<std::string> resolve(const StoreTarget& target, std::string_view locale) const;
};

/// The per-store frame, finish and crop of a device.
struct DeviceLook {
  std::optional<std::string> frame;
  std::optional<std::string> finish;
  std::optional<CropRect> crop;

  bool operator==(const DeviceLook&) const = default;
};

/// A device showing a capture, on a slide or as a free element.
struct DeviceSlot {
  ScreenshotRef screenshot;
  std::optional<std::string> frame;  ///< frame id, "none" for a bare screen, or a frame image path
  std::optional<std::string> finish;
  std::optional<double> width;  ///< fraction of canvas width
  std::optional<double> offsetY;
  std::optional<double> rotation;  ///< degrees
  std::optional<CropRect> crop;    ///< shows only this region, as a bare rounded card
  std::optional<RGBColor> outline;
  std::optional<std::map<std::string, DeviceLook>> platforms;  ///< keyed by platform name

  bool operator==(const DeviceSlot&) const = default;

  /// Frame, finish and crop for one store: each from `platforms[<name>]` where that entry has
  /// it, else the slot's own.
  DeviceLook look(Platform platform) const;
  /// A copy with that store's look applied and no per-store entries left.
  DeviceSlot flattened(Platform platform) const;
};

/// A ready-made component: a rating, a badge, a review and the like.
struct ComponentSpec {
  enum class Kind { rating, badge, award, review, stat, checklist, notification, callout };
  enum class Style { light, dark, accent, clear };

  Kind type = Kind::rating;
  std::optional<Style> style;
  std::optional<LocalizedText> title;
  std::optional<LocalizedText> subtitle;
  std::optional<std::vector<LocalizedText>> items;
  std::optional<double> value;  ///< stars, 0 to 5
  std::optional<std::string> symbol;
  std::optional<std::string> image;  ///< a notification's app icon

  bool operator==(const ComponentSpec&) const = default;

  /// Ready-to-edit content of a kind, its texts under `locale`, no style.
  static ComponentSpec starter(Kind kind, const std::string& locale);
  /// A short label of a kind, for a library of components.
  static std::string_view summary(Kind kind);
  /// Every kind's name in the catalogue's order, joined by `separator` ("rating | badge | ..."),
  /// for the texts that teach the kinds: a new kind is listed there by its name alone.
  static std::string kindNames(std::string_view separator);
};

/// A free element on a slide or a spread. `id` and `kind` are always there; which of the other
/// fields apply depends on the kind.
struct SlideElement {
  enum class Kind { text, image, device, symbol, shape, component };

  std::string id;
  Kind kind = Kind::text;
  std::optional<LocalizedText> text;
  std::optional<TextRole> role;
  std::optional<RGBColor> color;  ///< text, symbol
  std::optional<TextAlign> align;
  std::optional<std::string> image;  ///< a path
  std::optional<DeviceSlot> device;
  std::optional<std::string> symbol;  ///< a symbol name
  std::optional<ShapeKind> shape;
  std::optional<ComponentSpec> component;
  std::optional<Fill> fill;  ///< a shape's paint; on text, a block behind it
  std::optional<RGBColor> stroke;
  std::optional<double> strokeWidth;
  std::optional<double> cornerRadius;
  std::optional<double> aspect;
  std::optional<double> opacity;  ///< 0...1
  std::optional<bool> shadow;
  std::optional<double> z;  ///< stacking: device 0, text 1, free elements 2, spread elements -1
  std::optional<std::vector<Platform>> platforms;  ///< show on these stores only
  std::optional<std::vector<std::string>> targets;  ///< show on these target ids only
  std::optional<TextStyle> style;
  std::optional<ShadowStyle> shadowStyle;
  std::optional<CropRect> crop;
  std::optional<ShapeKind> mask;
  std::optional<double> blur;        ///< fraction of width
  std::optional<std::string> path;   ///< SVG path data of a `path` shape
  std::optional<BlendMode> blend;
  std::optional<bool> decorative;  ///< skips the contrast, edge and seam checks

  bool operator==(const SlideElement&) const = default;
};

template <>
struct EnumNames<ComponentSpec::Kind> {
  static constexpr std::string_view typeName = "Kind";
  static constexpr std::array<std::string_view, 8> names{"rating",    "badge",        "award",  "review", "stat",
                                                         "checklist", "notification", "callout"};
};
template <>
struct EnumNames<ComponentSpec::Style> {
  static constexpr std::string_view typeName = "Style";
  static constexpr std::array<std::string_view, 4> names{"light", "dark", "accent", "clear"};
};
template <>
struct EnumNames<SlideElement::Kind> {
  static constexpr std::string_view typeName = "Kind";
  static constexpr std::array<std::string_view, 6> names{"text", "image", "device", "symbol", "shape", "component"};
};

}  // namespace vorno
