#include "tests/random_project.h"

#include "kit/model/store_target.h"

#include <algorithm>
#include <array>
#include <set>
#include <string>
#include <vector>

namespace vorno {
namespace {

constexpr std::array<const char*, 5> localePool{"en-US", "de-DE", "fr-FR", "ja-JP", "es-ES"};
constexpr std::array<const char*, 16> wordPool{"plan",  "your", "week", "faster", "**every**", "quote",  "sent",  "paid",
                                               "sooner", "jobs", "in",   "one",    "place",     "always", "ready", "\n"};

class Dice {
 public:
  explicit Dice(std::mt19937& rng) : rng_(rng) {}

  int between(int low, int high) { return std::uniform_int_distribution<int>(low, high)(rng_); }
  bool chance(double p) { return std::uniform_real_distribution<double>(0, 1)(rng_) < p; }
  /// A multiple of `step` from `low` to `high`: exact and readable in a failing test.
  double number(double low, double high, double step = 0.05) {
    int steps = static_cast<int>((high - low) / step + 0.5);
    return low + step * between(0, steps);
  }
  template <class T>
  const T& pick(const std::vector<T>& items) {
    return items[static_cast<size_t>(between(0, static_cast<int>(items.size()) - 1))];
  }
  template <class E, size_t N>
  E oneOf(const std::array<E, N>& items) {
    return items[static_cast<size_t>(between(0, static_cast<int>(N) - 1))];
  }
  template <class E>
  E enumCase(int count) {
    return static_cast<E>(between(0, count - 1));
  }

  /// An id not yet in `taken`, which it joins.
  std::string freshID(const char* prefix, std::set<std::string>& taken) {
    while (true) {
      std::string id = std::string(prefix) + std::to_string(between(0, 999));
      if (taken.insert(id).second) return id;
    }
  }

  std::mt19937& rng() { return rng_; }

 private:
  std::mt19937& rng_;
};

RGBColor color(Dice& d) {
  auto channel = [&] { return d.between(0, 255) / 255.0; };
  RGBColor c{channel(), channel(), channel(), 1};
  if (d.chance(0.2)) c.a = d.between(0, 254) / 255.0;
  return c;
}

std::vector<RGBColor> colors(Dice& d) {
  std::vector<RGBColor> out;
  for (int i = d.between(2, 4); i > 0; --i) out.push_back(color(d));
  return out;
}

Fill fill(Dice& d) {
  switch (d.between(0, 3)) {
    case 0: return Fill::solid(color(d));
    case 1: return Fill{LinearFill{colors(d), d.number(0, 360, 15)}};
    case 2: return Fill{RadialFill{colors(d), d.number(0, 1), d.number(0, 1), d.number(0.05, 1.5)}};
    default:
      return Fill{ImageFill{"assets/bg" + std::to_string(d.between(1, 4)) + ".png",
                            d.chance(0.5) ? ImageFill::Fit::cover : ImageFill::Fit::contain, d.number(0, 1),
                            d.number(0, 1)}};
  }
}

std::string words(Dice& d) {
  std::string text;
  for (int i = d.between(1, 6); i > 0; --i) {
    if (!text.empty()) text += ' ';
    text += d.oneOf(wordPool);
  }
  return text;
}

LocalizedText text(Dice& d, const std::vector<std::string>& locales) {
  LocalizedText out;
  for (const std::string& locale : locales)
    if (out.values.empty() || d.chance(0.6)) out.values[locale] = words(d);
  return out;
}

TextStyle textStyle(Dice& d) {
  TextStyle s;
  if (d.chance(0.3)) s.fontFamily = d.chance(0.5) ? "Inter" : "fonts/Brand.ttf";
  if (d.chance(0.3)) s.weight = d.enumCase<FontWeight>(6);
  if (d.chance(0.3)) s.scale = d.number(0.5, 2);
  if (d.chance(0.2)) s.tracking = d.number(-0.1, 0.1, 0.01);
  if (d.chance(0.2)) s.lineHeight = d.number(0.8, 1.5);
  if (d.chance(0.2)) s.uppercase = d.chance(0.5);
  if (d.chance(0.2)) s.italic = d.chance(0.5);
  if (d.chance(0.2)) s.color = color(d);
  if (d.chance(0.2)) s.align = d.enumCase<TextAlign>(3);
  if (d.chance(0.1)) s.slant = d.number(-0.3, 0.3);
  if (d.chance(0.2)) s.emphasisStyle = d.enumCase<EmphasisStyle>(4);
  if (d.chance(0.15)) {
    MarkStyle m;
    if (d.chance(0.5)) m.color = color(d);
    if (d.chance(0.5)) m.padding = d.number(0, 0.3);
    if (d.chance(0.3)) m.tilt = d.number(-10, 10, 1);
    s.mark = m;
  }
  if (d.chance(0.15)) {
    TextEffect e;
    e.outline = color(d);
    if (d.chance(0.5)) e.outlineWidth = d.number(0, 0.1, 0.01);
    s.effect = e;
  }
  if (d.chance(0.1)) s.fill = fill(d);
  return s;
}

CropRect crop(Dice& d) { return {d.number(0, 0.5), d.number(0, 0.5), d.number(0.1, 0.5), d.number(0.1, 0.5)}; }

DeviceSlot deviceSlot(Dice& d) {
  DeviceSlot slot;
  if (d.chance(0.7)) {
    slot.screenshot = ScreenshotRef::path("captures/{locale}/screen" + std::to_string(d.between(1, 5)) + ".png");
  } else {
    slot.screenshot = ScreenshotRef::byTarget(
        {{"ios", "captures/ios-" + std::to_string(d.between(1, 5)) + ".png"},
         {"android", "captures/android-" + std::to_string(d.between(1, 5)) + ".png"}});
  }
  if (d.chance(0.3)) slot.frame = d.chance(0.5) ? "none" : "iphone-16-pro";
  if (d.chance(0.2)) slot.finish = "black-titanium";
  if (d.chance(0.4)) slot.width = d.number(0.4, 1);
  if (d.chance(0.3)) slot.offsetY = d.number(-0.2, 0.2);
  if (d.chance(0.2)) slot.rotation = d.number(-15, 15, 1);
  if (d.chance(0.2)) slot.crop = crop(d);
  if (d.chance(0.1)) slot.outline = color(d);
  if (d.chance(0.15)) slot.platforms = std::map<std::string, DeviceLook>{{"android", DeviceLook{"pixel-9", {}, {}}}};
  return slot;
}

SlideElement element(Dice& d, const std::string& id, const std::vector<std::string>& locales) {
  SlideElement e;
  e.id = id;
  e.kind = d.enumCase<SlideElement::Kind>(6);
  switch (e.kind) {
    case SlideElement::Kind::text:
      e.text = text(d, locales);
      if (d.chance(0.5)) e.role = d.enumCase<TextRole>(4);
      if (d.chance(0.3)) e.align = d.enumCase<TextAlign>(3);
      if (d.chance(0.3)) e.style = textStyle(d);
      if (d.chance(0.2)) e.fill = fill(d);
      if (d.chance(0.1)) e.decorative = true;
      break;
    case SlideElement::Kind::image:
      e.image = "assets/photo" + std::to_string(d.between(1, 9)) + ".jpg";
      if (d.chance(0.3)) e.crop = crop(d);
      if (d.chance(0.3)) e.mask = d.enumCase<ShapeKind>(5);
      if (d.chance(0.2)) e.cornerRadius = d.number(0, 0.2);
      break;
    case SlideElement::Kind::device: e.device = deviceSlot(d); break;
    case SlideElement::Kind::symbol:
      e.symbol = d.chance(0.5) ? "star.fill" : "checkmark.circle";
      if (d.chance(0.5)) e.color = color(d);
      break;
    case SlideElement::Kind::shape:
      e.shape = d.enumCase<ShapeKind>(6);
      if (e.shape == ShapeKind::path) e.path = "M0 0 L1 0 L1 1 Z";
      e.fill = fill(d);
      if (d.chance(0.3)) e.stroke = color(d);
      if (d.chance(0.3)) e.strokeWidth = d.number(0, 0.05, 0.01);
      if (d.chance(0.3)) e.aspect = d.number(0.5, 2);
      if (d.chance(0.2)) e.blur = d.number(0, 0.2, 0.01);
      break;
    case SlideElement::Kind::component: {
      ComponentSpec c = ComponentSpec::starter(d.enumCase<ComponentSpec::Kind>(8), locales.front());
      if (d.chance(0.4)) c.title = text(d, locales);
      if (d.chance(0.3)) c.subtitle = text(d, locales);
      if (d.chance(0.3)) c.style = d.enumCase<ComponentSpec::Style>(4);
      e.component = c;
      break;
    }
  }
  if (d.chance(0.3)) e.opacity = d.number(0, 1);
  if (d.chance(0.2)) e.shadow = d.chance(0.5);
  if (d.chance(0.3)) e.z = d.number(-1, 3, 0.5);
  if (d.chance(0.1)) e.platforms = std::vector<Platform>{d.enumCase<Platform>(2)};
  if (d.chance(0.1)) e.targets = std::vector<std::string>{StoreTarget::all().front().id};
  if (d.chance(0.1)) e.shadowStyle = ShadowStyle{color(d), d.number(0, 1), d.number(0, 0.1, 0.01), {}, {}};
  if (d.chance(0.1)) e.blend = d.enumCase<BlendMode>(12);
  return e;
}

std::vector<SlideElement> elements(Dice& d, int maxCount, const std::vector<std::string>& locales) {
  std::vector<SlideElement> out;
  std::set<std::string> taken;
  for (int i = d.between(0, maxCount); i > 0; --i) out.push_back(element(d, d.freshID("e", taken), locales));
  return out;
}

Placement placement(Dice& d) {
  Placement p{d.number(0, 1), d.number(0, 1), d.number(0.1, 1), {}, {}, {}};
  if (d.chance(0.3)) p.height = d.number(0.1, 1);
  if (d.chance(0.3)) p.fontScale = d.number(0.5, 1.5);
  if (d.chance(0.2)) p.rotation = d.number(-20, 20, 1);
  return p;
}

std::map<std::string, SlideOverride> overrides(Dice& d, const std::vector<SlideElement>& elements) {
  std::map<std::string, SlideOverride> out;
  for (int i = d.between(0, 2); i > 0; --i) {
    SlideOverride o;
    if (d.chance(0.3)) o.archetype = d.enumCase<Archetype>(3);
    if (d.chance(0.3)) o.deviceWidth = d.number(0.4, 1);
    if (d.chance(0.2)) o.deviceOffsetY = d.number(-0.2, 0.2);
    if (d.chance(0.2)) o.headlineScale = d.number(0.5, 1.5);
    if (d.chance(0.6)) {
      std::map<std::string, Placement> placements;
      placements["headline"] = placement(d);
      if (!elements.empty() && d.chance(0.5)) placements[d.pick(elements).id] = placement(d);
      o.placements = placements;
    }
    out[d.pick(StoreTarget::all()).id] = o;
  }
  return out;
}

Slide slide(Dice& d, const std::string& id, const std::vector<std::string>& locales, int maxElements,
            bool forCreative) {
  Slide s;
  s.id = id;
  s.archetype = d.enumCase<Archetype>(3);
  if (d.chance(0.4)) s.eyebrow = text(d, locales);
  if (!forCreative || d.chance(0.7)) s.headline = text(d, locales);
  if (d.chance(0.4)) s.subhead = text(d, locales);
  if (d.chance(0.6)) s.device = deviceSlot(d);
  s.inverted = d.chance(0.3);
  if (d.chance(0.3)) s.background = fill(d);
  s.elements = elements(d, maxElements, locales);
  if (d.chance(0.3)) s.overrides = overrides(d, s.elements);
  if (d.chance(0.2)) s.textColors["headline"] = color(d);
  if (d.chance(0.2)) s.emphasisStyle = d.enumCase<EmphasisStyle>(4);
  if (d.chance(0.2)) s.textStyles["subhead"] = textStyle(d);
  if (d.chance(0.2)) s.accent = color(d);
  return s;
}

Motion motion(Dice& d, const Slide& slide) {
  Motion m;
  if (d.chance(0.5)) m.duration = d.number(5, 30, 0.5);
  if (d.chance(0.3)) m.fps = d.chance(0.5) ? 30 : 60;
  if (d.chance(0.3)) m.poster = d.number(0, 5, 0.5);
  std::vector<std::string> ids;
  for (const SlideElement& e : slide.elements) ids.push_back(e.id);
  if (d.chance(0.6)) {
    std::vector<MotionScene> scenes;
    for (int i = d.between(1, 3); i > 0; --i) {
      MotionScene scene;
      scene.duration = d.number(1, 6, 0.5);
      if (!ids.empty() && d.chance(0.6)) scene.show = std::vector<std::string>{d.pick(ids)};
      if (!ids.empty() && d.chance(0.3))
        scene.texts = std::map<std::string, LocalizedText>{{d.pick(ids), LocalizedText{{{"en-US", "Scene"}}}}};
      scenes.push_back(scene);
    }
    m.scenes = scenes;
  }
  if (d.chance(0.4)) {
    MotionTransition t;
    t.style = d.enumCase<TransitionStyle>(6);
    if (d.chance(0.5)) t.duration = d.number(0.2, 1);
    if (!ids.empty() && d.chance(0.4)) t.elements = std::map<std::string, TransitionStyle>{{d.pick(ids), TransitionStyle::fade}};
    m.transition = t;
  }
  if (d.chance(0.5)) {
    std::vector<Keyframe> track;
    for (int i = d.between(1, 3); i > 0; --i) {
      Keyframe k;
      k.t = d.number(0, 10, 0.5);
      if (d.chance(0.5)) k.x = d.number(0, 1);
      if (d.chance(0.5)) k.scale = d.number(0.5, 1.5);
      if (d.chance(0.3)) k.ease = d.enumCase<Ease>(5);
      track.push_back(k);
    }
    std::string id = ids.empty() || d.chance(0.3) ? std::string(Motion::camera) : d.pick(ids);
    m.tracks = std::map<std::string, std::vector<Keyframe>>{{id, track}};
  }
  if (d.chance(0.3)) {
    Wave w{d.enumCase<MotionProperty>(5), d.number(0, 0.1, 0.01), {}, {}};
    if (d.chance(0.5)) w.cycles = d.between(1, 4);
    if (d.chance(0.3)) w.phase = d.number(0, 1, 0.25);
    m.waves = std::map<std::string, std::vector<Wave>>{{std::string(Motion::camera), {w}}};
  }
  return m;
}

Creative creative(Dice& d, const std::string& id, const std::vector<std::string>& locales, int maxElements) {
  Creative c;
  c.canvas = d.pick(StoreTarget::canvases()).id;
  c.slide = slide(d, id, locales, maxElements, true);
  if (d.chance(0.5)) c.motion = motion(d, c.slide);
  return c;
}

Spread spread(Dice& d, const std::string& id, std::vector<std::string> members, const std::vector<std::string>& locales,
              int maxElements) {
  Spread s;
  s.id = id;
  s.slides = std::move(members);
  if (d.chance(0.5)) s.background = fill(d);
  s.elements = elements(d, maxElements, locales);
  if (d.chance(0.3)) s.overrides = overrides(d, s.elements);
  return s;
}

Theme theme(Dice& d) {
  Theme t = Theme::vorno();
  if (d.chance(0.5)) t.background = fill(d);
  if (d.chance(0.3)) t.invertedBackground = fill(d);
  if (d.chance(0.5)) t.accent = color(d);
  if (d.chance(0.3)) t.foreground = color(d);
  if (d.chance(0.3)) t.fontFamily = "Inter";
  if (d.chance(0.3)) t.headlineWeight = d.enumCase<FontWeight>(6);
  if (d.chance(0.2)) t.emphasisStyle = d.enumCase<EmphasisStyle>(4);
  if (d.chance(0.2)) t.textStyles = std::map<std::string, TextStyle>{};
  if (d.chance(0.2)) t.textStyles = std::map<std::string, TextStyle>{{"headline", textStyle(d)}};
  return t;
}

std::set<std::string> idsOf(const Project& p) {
  std::set<std::string> taken;
  for (const Slide& s : p.slides) taken.insert(s.id);
  for (const Creative& c : p.creatives) taken.insert(c.id());
  for (const Spread& s : p.spreads) taken.insert(s.id);
  return taken;
}

// Spreads over runs of two or three adjacent slides that no spread holds yet.
void addSpreads(Dice& d, Project& p, int count, std::set<std::string>& taken, int maxElements) {
  std::set<std::string> inSpread;
  for (const Spread& s : p.spreads) inSpread.insert(s.slides.begin(), s.slides.end());
  for (int attempt = 0; attempt < count * 3 && count > 0 && p.slides.size() >= 2; ++attempt) {
    size_t length = d.chance(0.7) ? 2 : 3;
    if (length > p.slides.size()) length = 2;
    size_t start = static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size() - length)));
    std::vector<std::string> members;
    for (size_t i = start; i < start + length; ++i) members.push_back(p.slides[i].id);
    if (std::any_of(members.begin(), members.end(), [&](const std::string& id) { return inSpread.count(id) > 0; }))
      continue;
    inSpread.insert(members.begin(), members.end());
    p.spreads.push_back(spread(d, d.freshID("sp", taken), members, p.locales, maxElements));
    --count;
  }
}

void editText(Dice& d, std::optional<LocalizedText>& text, const std::vector<std::string>& locales) {
  if (!text) {
    text = vorno::text(d, locales);
  } else if (d.chance(0.3)) {
    text.reset();
  } else {
    text->values[d.pick(locales)] = words(d);
  }
}

void editElements(Dice& d, std::vector<SlideElement>& list, const std::vector<std::string>& locales) {
  std::set<std::string> taken;
  for (const SlideElement& e : list) taken.insert(e.id);
  switch (d.between(0, 4)) {
    case 0:
      if (!list.empty()) list.erase(list.begin() + d.between(0, static_cast<int>(list.size()) - 1));
      break;
    case 1: {
      // Appended most of the time, as a keyed patch can say; sometimes inserted, which it can't.
      SlideElement e = element(d, d.freshID("e", taken), locales);
      if (d.chance(0.7)) list.push_back(e);
      else list.insert(list.begin() + d.between(0, static_cast<int>(list.size())), e);
      break;
    }
    case 2:
      if (list.size() >= 2) std::swap(list[0], list[list.size() - 1]);
      break;
    default:
      if (!list.empty()) {
        SlideElement& e = list[static_cast<size_t>(d.between(0, static_cast<int>(list.size()) - 1))];
        if (e.kind == SlideElement::Kind::text) editText(d, e.text, locales);
        if (e.kind == SlideElement::Kind::component && e.component) editText(d, e.component->title, locales);
        if (d.chance(0.5)) e.opacity = d.chance(0.3) ? std::nullopt : std::optional<double>(d.number(0, 1));
        if (d.chance(0.3)) e.z = d.number(-1, 3, 0.5);
      }
      break;
  }
}

}  // namespace

Project randomProject(std::mt19937& rng, const RandomProjectOptions& options) {
  Dice d(rng);
  Project p;
  p.appName = d.chance(0.5) ? "Crew" : "Quote Pad";
  std::vector<std::string> pool(localePool.begin(), localePool.end());
  std::shuffle(pool.begin(), pool.end(), rng);
  p.locales.assign(pool.begin(), pool.begin() + d.between(1, 3));
  for (int i = d.between(1, 3); i > 0; --i) {
    std::string id = d.pick(StoreTarget::all()).id;
    if (std::find(p.targets.begin(), p.targets.end(), id) == p.targets.end()) p.targets.push_back(id);
  }
  p.theme = theme(d);

  std::set<std::string> taken;
  for (int i = d.between(0, options.maxSlides); i > 0; --i)
    p.slides.push_back(slide(d, d.freshID("s", taken), p.locales, options.maxElements, false));
  for (int i = d.between(0, options.maxCreatives); i > 0; --i)
    p.creatives.push_back(creative(d, d.freshID("c", taken), p.locales, options.maxElements));
  addSpreads(d, p, d.between(0, 2), taken, options.maxElements);

  for (int i = d.between(0, options.maxVariants); i > 0; --i) {
    std::string id = "look-" + std::to_string(i);
    Variant v{id, d.chance(0.5) ? std::optional<std::string>("Look " + std::to_string(i)) : std::nullopt,
              p.patchFrom(randomEdit(p, rng))};
    p.variants.push_back(std::move(v));
  }
  return p;
}

Project randomEdit(const Project& project, std::mt19937& rng) {
  Dice d(rng);
  Project p = project;
  std::set<std::string> taken = idsOf(p);
  std::vector<std::string> locales = p.locales.empty() ? std::vector<std::string>{"en-US"} : p.locales;

  for (int edits = d.between(1, 5); edits > 0; --edits) {
    switch (d.between(0, 11)) {
      case 0: p.theme.accent = color(d); break;
      case 1: p.theme = theme(d); break;
      case 2:
        if (!p.slides.empty()) p.slides.erase(p.slides.begin() + d.between(0, static_cast<int>(p.slides.size()) - 1));
        break;
      case 3: {
        Slide s = slide(d, d.freshID("s", taken), locales, 3, false);
        if (d.chance(0.7)) p.slides.push_back(s);
        else p.slides.insert(p.slides.begin() + d.between(0, static_cast<int>(p.slides.size())), s);
        break;
      }
      case 4:
        if (p.slides.size() >= 2) {
          size_t a = static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size()) - 1));
          size_t b = static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size()) - 1));
          std::swap(p.slides[a], p.slides[b]);
        }
        break;
      case 5:
      case 6:
        if (!p.slides.empty()) {
          Slide& s = p.slides[static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size()) - 1))];
          switch (d.between(0, 5)) {
            case 0: s.headline = text(d, locales); break;
            case 1: editText(d, s.eyebrow, locales); break;
            case 2: editText(d, s.subhead, locales); break;
            case 3: s.inverted = !s.inverted; break;
            case 4: s.device = d.chance(0.2) ? std::nullopt : std::optional<DeviceSlot>(deviceSlot(d)); break;
            default: s.overrides = overrides(d, s.elements); break;
          }
        }
        break;
      case 7:
        if (!p.slides.empty())
          editElements(d, p.slides[static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size()) - 1))].elements,
                       locales);
        break;
      case 8:
        if (!p.spreads.empty() && d.chance(0.4)) {
          p.spreads.erase(p.spreads.begin() + d.between(0, static_cast<int>(p.spreads.size()) - 1));
        } else if (!p.spreads.empty() && d.chance(0.5)) {
          Spread& s = p.spreads[static_cast<size_t>(d.between(0, static_cast<int>(p.spreads.size()) - 1))];
          editElements(d, s.elements, locales);
          if (d.chance(0.3)) s.background = fill(d);
        } else {
          addSpreads(d, p, 1, taken, 2);
        }
        break;
      case 9:
        if (!p.creatives.empty() && d.chance(0.3)) {
          p.creatives.erase(p.creatives.begin() + d.between(0, static_cast<int>(p.creatives.size()) - 1));
        } else if (!p.creatives.empty() && d.chance(0.6)) {
          Creative& c = p.creatives[static_cast<size_t>(d.between(0, static_cast<int>(p.creatives.size()) - 1))];
          if (d.chance(0.5)) c.motion = d.chance(0.3) ? std::nullopt : std::optional<Motion>(motion(d, c.slide));
          else editElements(d, c.slide.elements, locales);
        } else {
          p.creatives.push_back(creative(d, d.freshID("c", taken), locales, 2));
        }
        break;
      case 10:
        if (d.chance(0.5)) p.appName = d.chance(0.5) ? "Crew Pro" : "Quote Pad";
        else p.targets = {d.pick(StoreTarget::all()).id};
        break;
      default: {
        // A translation of one text into a locale of the project.
        if (!p.slides.empty()) {
          Slide& s = p.slides[static_cast<size_t>(d.between(0, static_cast<int>(p.slides.size()) - 1))];
          s.headline.values[d.pick(locales)] = words(d);
        }
        break;
      }
    }
  }
  // Slides that went or moved take their spreads with them, as every editing tool does.
  p.repairSpreads();
  return p;
}

nlohmann::json randomBreak(const nlohmann::json& patch, std::mt19937& rng) {
  Dice d(rng);
  nlohmann::json result = patch.is_object() ? patch : nlohmann::json::object();
  // Values that break a field of one kind and fit one of another: every reader is tried with
  // something it refuses and something it takes.
  const std::vector<nlohmann::json> replacements{
      nullptr,
      5,
      "text",
      true,
      nlohmann::json::array(),
      nlohmann::json::object(),
      {{"headline", "Hi"}},
      {{"canvas", "ios.header"}},
      {{"slides", {"a", "b"}}},
      {{"id", "s1"}, {"headline", "Twin"}},
      nlohmann::json::array({{{"id", "x"}, {"headline", "A"}}, {{"id", "x"}, {"headline", "B"}}}),
      {{"accent", "#GG0000"}},
      {{"kind", "text"}, {"text", 7}},
  };
  // Walk down a random path of the patch, or of the top level when it is empty, and replace or
  // add one member there.
  nlohmann::json* node = &result;
  while (d.chance(0.6)) {
    std::vector<nlohmann::json*> children;
    if (node->is_object())
      for (auto& [key, value] : node->items())
        if (value.is_object() || value.is_array()) children.push_back(&value);
    if (node->is_array())
      for (auto& value : *node)
        if (value.is_object() || value.is_array()) children.push_back(&value);
    if (children.empty()) break;
    node = d.pick(children);
  }
  const nlohmann::json& replacement = d.pick(replacements);
  if (node->is_array()) {
    if (node->empty() || d.chance(0.3)) node->push_back(replacement);
    else (*node)[static_cast<size_t>(d.between(0, static_cast<int>(node->size()) - 1))] = replacement;
    return result;
  }
  std::vector<std::string> keys;
  for (auto& [key, value] : node->items()) keys.push_back(key);
  static const std::vector<std::string> topLevel{"appName", "schemaVersion", "locales", "targets", "theme",
                                                 "slides",  "spreads",       "creatives", "variants", "s1",
                                                 "headline", "elements"};
  std::string key = keys.empty() || d.chance(0.4) ? d.pick(topLevel) : d.pick(keys);
  (*node)[key] = replacement;
  return result;
}

}  // namespace vorno
