// What layout hands to rendering: each element of a slide placed on the canvas (ElementLayout),
// and the whole composed slide or spread (ComposedSlide). Rendering never reads the document
// again; everything that changes pixels is in these records.
#pragma once

#include "kit/devices/device_renderer.h"
#include "kit/layout/component_layout.h"
#include "kit/model/issue.h"
#include "kit/model/fill.h"
#include "kit/model/slide.h"
#include "kit/model/store_target.h"
#include "kit/model/text_style.h"
#include "kit/text/text_spec.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace vorno {

/// Whose element it is: a slide's or a spread's, by id.
struct ElementOwner {
  enum class Kind { slide, spread };
  Kind kind = Kind::slide;
  std::string id;

  bool operator==(const ElementOwner&) const = default;
  static ElementOwner slide(std::string id) { return {Kind::slide, std::move(id)}; }
  static ElementOwner spread(std::string id) { return {Kind::spread, std::move(id)}; }
};

/// A raster or vector image element.
struct ImageSpec {
  std::string path;
  std::optional<CropRect> crop;
  std::optional<ShapeKind> mask;
  double cornerRadius = 0;  ///< pixels
  double blur = 0;          ///< pixels
  bool operator==(const ImageSpec&) const = default;
};

struct ShapeSpec {
  ShapeKind kind = ShapeKind::roundedRectangle;
  std::optional<Fill> fill;
  std::optional<RGBColor> stroke;
  double strokeWidth = 0;   ///< pixels
  double cornerRadius = 0;  ///< pixels
  double blur = 0;          ///< pixels
  std::optional<std::string> pathData;
  bool operator==(const ShapeSpec&) const = default;
};

struct DeviceContent {
  DeviceRenderer renderer;
  std::optional<std::string> finish;
  std::optional<std::string> capture;  ///< path of the capture shown
  bool operator==(const DeviceContent&) const = default;
};

struct SymbolContent {
  std::string name;
  RGBColor color;
  bool operator==(const SymbolContent&) const = default;
};

struct ElementLayout {
  enum class Kind { text, device, image, symbol, shape, component };
  using Content = std::variant<TextSpec, DeviceContent, ImageSpec, SymbolContent, ShapeSpec, ComponentDrawing>;

  std::string id;  ///< "eyebrow", "headline", "subhead", "device", or a free element's id
  ElementOwner owner;
  Kind kind = Kind::text;
  std::string label;  ///< words for issues
  Rect frame;         ///< canvas pixels, before rotation
  double rotation = 0;  ///< degrees about the frame's centre
  Content content;
  double opacity = 1;
  bool shadow = false;  ///< the stock soft shadow
  double z = 0;
  std::optional<ShadowStyle> shadowStyle;
  std::optional<BlendMode> blend;
  bool decorative = false;
  double fade = 1;       ///< motion's further opacity
  double drawScale = 1;  ///< motion's scale at draw time
  bool isManual = false;
  Placement placement;  ///< the effective placement, as fractions
  double bleed = 0;     ///< pixels the layer reaches beyond `frame` on every side
  std::string contentKey;
  bool incoming = false;

  bool operator==(const ElementLayout&) const = default;

  /// "slide:" or "spread:", the owner's id, "/", the id; "~next" for an incoming element.
  std::string uid() const;
  /// `frame` grown by `bleed`.
  Rect layerRect() const { return frame.outsetBy(bleed); }
  /// `frame` narrowed to the text's ink (texts only), rotated, as a bounding box.
  Rect inkBounds() const;
  Rect rotatedBounds() const { return frame.rotatedBounds(rotation); }
  Rect drawnFrame() const;
  Rect drawnInkBounds() const;

  const TextSpec* text() const { return std::get_if<TextSpec>(&content); }
};

struct ComposedSlide {
  std::string slideID;
  StoreTarget target;
  std::string locale;
  std::vector<std::string> slideIDs;  ///< every slide it covers: one, or a spread's members
  std::optional<std::string> spreadID;
  std::vector<Fill> sliceBackgrounds;  ///< one per member
  std::optional<Fill> spanningBackground;
  std::vector<ElementLayout> elements;  ///< in stacking order
  std::vector<Issue> issues;
  std::optional<std::string> frameID;
  std::optional<double> headlineFontSize;

  bool operator==(const ComposedSlide&) const = default;

  /// The slice of the slide asked for: its index in `slideIDs`, 0 when absent.
  int focusIndex() const {
    for (size_t i = 0; i < slideIDs.size(); ++i)
      if (slideIDs[i] == slideID) return static_cast<int>(i);
    return 0;
  }

  /// The element with that id and owner id.
  const ElementLayout* element(std::string_view id, std::string_view ownerID) const;
  /// The element with that uid.
  const ElementLayout* element(std::string_view uid) const;
};

/// Stable sort by z: ties keep the order of creation.
std::vector<ElementLayout> sorted(std::vector<ElementLayout> elements);

}  // namespace vorno
