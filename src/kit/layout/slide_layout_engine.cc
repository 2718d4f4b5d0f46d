// How a slide is laid out.
//
// Three automatic texts (eyebrow, headline, subhead) form a stack in a text column; each is
// fitted into its height limit, shrinking by 5% steps. A hero puts the stack at the top and the
// device under it, bleeding off the bottom; device-top mirrors that; text-only centres the stack.
// Wide canvases (targets with a safe area: tablets' creative art) put the text beside the device
// instead, and shrink the stack until it fits the column. Hand-placed texts skip all of this and
// keep their size. Free elements follow, above the device and texts.
#include "kit/layout/slide_layout_engine.h"
#include "kit/layout/device_fit.h"
#include "kit/layout/placement_checks.h"
#include "kit/layout/text_checks.h"

#include "kit/devices/device_renderer.h"
#include "kit/image/codecs.h"
#include "kit/model/text_markup.h"
#include "kit/text/text_layout.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <limits>

namespace vorno {

namespace {

namespace fs = std::filesystem;

struct AutoText {
  std::string id;
  std::string label;
  TextSpec spec;
  Size size;
  TextRole role;
  double roleSize = 0;  ///< the role's size before caps, for the placement's fontScale
  int writtenLines = 1;
};

int writtenLineCount(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
}

std::string fileName(const std::string& path) { return fs::path(path).filename().string(); }

}  // namespace

ComposedSlide SlideLayoutEngine::layout(const Project& project, const std::string& root, const Slide& slide,
                                        const StoreTarget& target, const std::string& locale) const {
  // The package's own fonts first, so families resolve to them. A missing folder is no failure.
  std::error_code noFonts;
  if (fs::is_directory(fs::path(root) / "fonts", noFonts)) FontRegistry::registerFonts(root);

  if (!target.isCreative()) {
    if (const Spread* spread = project.spreadContaining(slide.id)) {
      std::vector<const Slide*> members;
      bool complete = true;
      for (const auto& id : spread->slides) {
        const Slide* member = project.slide(id);
        if (!member) complete = false;
        members.push_back(member);
      }
      if (complete && members.size() >= 2)
        return layoutSpread(*spread, members, slide, project, root, target, locale);
    }
  }

  SlideResult result = layoutSlide(slide, project, root, target, locale);
  IssueSink sink(slide.id, target.id, locale);
  Rect canvas{0, 0, static_cast<double>(target.width), static_cast<double>(target.height)};
  std::string where = target.isCreative() ? "canvas" : "slide";
  for (const auto& e : result.elements) {
    if (e.kind != ElementLayout::Kind::text || e.decorative) continue;
    if (!canvas.contains(e.inkBounds()))
      sink.warning("text.offcanvas", e.label + " runs past the edge of the " + where + ".", e.uid());
  }

  ComposedSlide composed;
  composed.slideID = slide.id;
  composed.target = target;
  composed.locale = locale;
  composed.slideIDs = {slide.id};
  composed.sliceBackgrounds = {result.background};
  composed.issues = std::move(result.issues);
  for (auto& issue : sink.take()) composed.issues.push_back(std::move(issue));
  if (target.safeArea) {
    for (auto& issue : safeAreaIssues(result.elements, *target.safeArea, target, slide.id, locale))
      composed.issues.push_back(std::move(issue));
  }
  composed.elements = sorted(std::move(result.elements));
  composed.frameID = result.frameID;
  composed.headlineFontSize = result.headlineFontSize;
  placementChecks(composed, {&slide}, nullptr);
  return composed;
}

SlideLayoutEngine::SlideResult SlideLayoutEngine::layoutSlide(const Slide& slide, const Project& project,
                                                              const std::string& root, const StoreTarget& target,
                                                              const std::string& locale,
                                                              const std::optional<Board>& board) const {
  const double W = target.width, H = target.height;
  IssueSink sink(slide.id, target.id, locale);
  SlideResult result;
  const ElementOwner owner = ElementOwner::slide(slide.id);

  // 1. The slide's archetype and scale on this target, and its own accent.
  const SlideOverride* override = nullptr;
  if (auto it = slide.overrides.find(target.id); it != slide.overrides.end()) override = &it->second;
  const Archetype archetype = override && override->archetype ? *override->archetype : slide.archetype;
  const double scale = override && override->headlineScale ? *override->headlineScale : 1.0;
  Theme theme = project.theme;
  if (slide.accent) theme.accent = *slide.accent;

  // 2. Background.
  Fill background = slide.background ? *slide.background
                                     : (slide.inverted ? theme.invertedBackground : theme.background);
  if (background.image()) {
    background = background.resolved(root);
    const std::string& path = background.image()->path;
    if (!fileExists(path)) {
      sink.error("background.missing", "Background image not found: " + fileName(path));
    } else if (!codecs::isRegularFile(path)) {
      // A named pipe or a device is there but is no picture: reading it could wait forever.
      sink.error("background.missing", "Background image " + fileName(path) + " isn't a file that can be read.");
    }
  }
  result.background = background;

  // 3. Style context.
  StyleContext ctx;
  ctx.theme = theme;
  ctx.fg = theme.foreground;
  ctx.muted = theme.muted;
  if (slide.inverted) {
    ctx.fg = theme.invertedForeground;
    ctx.muted = theme.invertedForeground;
    ctx.muted.a = 0.72;
  }
  ctx.unit = target.textUnit();
  ctx.minText = target.minReadableText.value_or(0);
  ctx.headlineScale = archetype == Archetype::textOnly ? scale * 1.45 : scale;
  ctx.slideEmphasis = slide.emphasisStyle;
  ctx.root = root;
  ctx.language = locale;

  // 4. Device.
  std::optional<DeviceSlot> slot;
  std::optional<ResolvedDevice> device;
  if (archetype != Archetype::textOnly && slide.device) {
    slot = slide.device->flattened(target.platform);
    device = resolveDevice(*slot, root, target, locale, sink);
    if (device) result.frameID = device->frame.id;
  }
  std::optional<DeviceRenderer> renderer;
  if (device) renderer.emplace(device->frame, Finish::named(device->finish));
  const bool turned = device && device->frame.turn.has_value();

  const double offset = override && override->deviceOffsetY ? *override->deviceOffsetY
                                                           : (slot && slot->offsetY ? *slot->offsetY : 0.0);
  const std::optional<double> widthFraction =
      override && override->deviceWidth ? override->deviceWidth : (slot ? slot->width : std::nullopt);
  const auto devicePlacement = Placement::effective("device", target, slide.overrides);
  const double slotRotation = slot && slot->rotation ? *slot->rotation : 0.0;

  // 5. Text column; on a wide canvas the device's place decides it, so the device is sized first.
  Rect column{0.075 * W, 0, 0.85 * W, H};
  Rect body;
  double deviceRotation = slotRotation;
  bool deviceManual = false;
  const bool wide = target.safeArea.has_value();
  // A hand placement sets the body's width and centre; its height follows the body's aspect.
  auto placeDeviceByHand = [&](double aspect) {
    const Placement& p = devicePlacement->first;
    double bw = p.width * W, bh = bw / aspect;
    body = {p.x * W - bw * 0.5, p.y * H - bh * 0.5, bw, bh};
    deviceRotation = p.rotation.value_or(slotRotation);
    deviceManual = true;
  };
  if (wide) {
    const Rect safe = *target.safeArea;
    if (renderer) {
      const double aspect = renderer->bodyAspect();
      if (devicePlacement) {
        placeDeviceByHand(aspect);
      } else {
        double bh;
        if (!widthFraction) {
          bh = device->frame.family == DeviceFamily::phone ? 0.84 * H : 0.78 * H;
          if (turned) bh = std::min(bh, safe.width * 0.6 / aspect);
        } else {
          bh = *widthFraction * W / aspect;
        }
        double bw = bh * aspect;
        double cx = archetype == Archetype::deviceTop ? safe.maxX() - safe.width * 0.58 - bw * 0.5
                                                      : safe.minX() + safe.width * 0.58 + bw * 0.5;
        body = {cx - bw * 0.5, H * 0.5 + offset * H - bh * 0.5, bw, bh};
      }
    }
    column = safe.insetBy(safe.width * 0.035, 0);
    if (renderer) {
      if (archetype == Archetype::deviceTop) {
        double left = std::max(column.minX(), body.maxX() + column.width * 0.045);
        left = std::min(left, column.maxX() - column.width * 0.36);
        column = {left, column.y, column.maxX() - left, column.height};
      } else {
        double right = std::min(column.maxX(), body.minX() - column.width * 0.045);
        right = std::max(right, column.minX() + column.width * 0.36);
        column = {column.minX(), column.y, right - column.minX(), column.height};
      }
    }
  }

  // 6. Texts that exist in other locales but not this one.
  struct Named {
    const char* id;
    const char* label;
    TextRole role;
    const LocalizedText* text;
  };
  const LocalizedText* eyebrow = slide.eyebrow ? &*slide.eyebrow : nullptr;
  const LocalizedText* subhead = slide.subhead ? &*slide.subhead : nullptr;
  for (auto [label, text] : {std::pair<const char*, const LocalizedText*>{"Headline", &slide.headline},
                             {"Eyebrow", eyebrow},
                             {"Subhead", subhead}}) {
    if (text && !text->isEmpty() && !text->has(locale))
      sink.warning("text.missing-locale", std::string(label) + " has no " + locale + " text; using a fallback.");
  }

  // 7. Height limits, in stacking order.
  const bool besideDevice = wide && renderer.has_value();
  const Named texts[3] = {{"eyebrow", "Eyebrow", TextRole::eyebrow, eyebrow},
                          {"headline", "Headline", TextRole::headline, &slide.headline},
                          {"subhead", "Subhead", TextRole::subhead, subhead}};
  auto heightLimit = [&](TextRole role) {
    switch (role) {
      case TextRole::eyebrow:
        return ctx.unit * 0.1;
      case TextRole::headline:
        if (wide) return (besideDevice ? 0.62 : 0.7) * column.height;
        return archetype == Archetype::textOnly ? 0.5 * H : 0.17 * H;
      default:
        return wide ? 0.34 * column.height : 0.08 * H;
    }
  };

  // 8. An empty headline, on screenshots only.
  std::string headlineText = slide.headline.resolve(locale).value_or("");
  if (!target.isCreative() && headlineText.empty()) sink.warning("text.empty", "Headline is empty.");

  // 9. Each text: into the automatic stack, or placed by hand.
  std::vector<AutoText> stack;
  const TextAlign align = besideDevice ? TextAlign::left : TextAlign::center;
  for (const Named& named : texts) {
    if (!named.text) continue;
    std::string text = named.text->resolve(locale).value_or("");
    if (text.empty()) continue;
    std::optional<RGBColor> color;
    if (auto it = slide.textColors.find(named.id); it != slide.textColors.end()) color = it->second;
    std::optional<TextStyle> style;
    if (auto it = slide.textStyles.find(named.id); it != slide.textStyles.end()) style = it->second;
    TextSpec spec = ctx.spec(named.role, text, color, align, style);
    const double roleSize = spec.size;
    if (auto it = slide.textSizeCaps.find(named.id); it != slide.textSizeCaps.end())
      spec.size = std::min(spec.size, it->second);
    const bool isHeadline = named.role == TextRole::headline;

    if (auto placed = Placement::effective(named.id, target, slide.overrides)) {
      const Placement& p = placed->first;
      if (isHeadline) result.headlineFontSize = spec.size * p.fontScale.value_or(1);
      result.elements.push_back(
          textElement(named.id, named.label, owner, spec, p, 1, 1, false, true, W, H));
      continue;
    }

    const int written = writtenLineCount(text);
    std::optional<int> maxLines;
    if (wide) maxLines = written + (named.role == TextRole::subhead ? 1 : 0);
    auto fitted = TextLayout::fit(spec.text, TextLayout::style(spec), {column.width, heightLimit(named.role)}, 0.55,
                                  maxLines);
    const double specSize = spec.size;
    spec.size = fitted.fontSize;
    stack.push_back({named.id, named.label, spec, fitted.size, named.role, roleSize, written});
    if (isHeadline) {
      result.headlineFontSize = fitted.fontSize;
      // 10. The headline's checks.
      if (fitted.overflow) {
        sink.error("text.overflow", "Headline doesn't fit at the minimum size. Shorten it or allow more lines.");
      } else if (fitted.fontSize < 0.8 * specSize) {
        sink.info("text.shrunk", "Headline shrank to " + std::to_string(static_cast<long>(fitted.fontSize)) +
                                     "px to fit; shorter copy reads better in search.");
      }
      if (fitted.lineCount > 3)
        sink.warning("text.lines", "Headline runs " + std::to_string(fitted.lineCount) + " lines; 2 reads best.");
      if (fitted.lineCount > written)
        sink.warning("text.wrap", "Headline wraps to " + std::to_string(fitted.lineCount) + " lines in " + locale +
                                      "; it was written as " + std::to_string(written) +
                                      ". Shorten it or move the line break.");
    }
  }

  const double gap = ctx.unit * 0.026;
  auto stackHeight = [&] {
    double total = 0;
    for (size_t i = 0; i < stack.size(); ++i) total += stack[i].size.height + (i ? gap : 0);
    return total;
  };

  // 11. A wide canvas shrinks the stack until it fits its column: the headline first, down to a
  // floor that keeps it a headline, then everything.
  if (wide) {
    const double floor = 2 * std::max(ctx.unit * 0.04, ctx.minText);
    auto headline = std::find_if(stack.begin(), stack.end(), [](const AutoText& t) { return t.role == TextRole::headline; });
    for (int round = 0; round < 14 && stackHeight() > column.height + 0.5; ++round) {
      const bool headlineOnly = headline != stack.end() && headline->spec.size * 0.94 >= floor;
      for (auto it = stack.begin(); it != stack.end(); ++it) {
        if (headlineOnly && it != headline) continue;
        it->spec.size *= 0.94;
        int maxLines = it->writtenLines + (it->role == TextRole::subhead ? 1 : 0);
        auto refit = TextLayout::fit(it->spec.text, TextLayout::style(it->spec),
                                     {column.width, std::numeric_limits<double>::max()}, 1.0, maxLines);
        it->spec.size = refit.fontSize;
        it->size = refit.size;
      }
      if (headline != stack.end()) result.headlineFontSize = headline->spec.size;
    }
  }

  // 12. Where the stack starts.
  const double stack_ = stackHeight();
  double top = 0.06 * H;
  if (wide) {
    top = column.midY() - stack_ * 0.5;
  } else {
    switch (archetype) {
      case Archetype::hero:
        top = 0.06 * H;
        break;
      case Archetype::deviceTop:
        top = H - 0.06 * H - stack_;
        break;
      case Archetype::textOnly:
        top = (H - stack_) * 0.5;
        break;
    }
  }

  // 13. The device, against the stack on a tall canvas.
  if (renderer) {
    if (!wide) {
      const double aspect = renderer->bodyAspect();
      if (devicePlacement) {
        placeDeviceByHand(aspect);
      } else {
        double fraction;
        if (widthFraction) {
          fraction = *widthFraction;
        } else if (turned) {
          fraction = 0.9;
        } else if (device->frame.family == DeviceFamily::phone) {
          fraction = target.family == DeviceFamily::phone ? 0.8 : 0.56;
        } else {
          fraction = 0.84;
        }
        double bw = fraction * W, bh = bw / aspect, x = (W - bw) * 0.5;
        const double dg = 0.035 * H;
        double y;
        if (!turned) {
          y = archetype == Archetype::hero ? dg + 0.06 * H + stack_ : top - dg - bh;
        } else {
          double from = archetype == Archetype::hero ? dg + 0.06 * H + stack_ : 0;
          double to = archetype == Archetype::hero ? H : top - dg;
          y = from + (to - from - bh) * 0.5;
        }
        y += H * offset;
        body = {x, y, bw, bh};
        if (!widthFraction && offset == 0 && !turned) body = keepDeviceInView(body, archetype, W, H);
      }
    }
    result.elements.push_back(deviceElement("device", "Device", owner, *device, *slot, body, deviceRotation,
                                            deviceManual, 0, 1, W, H, sink));
  }

  // 14. The automatic texts, top to bottom.
  double y = top;
  for (const AutoText& t : stack) {
    ElementLayout e;
    e.id = t.id;
    e.owner = owner;
    e.kind = ElementLayout::Kind::text;
    e.label = t.label;
    e.frame = {column.x, y, column.width, t.size.height};
    e.z = 1;
    e.bleed = 0.3 * t.spec.size;
    e.placement = {e.frame.midX() / W, e.frame.midY() / H, e.frame.width / W, std::nullopt,
                   t.roleSize > 0 ? t.spec.size / t.roleSize : 1.0, std::nullopt};
    e.contentKey = textKey(t.spec, e.frame.width, e.opacity, e.shadow);
    e.content = t.spec;
    result.elements.push_back(std::move(e));
    y += t.size.height + gap;
  }

  // 15. Free elements, above device and texts.
  const FreeElements free{&slide.elements, &slide.overrides, owner, 2.0, 1};
  for (auto& e : layFreeElements(free, result.elements, ctx, root, target, locale, [&](double) -> IssueSink& { return sink; }))
    result.elements.push_back(std::move(e));

  // 16, 17. Fonts, then marks and contrast of every text.
  fontIssues(result.elements, root, sink);
  textChecks(result.elements, ctx, background, board, W, H, sink);

  result.issues = sink.take();
  return result;
}

}  // namespace vorno
