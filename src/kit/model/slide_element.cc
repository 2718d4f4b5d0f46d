#include "kit/model/slide_element.h"

#include "kit/model/codings.h"

#include <algorithm>

namespace vorno {
namespace {

void replaceAll(std::string& text, std::string_view from, std::string_view to) {
  for (size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
}

LocalizedText textIn(const std::string& locale, std::string text) { return LocalizedText{{{locale, std::move(text)}}}; }

}  // namespace

CropRect CropRect::clamped() const {
  CropRect c;
  c.x = std::clamp(x, 0.0, 0.98);
  c.y = std::clamp(y, 0.0, 0.98);
  c.width = std::min(std::max(width, 0.02), 1 - c.x);
  c.height = std::min(std::max(height, 0.02), 1 - c.y);
  return c;
}

std::optional<std::string> ScreenshotRef::resolve(const StoreTarget& target, std::string_view locale) const {
  std::optional<std::string> found;
  if (const auto* single = std::get_if<std::string>(&value)) {
    found = *single;
  } else {
    const auto& map = std::get<std::map<std::string, std::string>>(value);
    auto lookup = [&](std::string_view key) -> bool {
      auto it = map.find(std::string(key));
      if (it == map.end()) return false;
      found = it->second;
      return true;
    };
    // A foldable borrows the big iPhones' capture: its inner screen shows the phone layout
    // better than nothing, and a set rarely has foldable captures of its own.
    if (!lookup(target.id) && !lookup(rawValue(target.platform)) && target.family == DeviceFamily::foldable)
      if (!lookup("ios.iphone-6.9")) lookup("ios.iphone-6.5");
  }
  if (found) replaceAll(*found, "{locale}", locale);
  return found;
}

DeviceLook DeviceSlot::look(Platform platform) const {
  DeviceLook own{frame, finish, crop};
  if (!platforms) return own;
  auto it = platforms->find(std::string(rawValue(platform)));
  if (it == platforms->end()) return own;
  const DeviceLook& entry = it->second;
  return DeviceLook{entry.frame ? entry.frame : frame, entry.finish ? entry.finish : finish,
                    entry.crop ? entry.crop : crop};
}

DeviceSlot DeviceSlot::flattened(Platform platform) const {
  DeviceSlot copy = *this;
  DeviceLook chosen = look(platform);
  copy.frame = chosen.frame;
  copy.finish = chosen.finish;
  copy.crop = chosen.crop;
  copy.platforms.reset();
  return copy;
}

ComponentSpec ComponentSpec::starter(Kind kind, const std::string& locale) {
  ComponentSpec spec;
  spec.type = kind;
  switch (kind) {
    case Kind::rating:
      spec.title = textIn(locale, "Loved by our users");
      spec.value = 4.9;
      break;
    case Kind::badge:
      spec.title = textIn(locale, "Works offline");
      spec.symbol = "checkmark.circle.fill";
      break;
    case Kind::award:
      spec.title = textIn(locale, "AWARD WINNER");
      spec.subtitle = textIn(locale, "Name the award");
      break;
    case Kind::review:
      spec.title = textIn(locale, "\u201CFinally an app that keeps up with my day.\u201D");
      spec.subtitle = textIn(locale, "Ana, a happy user");
      spec.value = 5;
      break;
    case Kind::stat:
      spec.title = textIn(locale, "2\u00D7 faster");
      spec.subtitle = textIn(locale, "than doing it by hand");
      break;
    case Kind::checklist:
      spec.items = std::vector<LocalizedText>{textIn(locale, "Plan the day"), textIn(locale, "Send quotes"),
                                              textIn(locale, "Get paid sooner")};
      break;
    case Kind::notification:
      spec.title = textIn(locale, "Job confirmed");
      spec.subtitle = textIn(locale, "Sarah accepted your quote for Thursday.");
      spec.symbol = "bell.fill";
      break;
    case Kind::callout:
      spec.title = textIn(locale, "Drag to reschedule");
      break;
  }
  return spec;
}

std::string_view ComponentSpec::summary(Kind kind) {
  switch (kind) {
    case Kind::rating: return "Stars, score and a line";
    case Kind::badge: return "Icon and a short label";
    case Kind::award: return "Laurels around a title";
    case Kind::review: return "A quote with stars";
    case Kind::stat: return "A big number";
    case Kind::checklist: return "Benefits with checks";
    case Kind::notification: return "A push notification";
    case Kind::callout: return "A label pointing at UI";
  }
  return {};
}

std::string ComponentSpec::kindNames(std::string_view separator) {
  std::string text;
  for (std::string_view name : EnumNames<Kind>::names) {
    if (!text.empty()) text += separator;
    text += name;
  }
  return text;
}

// JSON forms.

CropRect Coding<CropRect>::read(const Reader& r) {
  return CropRect{r.get<double>("x"), r.get<double>("y"), r.get<double>("width"), r.get<double>("height")};
}

Json Coding<CropRect>::write(const CropRect& c) {
  return ObjectWriter().put("x", c.x).put("y", c.y).put("width", c.width).put("height", c.height).done();
}

ScreenshotRef Coding<ScreenshotRef>::read(const Reader& r) {
  if (r.isString()) return ScreenshotRef::path(r.string());
  return ScreenshotRef::byTarget(r.decode<std::map<std::string, std::string>>());
}

Json Coding<ScreenshotRef>::write(const ScreenshotRef& s) {
  if (const auto* single = std::get_if<std::string>(&s.value)) return *single;
  return Coding<std::map<std::string, std::string>>::write(std::get<std::map<std::string, std::string>>(s.value));
}

DeviceLook Coding<DeviceLook>::read(const Reader& r) {
  r.requireObject();
  DeviceLook look;
  look.frame = r.getIfPresent<std::string>("frame");
  look.finish = r.getIfPresent<std::string>("finish");
  look.crop = r.getIfPresent<CropRect>("crop");
  return look;
}

Json Coding<DeviceLook>::write(const DeviceLook& look) {
  return ObjectWriter()
      .putIfPresent("frame", look.frame)
      .putIfPresent("finish", look.finish)
      .putIfPresent("crop", look.crop)
      .done();
}

DeviceSlot Coding<DeviceSlot>::read(const Reader& r) {
  DeviceSlot d;
  d.screenshot = r.get<ScreenshotRef>("screenshot");
  d.frame = r.getIfPresent<std::string>("frame");
  d.finish = r.getIfPresent<std::string>("finish");
  d.width = r.getIfPresent<double>("width");
  d.offsetY = r.getIfPresent<double>("offsetY");
  d.rotation = r.getIfPresent<double>("rotation");
  d.crop = r.getIfPresent<CropRect>("crop");
  d.outline = r.getIfPresent<RGBColor>("outline");
  d.platforms = r.getIfPresent<std::map<std::string, DeviceLook>>("platforms");
  return d;
}

Json Coding<DeviceSlot>::write(const DeviceSlot& d) {
  return ObjectWriter()
      .put("screenshot", d.screenshot)
      .putIfPresent("frame", d.frame)
      .putIfPresent("finish", d.finish)
      .putIfPresent("width", d.width)
      .putIfPresent("offsetY", d.offsetY)
      .putIfPresent("rotation", d.rotation)
      .putIfPresent("crop", d.crop)
      .putIfPresent("outline", d.outline)
      .putIfPresent("platforms", d.platforms)
      .done();
}

ComponentSpec Coding<ComponentSpec>::read(const Reader& r) {
  ComponentSpec c;
  c.type = r.get<ComponentSpec::Kind>("type");
  c.style = r.getIfPresent<ComponentSpec::Style>("style");
  c.title = r.getIfPresent<LocalizedText>("title");
  c.subtitle = r.getIfPresent<LocalizedText>("subtitle");
  c.items = r.getIfPresent<std::vector<LocalizedText>>("items");
  c.value = r.getIfPresent<double>("value");
  c.symbol = r.getIfPresent<std::string>("symbol");
  c.image = r.getIfPresent<std::string>("image");
  return c;
}

Json Coding<ComponentSpec>::write(const ComponentSpec& c) {
  return ObjectWriter()
      .put("type", c.type)
      .putIfPresent("style", c.style)
      .putIfPresent("title", c.title)
      .putIfPresent("subtitle", c.subtitle)
      .putIfPresent("items", c.items)
      .putIfPresent("value", c.value)
      .putIfPresent("symbol", c.symbol)
      .putIfPresent("image", c.image)
      .done();
}

SlideElement Coding<SlideElement>::read(const Reader& r) {
  SlideElement e;
  e.id = r.get<std::string>("id");
  e.kind = r.get<SlideElement::Kind>("kind");
  e.text = r.getIfPresent<LocalizedText>("text");
  e.role = r.getIfPresent<TextRole>("role");
  e.color = r.getIfPresent<RGBColor>("color");
  e.align = r.getIfPresent<TextAlign>("align");
  e.image = r.getIfPresent<std::string>("image");
  e.device = r.getIfPresent<DeviceSlot>("device");
  e.symbol = r.getIfPresent<std::string>("symbol");
  e.shape = r.getIfPresent<ShapeKind>("shape");
  e.component = r.getIfPresent<ComponentSpec>("component");
  e.fill = r.getIfPresent<Fill>("fill");
  e.stroke = r.getIfPresent<RGBColor>("stroke");
  e.strokeWidth = r.getIfPresent<double>("strokeWidth");
  e.cornerRadius = r.getIfPresent<double>("cornerRadius");
  e.aspect = r.getIfPresent<double>("aspect");
  e.opacity = r.getIfPresent<double>("opacity");
  e.shadow = r.getIfPresent<bool>("shadow");
  e.z = r.getIfPresent<double>("z");
  e.platforms = r.getIfPresent<std::vector<Platform>>("platforms");
  e.targets = r.getIfPresent<std::vector<std::string>>("targets");
  e.style = r.getIfPresent<TextStyle>("style");
  e.shadowStyle = r.getIfPresent<ShadowStyle>("shadowStyle");
  e.crop = r.getIfPresent<CropRect>("crop");
  e.mask = r.getIfPresent<ShapeKind>("mask");
  e.blur = r.getIfPresent<double>("blur");
  e.path = r.getIfPresent<std::string>("path");
  e.blend = r.getIfPresent<BlendMode>("blend");
  e.decorative = r.getIfPresent<bool>("decorative");
  return e;
}

Json Coding<SlideElement>::write(const SlideElement& e) {
  return ObjectWriter()
      .put("id", e.id)
      .put("kind", e.kind)
      .putIfPresent("text", e.text)
      .putIfPresent("role", e.role)
      .putIfPresent("color", e.color)
      .putIfPresent("align", e.align)
      .putIfPresent("image", e.image)
      .putIfPresent("device", e.device)
      .putIfPresent("symbol", e.symbol)
      .putIfPresent("shape", e.shape)
      .putIfPresent("component", e.component)
      .putIfPresent("fill", e.fill)
      .putIfPresent("stroke", e.stroke)
      .putIfPresent("strokeWidth", e.strokeWidth)
      .putIfPresent("cornerRadius", e.cornerRadius)
      .putIfPresent("aspect", e.aspect)
      .putIfPresent("opacity", e.opacity)
      .putIfPresent("shadow", e.shadow)
      .putIfPresent("z", e.z)
      .putIfPresent("platforms", e.platforms)
      .putIfPresent("targets", e.targets)
      .putIfPresent("style", e.style)
      .putIfPresent("shadowStyle", e.shadowStyle)
      .putIfPresent("crop", e.crop)
      .putIfPresent("mask", e.mask)
      .putIfPresent("blur", e.blur)
      .putIfPresent("path", e.path)
      .putIfPresent("blend", e.blend)
      .putIfPresent("decorative", e.decorative)
      .done();
}

}  // namespace vorno
