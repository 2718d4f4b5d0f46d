// How a slide is laid out.
//
// Three automatic texts (eyebrow, headline, subhead) form a stack in a text column; each is
// fitted into its height limit, shrinking by 5% steps. A hero puts the stack at the top and the
// device under it, bleeding off the bottom; device-top mirrors that; text-only centres the stack.
// Wide canvases (targets with a safe area: tablets' creative art) put the text beside the device
// instead, and shrink the stack until it fits the column. Hand-placed texts skip all of this and
// keep their size. Free elements follow, above the device and texts.
#include "kit/layout/slide_layout_run.h"
#include "kit/layout/device_fit.h"
#include "kit/layout/text_checks.h"
#include "kit/layout/text_element.h"

#include "kit/image/codecs.h"
#include "kit/util/paths.h"

#include <algorithm>
#include <filesystem>
#include <limits>

namespace vorno {

namespace {

int writtenLineCount(const std::string& text) {
  return static_cast<int>(std::count(text.begin(), text.end(), '\n')) + 1;
}

std::string fileName(const std::string& path) { return std::filesystem::path(path).filename().string(); }

}  // namespace

SlideLayoutRun::SlideLayoutRun(const SlideLayoutEngine& engine, const Slide& slide, const Project& project,
                               const std::string& root, const StoreTarget& target, const std::string& locale,
                               const std::optional<SlideLayoutEngine::Board>& board)
    : engine_(engine),
      slide_(slide),
      project_(project),
      root_(root),
      target_(target),
      locale_(locale),
      board_(board),
      W(target.width),
      H(target.height),
      owner_(ElementOwner::slide(slide.id)),
      wide_(target.safeArea.has_value()),
      sink_(slide.id, target.id, locale),
      column_{0.075 * W, 0, 0.85 * W, H} {}

SlideLayoutRun::SlideResult SlideLayoutRun::lay() {
  chooseArchetype();
  chooseBackground();
  makeStyleContext();
  resolveSlideDevice();
  // On a wide canvas the device's place decides the text column, so the device is sized first.
  if (wide_) placeColumnBesideDevice();
  warnAboutMissingLocales();
  fitTexts();
  if (wide_) shrinkStackIntoColumn();
  placeStack();
  if (renderer_) placeDeviceUnderOrOverStack();
  layStack();
  layFreeElements();
  checkTexts();
  result_.issues = sink_.take();
  return std::move(result_);
}

/// The slide's archetype and headline scale on this target, and its own accent.
void SlideLayoutRun::chooseArchetype() {
  if (auto it = slide_.overrides.find(target_.id); it != slide_.overrides.end()) override_ = &it->second;
  archetype_ = override_ && override_->archetype ? *override_->archetype : slide_.archetype;
  headlineScale_ = override_ && override_->headlineScale ? *override_->headlineScale : 1.0;
  theme_ = project_.theme;
  if (slide_.accent) theme_.accent = *slide_.accent;
}

void SlideLayoutRun::chooseBackground() {
  Fill background = slide_.background ? *slide_.background
                                      : (slide_.inverted ? theme_.invertedBackground : theme_.background);
  if (background.image()) {
    background = background.resolved(root_);
    const std::string& path = background.image()->path;
    if (!fileExists(path)) {
      sink_.error("background.missing", "Background image not found: " + fileName(path));
    } else if (!codecs::isRegularFile(path)) {
      // A named pipe or a device is there but is no picture: reading it could wait forever.
      sink_.error("background.missing", "Background image " + fileName(path) + " isn't a file that can be read.");
    }
  }
  result_.background = background;
}

void SlideLayoutRun::makeStyleContext() {
  style_.theme = theme_;
  style_.fg = theme_.foreground;
  style_.muted = theme_.muted;
  if (slide_.inverted) {
    style_.fg = theme_.invertedForeground;
    style_.muted = theme_.invertedForeground;
    style_.muted.a = 0.72;
  }
  style_.unit = target_.textUnit();
  style_.minText = target_.minReadableText.value_or(0);
  style_.headlineScale = archetype_ == Archetype::textOnly ? headlineScale_ * 1.45 : headlineScale_;
  style_.slideEmphasis = slide_.emphasisStyle;
  style_.root = root_;
  style_.language = locale_;
}

/// The device the slide's slot shows, and what the slot and this target's override say of its
/// size, offset, rotation and placement.
void SlideLayoutRun::resolveSlideDevice() {
  if (archetype_ != Archetype::textOnly && slide_.device) {
    slot_ = slide_.device->flattened(target_.platform);
    device_ = engine_.resolveDevice(*slot_, root_, target_, locale_, sink_);
    if (device_) result_.frameID = device_->frame.id;
  }
  if (device_) renderer_.emplace(device_->frame, Finish::named(device_->finish));
  turned_ = device_ && device_->frame.turn.has_value();

  deviceOffset_ = override_ && override_->deviceOffsetY ? *override_->deviceOffsetY
                                                        : (slot_ && slot_->offsetY ? *slot_->offsetY : 0.0);
  deviceWidth_ = override_ && override_->deviceWidth ? override_->deviceWidth
                                                     : (slot_ ? slot_->width : std::nullopt);
  devicePlacement_ = Placement::effective("device", target_, slide_.overrides);
  slotRotation_ = slot_ && slot_->rotation ? *slot_->rotation : 0.0;
  deviceRotation_ = slotRotation_;
}

/// A hand placement sets the body's width and centre; its height follows the body's aspect.
void SlideLayoutRun::placeDeviceByHand(double aspect) {
  const Placement& p = devicePlacement_->first;
  double bw = p.width * W, bh = bw / aspect;
  body_ = {p.x * W - bw * 0.5, p.y * H - bh * 0.5, bw, bh};
  deviceRotation_ = p.rotation.value_or(slotRotation_);
  deviceManual_ = true;
}

/// On a wide canvas: the device stands to one side of the safe area, the column takes the rest.
void SlideLayoutRun::placeColumnBesideDevice() {
  const Rect safe = *target_.safeArea;
  if (renderer_) {
    const double aspect = renderer_->bodyAspect();
    if (devicePlacement_) {
      placeDeviceByHand(aspect);
    } else {
      double bh;
      if (!deviceWidth_) {
        bh = device_->frame.family == DeviceFamily::phone ? 0.84 * H : 0.78 * H;
        if (turned_) bh = std::min(bh, safe.width * 0.6 / aspect);
      } else {
        bh = *deviceWidth_ * W / aspect;
      }
      double bw = bh * aspect;
      double cx = archetype_ == Archetype::deviceTop ? safe.maxX() - safe.width * 0.58 - bw * 0.5
                                                     : safe.minX() + safe.width * 0.58 + bw * 0.5;
      body_ = {cx - bw * 0.5, H * 0.5 + deviceOffset_ * H - bh * 0.5, bw, bh};
    }
  }
  column_ = safe.insetBy(safe.width * 0.035, 0);
  if (!renderer_) return;
  if (archetype_ == Archetype::deviceTop) {
    double left = std::max(column_.minX(), body_.maxX() + column_.width * 0.045);
    left = std::min(left, column_.maxX() - column_.width * 0.36);
    column_ = {left, column_.y, column_.maxX() - left, column_.height};
  } else {
    double right = std::min(column_.maxX(), body_.minX() - column_.width * 0.045);
    right = std::max(right, column_.minX() + column_.width * 0.36);
    column_ = {column_.minX(), column_.y, right - column_.minX(), column_.height};
  }
}

/// Texts that exist in other locales but not this one.
void SlideLayoutRun::warnAboutMissingLocales() {
  const LocalizedText* eyebrow = slide_.eyebrow ? &*slide_.eyebrow : nullptr;
  const LocalizedText* subhead = slide_.subhead ? &*slide_.subhead : nullptr;
  for (auto [label, text] : {std::pair<const char*, const LocalizedText*>{"Headline", &slide_.headline},
                             {"Eyebrow", eyebrow},
                             {"Subhead", subhead}}) {
    if (text && !text->isEmpty() && !text->has(locale_))
      sink_.warning("text.missing-locale", std::string(label) + " has no " + locale_ + " text; using a fallback.");
  }
}

/// How tall each text may grow before it shrinks.
double SlideLayoutRun::heightLimit(TextRole role) const {
  switch (role) {
    case TextRole::eyebrow:
      return style_.unit * 0.1;
    case TextRole::headline:
      if (wide_) return (renderer_ ? 0.62 : 0.7) * column_.height;
      return archetype_ == Archetype::textOnly ? 0.5 * H : 0.17 * H;
    default:
      return wide_ ? 0.34 * column_.height : 0.08 * H;
  }
}

/// Each text, in stacking order: placed by hand as it stands, or fitted into the automatic stack.
void SlideLayoutRun::fitTexts() {
  std::string headlineText = slide_.headline.resolve(locale_).value_or("");
  if (!target_.isCreative() && headlineText.empty()) sink_.warning("text.empty", "Headline is empty.");

  const NamedText texts[3] = {
      {"eyebrow", "Eyebrow", TextRole::eyebrow, slide_.eyebrow ? &*slide_.eyebrow : nullptr},
      {"headline", "Headline", TextRole::headline, &slide_.headline},
      {"subhead", "Subhead", TextRole::subhead, slide_.subhead ? &*slide_.subhead : nullptr}};
  const TextAlign align = wide_ && renderer_ ? TextAlign::left : TextAlign::center;
  for (const NamedText& named : texts) {
    if (!named.text) continue;
    std::string text = named.text->resolve(locale_).value_or("");
    if (text.empty()) continue;
    std::optional<RGBColor> color;
    if (auto it = slide_.textColors.find(named.id); it != slide_.textColors.end()) color = it->second;
    std::optional<TextStyle> style;
    if (auto it = slide_.textStyles.find(named.id); it != slide_.textStyles.end()) style = it->second;
    TextSpec spec = style_.spec(named.role, text, color, align, style);
    const double roleSize = spec.size;
    if (auto it = slide_.textSizeCaps.find(named.id); it != slide_.textSizeCaps.end())
      spec.size = std::min(spec.size, it->second);
    const bool isHeadline = named.role == TextRole::headline;

    if (auto placed = Placement::effective(named.id, target_, slide_.overrides)) {
      const Placement& p = placed->first;
      if (isHeadline) result_.headlineFontSize = spec.size * p.fontScale.value_or(1);
      result_.elements.push_back(
          textElement({named.id, named.label, owner_}, spec, p, {1, 1, false, true}, {W, H}));
      continue;
    }

    const int written = writtenLineCount(text);
    std::optional<int> maxLines;
    if (wide_) maxLines = written + (named.role == TextRole::subhead ? 1 : 0);
    auto fitted = TextLayout::fit(spec.text, TextLayout::style(spec), {column_.width, heightLimit(named.role)}, 0.55,
                                  maxLines);
    const double specSize = spec.size;
    spec.size = fitted.fontSize;
    stack_.push_back({named.id, named.label, spec, fitted.size, named.role, roleSize, written});
    if (isHeadline) {
      result_.headlineFontSize = fitted.fontSize;
      checkFittedHeadline(fitted, specSize, written);
    }
  }
  gap_ = style_.unit * 0.026;
}

void SlideLayoutRun::checkFittedHeadline(const TextLayout::Fitted& fitted, double specSize, int written) {
  if (fitted.overflow) {
    sink_.error("text.overflow", "Headline doesn't fit at the minimum size. Shorten it or allow more lines.");
  } else if (fitted.fontSize < 0.8 * specSize) {
    sink_.info("text.shrunk", "Headline shrank to " + std::to_string(static_cast<long>(fitted.fontSize)) +
                                  "px to fit; shorter copy reads better in search.");
  }
  if (fitted.lineCount > 3)
    sink_.warning("text.lines", "Headline runs " + std::to_string(fitted.lineCount) + " lines; 2 reads best.");
  if (fitted.lineCount > written)
    sink_.warning("text.wrap", "Headline wraps to " + std::to_string(fitted.lineCount) + " lines in " + locale_ +
                                   "; it was written as " + std::to_string(written) +
                                   ". Shorten it or move the line break.");
}

double SlideLayoutRun::stackHeight() const {
  double total = 0;
  for (size_t i = 0; i < stack_.size(); ++i) total += stack_[i].size.height + (i ? gap_ : 0);
  return total;
}

/// A wide canvas shrinks the stack until it fits its column: the headline first, down to a floor
/// that keeps it a headline, then everything.
void SlideLayoutRun::shrinkStackIntoColumn() {
  const double floor = 2 * std::max(style_.unit * 0.04, style_.minText);
  auto headline =
      std::find_if(stack_.begin(), stack_.end(), [](const AutoText& t) { return t.role == TextRole::headline; });
  for (int round = 0; round < 14 && stackHeight() > column_.height + 0.5; ++round) {
    const bool headlineOnly = headline != stack_.end() && headline->spec.size * 0.94 >= floor;
    for (auto it = stack_.begin(); it != stack_.end(); ++it) {
      if (headlineOnly && it != headline) continue;
      it->spec.size *= 0.94;
      int maxLines = it->writtenLines + (it->role == TextRole::subhead ? 1 : 0);
      auto refit = TextLayout::fit(it->spec.text, TextLayout::style(it->spec),
                                   {column_.width, std::numeric_limits<double>::max()}, 1.0, maxLines);
      it->spec.size = refit.fontSize;
      it->size = refit.size;
    }
    if (headline != stack_.end()) result_.headlineFontSize = headline->spec.size;
  }
}

/// Where the stack starts: centred in a wide column, else by the archetype.
void SlideLayoutRun::placeStack() {
  const double height = stackHeight();
  if (wide_) {
    top_ = column_.midY() - height * 0.5;
    return;
  }
  switch (archetype_) {
    case Archetype::hero:
      top_ = 0.06 * H;
      break;
    case Archetype::deviceTop:
      top_ = H - 0.06 * H - height;
      break;
    case Archetype::textOnly:
      top_ = (H - height) * 0.5;
      break;
  }
}

/// The device on a tall canvas sits against the stack (below a hero's, above a device-top's);
/// on a wide one it was placed beside the column already.
void SlideLayoutRun::placeDeviceUnderOrOverStack() {
  if (!wide_) {
    const double aspect = renderer_->bodyAspect();
    if (devicePlacement_) {
      placeDeviceByHand(aspect);
    } else {
      double fraction;
      if (deviceWidth_) {
        fraction = *deviceWidth_;
      } else if (turned_) {
        fraction = 0.9;
      } else if (device_->frame.family == DeviceFamily::phone) {
        fraction = target_.family == DeviceFamily::phone ? 0.8 : 0.56;
      } else {
        fraction = 0.84;
      }
      const double stackTall = stackHeight();
      double bw = fraction * W, bh = bw / aspect, x = (W - bw) * 0.5;
      const double dg = 0.035 * H;
      double y;
      if (!turned_) {
        y = archetype_ == Archetype::hero ? dg + 0.06 * H + stackTall : top_ - dg - bh;
      } else {
        double from = archetype_ == Archetype::hero ? dg + 0.06 * H + stackTall : 0;
        double to = archetype_ == Archetype::hero ? H : top_ - dg;
        y = from + (to - from - bh) * 0.5;
      }
      y += H * deviceOffset_;
      body_ = {x, y, bw, bh};
      if (!deviceWidth_ && deviceOffset_ == 0 && !turned_) body_ = keepDeviceInView(body_, archetype_, W, H);
    }
  }
  result_.elements.push_back(engine_.deviceElement({"device", "Device", owner_}, *device_, *slot_,
                                                   {body_, deviceRotation_, deviceManual_, 0, 1}, {W, H}, sink_));
}

/// The automatic texts, top to bottom in the column.
void SlideLayoutRun::layStack() {
  double y = top_;
  for (const AutoText& t : stack_) {
    ElementLayout e;
    e.id = t.id;
    e.owner = owner_;
    e.kind = ElementLayout::Kind::text;
    e.label = t.label;
    e.frame = {column_.x, y, column_.width, t.size.height};
    e.z = 1;
    e.bleed = 0.3 * t.spec.size;
    e.placement = {e.frame.midX() / W, e.frame.midY() / H, e.frame.width / W, std::nullopt,
                   t.roleSize > 0 ? t.spec.size / t.roleSize : 1.0, std::nullopt};
    e.contentKey = textKey(t.spec, e.frame.width, e.opacity, e.shadow);
    e.content = t.spec;
    result_.elements.push_back(std::move(e));
    y += t.size.height + gap_;
  }
}

/// The slide's free elements, above the device and texts.
void SlideLayoutRun::layFreeElements() {
  const SlideLayoutEngine::FreeElements free{&slide_.elements, &slide_.overrides, owner_, 2.0, 1};
  auto sinkAt = [&](double) -> IssueSink& { return sink_; };
  for (auto& e : engine_.layFreeElements(free, result_.elements, {style_, root_, target_, locale_}, sinkAt))
    result_.elements.push_back(std::move(e));
}

/// Fonts, then marks and contrast of every text.
void SlideLayoutRun::checkTexts() {
  fontIssues(result_.elements, root_, sink_);
  textChecks(result_.elements, style_, result_.background, board_, W, H, sink_);
}

}  // namespace vorno
