// Free elements: texts, images, devices, symbols, shapes and components that a slide or spread
// places by hand (or at their default place), each measured and keyed for the layer cache.
#include "kit/devices/device_renderer.h"
#include "kit/image/image_cache.h"
#include "kit/layout/component_layout.h"
#include "kit/layout/content_keys.h"
#include "kit/layout/svg_path.h"
#include "kit/layout/symbols.h"
#include "kit/layout/slide_layout_engine.h"
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

template <class E>
std::string name(E value) {
  return std::string(EnumNames<E>::names[static_cast<size_t>(value)]);
}

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

std::optional<ElementLayout> SlideLayoutEngine::freeElement(const SlideElement& element, const Placement& placement,
                                                            bool manual, const ElementOwner& owner, double defaultZ,
                                                            const StyleContext& context, const std::string& root,
                                                            const StoreTarget& target, const std::string& locale,
                                                            double W, double H, IssueSink& sink) const {
  if (element.platforms &&
      std::find(element.platforms->begin(), element.platforms->end(), target.platform) == element.platforms->end())
    return std::nullopt;
  if (element.targets &&
      std::find(element.targets->begin(), element.targets->end(), target.id) == element.targets->end())
    return std::nullopt;

  ElementLayout e;
  e.id = element.id;
  e.owner = owner;
  e.z = element.z.value_or(defaultZ);
  e.opacity = std::clamp(element.opacity.value_or(1.0), 0.0, 1.0);
  e.shadow = element.shadow.value_or(false);
  e.rotation = placement.rotation.value_or(0);
  e.decorative = element.decorative.value_or(false);
  if (element.blend && *element.blend != BlendMode::normal) e.blend = element.blend;
  e.isManual = manual;
  e.placement = placement;
  e.shadowStyle = element.shadowStyle;
  const double width = placement.width * W;
  const double blur = element.blur ? width * std::clamp(*element.blur, 0.0, 0.5) : 0.0;
  auto frameWith = [&](double height) {
    return Rect{placement.x * W - width / 2, placement.y * H - height / 2, width, height};
  };
  // The layer reaches past the frame by what its blur and shadows spill.
  auto rasterBleed = [&](const Rect& frame) {
    double bleed = 2 + blur * 3;
    if (e.shadow) bleed = std::max(bleed, 0.15 * std::max(frame.width, frame.height));
    if (e.shadowStyle) {
      const ShadowStyle& s = *e.shadowStyle;
      double reach = s.blur ? *s.blur * 2.5 : 0.15;
      double y = s.y.value_or(0.025), x = s.x.value_or(0);
      bleed = std::max(bleed, blur * 3 + frame.width * (reach + std::max(std::abs(y), std::abs(x))));
    }
    return bleed;
  };
  auto commonKey = [&] {
    return "|o" + number(e.opacity) + (e.shadow ? "|s" : "") + "|b" + number(blur) + shadowStyleKey(e.shadowStyle) +
           (e.blend ? "|" + name(*e.blend) : "");
  };

  switch (element.kind) {
    case SlideElement::Kind::text: {
      std::optional<std::string> text = element.text ? element.text->resolve(locale) : std::nullopt;
      if (!text || text->empty()) return std::nullopt;
      if (!element.text->has(locale))
        sink.warning("text.missing-locale", "Text " + element.id + " has no " + locale + " text; using a fallback.");
      TextSpec spec = context.spec(element.role.value_or(TextRole::subhead), *text, element.color,
                                   element.align.value_or(TextAlign::center), element.style);
      ElementLayout t = textElement(element.id, "Text", owner, spec, placement, e.z, e.opacity, e.shadow, manual, W, H);
      t.decorative = e.decorative;
      t.blend = e.blend;
      t.shadowStyle = e.shadowStyle;
      return t;
    }
    case SlideElement::Kind::image: {
      if (!element.image) return std::nullopt;
      const std::string path = packagePath(root, *element.image);
      auto size = ImageSizeCache::shared().size(path);
      if (!size) {
        sink.error("image.missing", "Image not found or unreadable: " + *element.image, e.uid());
        return std::nullopt;
      }
      const double height = placement.height ? *placement.height * H
                                              : width * element.aspect.value_or(size->height / size->width);
      e.kind = ElementLayout::Kind::image;
      e.label = "Image";
      e.frame = frameWith(height);
      double corner = element.cornerRadius.value_or(element.mask == ShapeKind::roundedRectangle ? 0.18 : 0.0);
      ImageSpec spec{path, element.crop ? std::optional<CropRect>(element.crop->clamped()) : std::nullopt,
                     element.mask, std::min(width, height) * std::min(corner, 0.5), blur};
      e.bleed = rasterBleed(e.frame);
      std::string cropKey = spec.crop ? number(spec.crop->x) + "," + number(spec.crop->y) + "," +
                                            number(spec.crop->width) + "," + number(spec.crop->height)
                                      : "-";
      e.contentKey = "image|" + path + "|" + number(width) + "x" + number(height) + "|" + cropKey + "|" +
                     (spec.mask ? name(*spec.mask) : "-") + "|" + number(spec.cornerRadius) + commonKey();
      e.content = std::move(spec);
      return e;
    }
    case SlideElement::Kind::device: {
      if (!element.device) return std::nullopt;
      DeviceSlot slot = element.device->flattened(target.platform);
      auto resolved = resolveDevice(slot, root, target, locale, sink);
      if (!resolved) return std::nullopt;
      DeviceRenderer renderer(resolved->frame, Finish::named(resolved->finish));
      const double height = placement.height ? *placement.height * H : width / renderer.bodyAspect();
      const bool shadow = element.shadow.value_or(true);
      ElementLayout d = deviceElement(element.id, "Device", owner, *resolved, slot, frameWith(height), e.rotation,
                                      manual, e.z, e.opacity, W, H, sink);
      d.placement = placement;
      d.shadow = shadow;
      d.decorative = e.decorative;
      d.blend = e.blend;
      d.shadowStyle = e.shadowStyle;
      d.bleed = 0.2 * width;
      if (!shadow) d.contentKey += "|noshadow";
      return d;
    }
    case SlideElement::Kind::symbol: {
      const std::string symbol = element.symbol.value_or("");
      if (target.platform == Platform::android) {
        sink.warning("symbol.license",
                     "SF Symbols are licensed for Apple-platform artwork only; use your own icon on Google Play.",
                     e.uid());
        return std::nullopt;
      }
      if (!Symbols::resolves(symbol)) {
        sink.warning("symbol.unknown", unknownSymbolMessage(symbol), e.uid());
        return std::nullopt;
      }
      const double height = placement.height ? *placement.height * H : width * element.aspect.value_or(1.0);
      e.kind = ElementLayout::Kind::symbol;
      e.label = "Icon";
      e.frame = frameWith(height);
      const RGBColor color = element.color.value_or(context.fg);
      e.bleed = rasterBleed(e.frame);
      e.contentKey = "symbol|" + symbol + "|" + color.hex() + "|" + number(width) + "x" + number(height) + commonKey();
      e.content = SymbolContent{symbol, color};
      return e;
    }
    case SlideElement::Kind::shape: {
      ShapeSpec spec;
      spec.kind = element.shape.value_or(ShapeKind::roundedRectangle);
      double aspect = defaultAspect(spec.kind);
      if (spec.kind == ShapeKind::path) {
        if (!element.path || element.path->empty()) {
          sink.error("shape.path", "Shape " + element.id + " is a path but has no path data.", e.uid());
          return std::nullopt;
        }
        // A path that doesn't parse still takes its place; drawing it draws nothing.
        try {
          Rect box = SVGPath::parse(*element.path).controlBounds();
          aspect = box.height / std::max(box.width, 0.001);
        } catch (const VornoError&) {
        }
        spec.pathData = element.path;
      }
      if (element.aspect) aspect = *element.aspect;
      const double height = placement.height ? *placement.height * H : width * aspect;
      if (spec.kind == ShapeKind::arrow) {
        spec.stroke = element.stroke ? element.stroke : (element.color ? element.color : context.fg);
        spec.strokeWidth = element.strokeWidth.value_or(0.06) * width;
      } else {
        if (element.fill) {
          spec.fill = element.fill->resolved(root);
        } else if (!element.stroke) {
          spec.fill = Fill::solid({0, 0, 0, 0});
        }
        spec.stroke = element.stroke;
        spec.strokeWidth = element.strokeWidth.value_or(0.02) * width;
        spec.cornerRadius = width * std::min(element.cornerRadius.value_or(0.18), 0.5);
      }
      spec.blur = blur;
      e.kind = ElementLayout::Kind::shape;
      e.label = "Shape";
      e.frame = frameWith(height);
      e.bleed = rasterBleed(e.frame);
      e.contentKey = "shape|" + name(spec.kind) + "|" + number(width) + "x" + number(height) + "|" +
                     fill(spec.fill) + "|" + (spec.stroke ? spec.stroke->hex() : "-") + "|" +
                     number(spec.strokeWidth) + "|" + number(spec.cornerRadius) + "|" + spec.pathData.value_or("") +
                     commonKey();
      e.content = std::move(spec);
      return e;
    }
    case SlideElement::Kind::component: {
      if (!element.component) return std::nullopt;
      const ComponentSpec& spec = *element.component;
      if (target.platform == Platform::android) {
        using K = ComponentSpec::Kind;
        if (spec.type == K::rating || spec.type == K::award || spec.type == K::review)
          sink.warning("play.performance-claim",
                       "Google Play doesn't allow ratings, rankings, awards or reviews in store graphics. Hide this " +
                           name(spec.type) + " for Android.",
                       e.uid());
        const bool stockIcon = spec.type == K::notification && !spec.image;
        if ((spec.symbol && !spec.symbol->empty()) || stockIcon)
          sink.warning("symbol.license",
                       "SF Symbols are licensed for Apple-platform artwork only; use your own icon on Google Play.",
                       e.uid());
      }
      if (spec.image && !ImageSizeCache::shared().size(packagePath(root, *spec.image)))
        sink.error("image.missing", "Image not found or unreadable: " + *spec.image, e.uid());
      ComponentDrawing drawing = ComponentLayout::make(spec, context.theme, context.fg, context.muted, locale, root);
      const double height = width * drawing.size.height / std::max(drawing.size.width, 0.001);
      e.kind = ElementLayout::Kind::component;
      e.label = componentLabel(spec.type);
      e.frame = frameWith(height);
      e.bleed = rasterBleed(e.frame);
      e.contentKey = "component|" + drawing.description() + "|" + number(width) + commonKey();
      e.content = std::move(drawing);
      return e;
    }
  }
  return std::nullopt;
}

}  // namespace vorno
