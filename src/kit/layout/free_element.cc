// Free elements: texts, images, devices, symbols, shapes and components that a slide or spread
// places by hand (or at their default place), each measured and keyed for the layer cache.
#include "kit/devices/device_renderer.h"
#include "kit/image/image_cache.h"
#include "kit/layout/component_layout.h"
#include "kit/layout/content_keys.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/layout/svg_path.h"
#include "kit/layout/symbols.h"
#include "kit/layout/text_element.h"
#include "kit/model/enum_names.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"

#include <algorithm>
#include <cmath>
#include <filesystem>

namespace vorno {

namespace {

namespace fs = std::filesystem;

using ContentKeys::number;
using ContentKeys::fill;

using ContentKeys::name;

std::string shadowStyleKey(const std::optional<ShadowStyle>& s) {
  if (!s) return "";
  return "|ss" + (s->color ? s->color->hex() : std::string("-")) + "," + number(s->opacity) + "," + number(s->blur) + "," +
         number(s->x) + "," + number(s->y);
}

double defaultAspect(ShapeKind kind) {
  switch (kind) {
    case ShapeKind::rectangle:
    case ShapeKind::roundedRectangle:
      return 0.6;
    case ShapeKind::capsule:
      return 0.3;
    case ShapeKind::circle:
      return 1.0;
    case ShapeKind::arrow:
      return 0.7;
    case ShapeKind::path:
      return 1.0;
  }
  return 0.6;
}

// The words an issue uses for a component: its kind, capitalised.
std::string componentLabel(ComponentSpec::Kind kind) {
  std::string label = name(kind);
  label[0] = static_cast<char>(std::toupper(static_cast<unsigned char>(label[0])));
  return label;
}

// Names the symbol set lacks: the nearest names it has, since a wrong name is usually a near miss.
std::string unknownSymbolMessage(const std::string& symbol) {
  std::string message = "\"" + symbol + "\" isn't among vorno's symbols, so the icon is left out.";
  std::vector<std::string> near = Symbols::closest(symbol);
  if (!near.empty()) {
    message += " Nearest known names: ";
    for (size_t i = 0; i < near.size(); ++i) message += (i ? ", " : "") + near[i];
    message += ".";
  }
  return message + " Every name is listed in symbols.tsv beside vorno's design guide.";
}

}  // namespace

Placement SlideLayoutEngine::defaultPlacement(const SlideElement& element, int slides) {
  // Centred on whatever it stands on, at a width that reads as the kind's natural size.
  double width = 0.5;
  switch (element.kind) {
    case SlideElement::Kind::text:
      width = 0.8;
      break;
    case SlideElement::Kind::image:
    case SlideElement::Kind::device:
      width = 0.5;
      break;
    case SlideElement::Kind::symbol:
      width = 0.15;
      break;
    case SlideElement::Kind::shape:
      width = 0.4;
      break;
    case SlideElement::Kind::component:
      width = 0.6;
      break;
  }
  return {std::max(1, slides) * 0.5, 0.5, width, std::nullopt, std::nullopt, std::nullopt};
}

namespace {

/// One free element being laid: what every kind shares (the common fields, its frame at a given
/// height, how far its layer reaches, the common tail of its content key), then one step per kind.
class FreeElementLaying {
 public:
  FreeElementLaying(const SlideLayoutEngine& engine, const SlideElement& element, const FreeElementPlace& place,
                    const LayingScope& scope, IssueSink& sink)
      : engine_(engine),
        element_(element),
        placement_(place.placement),
        manual_(place.manual),
        scope_(scope),
        sink_(sink),
        W(scope.target.width),
        H(scope.target.height),
        width_(place.placement.width * W),
        blur_(element.blur ? width_ * std::clamp(*element.blur, 0.0, 0.5) : 0.0) {
    e_.id = element.id;
    e_.owner = place.owner;
    e_.z = element.z.value_or(place.defaultZ);
    e_.opacity = std::clamp(element.opacity.value_or(1.0), 0.0, 1.0);
    e_.shadow = element.shadow.value_or(false);
    e_.rotation = placement_.rotation.value_or(0);
    e_.decorative = element.decorative.value_or(false);
    if (element.blend && *element.blend != BlendMode::normal) e_.blend = element.blend;
    e_.isManual = manual_;
    e_.placement = placement_;
    e_.shadowStyle = element.shadowStyle;
  }

  std::optional<ElementLayout> lay() {
    switch (element_.kind) {
      case SlideElement::Kind::text:
        return text();
      case SlideElement::Kind::image:
        return image();
      case SlideElement::Kind::device:
        return device();
      case SlideElement::Kind::symbol:
        return symbol();
      case SlideElement::Kind::shape:
        return shape();
      case SlideElement::Kind::component:
        return component();
    }
    return std::nullopt;
  }

 private:
  Rect frameWith(double height) const {
    return Rect{placement_.x * W - width_ / 2, placement_.y * H - height / 2, width_, height};
  }

  // The layer reaches past the frame by what its blur and shadows spill.
  double rasterBleed(const Rect& frame) const {
    double bleed = 2 + blur_ * 3;
    if (e_.shadow) bleed = std::max(bleed, 0.15 * std::max(frame.width, frame.height));
    if (e_.shadowStyle) {
      const ShadowStyle& s = *e_.shadowStyle;
      double reach = s.blur ? *s.blur * 2.5 : 0.15;
      double y = s.y.value_or(0.025), x = s.x.value_or(0);
      bleed = std::max(bleed, blur_ * 3 + frame.width * (reach + std::max(std::abs(y), std::abs(x))));
    }
    return bleed;
  }

  std::string commonKey() const {
    return "|o" + number(e_.opacity) + (e_.shadow ? "|s" : "") + "|b" + number(blur_) +
           shadowStyleKey(e_.shadowStyle) + (e_.blend ? "|" + name(*e_.blend) : "");
  }

  std::optional<ElementLayout> text() {
    const std::string& locale = scope_.locale;
    std::optional<std::string> text = element_.text ? element_.text->resolve(locale) : std::nullopt;
    if (!text || text->empty()) return std::nullopt;
    if (!element_.text->has(locale))
      sink_.warning("text.missing-locale", "Text " + element_.id + " has no " + locale + " text; using a fallback.");
    TextSpec spec = scope_.style.spec(element_.role.value_or(TextRole::subhead), *text, element_.color,
                                      element_.align.value_or(TextAlign::center), element_.style);
    ElementLayout t = textElement({element_.id, "Text", e_.owner}, spec, placement_,
                                  {e_.z, e_.opacity, e_.shadow, manual_}, {W, H});
    t.decorative = e_.decorative;
    t.blend = e_.blend;
    t.shadowStyle = e_.shadowStyle;
    return t;
  }

  std::optional<ElementLayout> image() {
    if (!element_.image) return std::nullopt;
    const std::string path = packagePath(scope_.root, *element_.image);
    auto size = ImageSizeCache::shared().size(path);
    if (!size) {
      sink_.error("image.missing", "Image not found or unreadable: " + *element_.image, e_.uid());
      return std::nullopt;
    }
    const double height = placement_.height ? *placement_.height * H
                                            : width_ * element_.aspect.value_or(size->height / size->width);
    e_.kind = ElementLayout::Kind::image;
    e_.label = "Image";
    e_.frame = frameWith(height);
    double corner = element_.cornerRadius.value_or(element_.mask == ShapeKind::roundedRectangle ? 0.18 : 0.0);
    ImageSpec spec{path, element_.crop ? std::optional<CropRect>(element_.crop->clamped()) : std::nullopt,
                   element_.mask, std::min(width_, height) * std::min(corner, 0.5), blur_};
    e_.bleed = rasterBleed(e_.frame);
    std::string cropKey = spec.crop ? number(spec.crop->x) + "," + number(spec.crop->y) + "," +
                                          number(spec.crop->width) + "," + number(spec.crop->height)
                                    : "-";
    e_.contentKey = "image|" + path + "|" + number(width_) + "x" + number(height) + "|" + cropKey + "|" +
                    (spec.mask ? name(*spec.mask) : "-") + "|" + number(spec.cornerRadius) + commonKey();
    e_.content = std::move(spec);
    return std::move(e_);
  }

  std::optional<ElementLayout> device() {
    if (!element_.device) return std::nullopt;
    DeviceSlot slot = element_.device->flattened(scope_.target.platform);
    auto resolved = engine_.resolveDevice(slot, scope_.root, scope_.target, scope_.locale, sink_);
    if (!resolved) return std::nullopt;
    DeviceRenderer renderer(resolved->frame, Finish::named(resolved->finish));
    const double height = placement_.height ? *placement_.height * H : width_ / renderer.bodyAspect();
    const bool shadow = element_.shadow.value_or(true);
    ElementLayout d = engine_.deviceElement({element_.id, "Device", e_.owner}, *resolved, slot,
                                            {frameWith(height), e_.rotation, manual_, e_.z, e_.opacity}, {W, H},
                                            sink_);
    d.placement = placement_;
    d.shadow = shadow;
    d.decorative = e_.decorative;
    d.blend = e_.blend;
    d.shadowStyle = e_.shadowStyle;
    d.bleed = 0.2 * width_;
    if (!shadow) d.contentKey += "|noshadow";
    return d;
  }

  std::optional<ElementLayout> symbol() {
    const std::string symbol = element_.symbol.value_or("");
    if (scope_.target.platform == Platform::android) {
      sink_.warning("symbol.license",
                    "SF Symbols are licensed for Apple-platform artwork only; use your own icon on Google Play.",
                    e_.uid());
      return std::nullopt;
    }
    if (!Symbols::resolves(symbol)) {
      sink_.warning("symbol.unknown", unknownSymbolMessage(symbol), e_.uid());
      return std::nullopt;
    }
    const double height = placement_.height ? *placement_.height * H : width_ * element_.aspect.value_or(1.0);
    e_.kind = ElementLayout::Kind::symbol;
    e_.label = "Icon";
    e_.frame = frameWith(height);
    const RGBColor color = element_.color.value_or(scope_.style.fg);
    e_.bleed = rasterBleed(e_.frame);
    e_.contentKey =
        "symbol|" + symbol + "|" + color.hex() + "|" + number(width_) + "x" + number(height) + commonKey();
    e_.content = SymbolContent{symbol, color};
    return std::move(e_);
  }

  std::optional<ElementLayout> shape() {
    ShapeSpec spec;
    spec.kind = element_.shape.value_or(ShapeKind::roundedRectangle);
    double aspect = defaultAspect(spec.kind);
    if (spec.kind == ShapeKind::path) {
      if (!element_.path || element_.path->empty()) {
        sink_.error("shape.path", "Shape " + element_.id + " is a path but has no path data.", e_.uid());
        return std::nullopt;
      }
      // A path that doesn't parse still takes its place; drawing it draws nothing.
      try {
        Rect box = SVGPath::parse(*element_.path).controlBounds();
        aspect = box.height / std::max(box.width, 0.001);
      } catch (const VornoError&) {
      }
      spec.pathData = element_.path;
    }
    if (element_.aspect) aspect = *element_.aspect;
    const double height = placement_.height ? *placement_.height * H : width_ * aspect;
    if (spec.kind == ShapeKind::arrow) {
      spec.stroke = element_.stroke ? element_.stroke : (element_.color ? element_.color : scope_.style.fg);
      spec.strokeWidth = element_.strokeWidth.value_or(0.06) * width_;
    } else {
      if (element_.fill) {
        spec.fill = element_.fill->resolved(scope_.root);
      } else if (!element_.stroke) {
        spec.fill = Fill::solid({0, 0, 0, 0});
      }
      spec.stroke = element_.stroke;
      spec.strokeWidth = element_.strokeWidth.value_or(0.02) * width_;
      spec.cornerRadius = width_ * std::min(element_.cornerRadius.value_or(0.18), 0.5);
    }
    spec.blur = blur_;
    e_.kind = ElementLayout::Kind::shape;
    e_.label = "Shape";
    e_.frame = frameWith(height);
    e_.bleed = rasterBleed(e_.frame);
    e_.contentKey = "shape|" + name(spec.kind) + "|" + number(width_) + "x" + number(height) + "|" +
                    fill(spec.fill) + "|" + (spec.stroke ? spec.stroke->hex() : "-") + "|" +
                    number(spec.strokeWidth) + "|" + number(spec.cornerRadius) + "|" + spec.pathData.value_or("") +
                    commonKey();
    e_.content = std::move(spec);
    return std::move(e_);
  }

  // On Google Play, a component that claims a rating, an award or a review, or shows a symbol.
  void componentPolicyIssues(const ComponentSpec& spec) {
    if (scope_.target.platform != Platform::android) return;
    using K = ComponentSpec::Kind;
    if (spec.type == K::rating || spec.type == K::award || spec.type == K::review)
      sink_.warning("play.performance-claim",
                    "Google Play doesn't allow ratings, rankings, awards or reviews in store graphics. Hide this " +
                        name(spec.type) + " for Android.",
                    e_.uid());
    const bool stockIcon = spec.type == K::notification && !spec.image;
    if ((spec.symbol && !spec.symbol->empty()) || stockIcon)
      sink_.warning("symbol.license",
                    "SF Symbols are licensed for Apple-platform artwork only; use your own icon on Google Play.",
                    e_.uid());
  }

  std::optional<ElementLayout> component() {
    if (!element_.component) return std::nullopt;
    const ComponentSpec& spec = *element_.component;
    componentPolicyIssues(spec);
    if (spec.image && !ImageSizeCache::shared().size(packagePath(scope_.root, *spec.image)))
      sink_.error("image.missing", "Image not found or unreadable: " + *spec.image, e_.uid());
    const StyleContext& style = scope_.style;
    ComponentDrawing drawing = ComponentLayout::make(spec, style.theme, style.fg, style.muted, scope_.locale,
                                                     scope_.root);
    const double height = width_ * drawing.size.height / std::max(drawing.size.width, 0.001);
    e_.kind = ElementLayout::Kind::component;
    e_.label = componentLabel(spec.type);
    e_.frame = frameWith(height);
    e_.bleed = rasterBleed(e_.frame);
    e_.contentKey = "component|" + drawing.description() + "|" + number(width_) + commonKey();
    e_.content = std::move(drawing);
    return std::move(e_);
  }

  const SlideLayoutEngine& engine_;
  const SlideElement& element_;
  const Placement& placement_;
  const bool manual_;
  const LayingScope& scope_;
  IssueSink& sink_;
  const double W, H;
  const double width_;  ///< the frame's width on the canvas
  const double blur_;   ///< the blur's radius on the canvas
  ElementLayout e_;     ///< the fields every kind shares, filled in first
};

}  // namespace

std::optional<ElementLayout> SlideLayoutEngine::freeElement(const SlideElement& element, const FreeElementPlace& place,
                                                            const LayingScope& scope, IssueSink& sink) const {
  const StoreTarget& target = scope.target;
  if (element.platforms &&
      std::find(element.platforms->begin(), element.platforms->end(), target.platform) == element.platforms->end())
    return std::nullopt;
  if (element.targets &&
      std::find(element.targets->begin(), element.targets->end(), target.id) == element.targets->end())
    return std::nullopt;
  return FreeElementLaying(*this, element, place, scope, sink).lay();
}

}  // namespace vorno
