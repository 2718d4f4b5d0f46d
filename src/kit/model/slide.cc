#include "kit/model/slide.h"

#include "kit/model/codings.h"
#include "kit/model/store_target.h"

#include <vector>

namespace vorno {
namespace {

const Placement* placementIn(const std::map<std::string, SlideOverride>& overrides, std::string_view targetID,
                             std::string_view id) {
  auto entry = overrides.find(std::string(targetID));
  if (entry == overrides.end() || !entry->second.placements) return nullptr;
  auto found = entry->second.placements->find(std::string(id));
  return found == entry->second.placements->end() ? nullptr : &found->second;
}

}  // namespace

std::optional<std::pair<Placement, bool>> Placement::effective(std::string_view id, const StoreTarget& target,
                                                               const std::map<std::string, SlideOverride>& overrides) {
  if (const Placement* own = placementIn(overrides, target.id, id)) return std::pair{*own, false};
  if (target.isCreative()) return std::nullopt;

  // The map is sorted, so both passes see the lenders in the same order on every run.
  std::vector<const StoreTarget*> lenders;
  for (const auto& [key, value] : overrides) {
    if (key == target.id) continue;
    if (const StoreTarget* lender = StoreTarget::named(key)) lenders.push_back(lender);
  }
  // A placement made on one phone carries over to the other phones first.
  for (const StoreTarget* lender : lenders)
    if (lender->family == target.family)
      if (const Placement* borrowed = placementIn(overrides, lender->id, id)) return std::pair{*borrowed, true};
  // Tablets and foldables then lend to each other; a phone's layout never fits a wide canvas,
  // nor the other way round.
  for (const StoreTarget* lender : lenders)
    if (lender->family != DeviceFamily::phone && target.family != DeviceFamily::phone)
      if (const Placement* borrowed = placementIn(overrides, lender->id, id)) return std::pair{*borrowed, true};
  return std::nullopt;
}

std::optional<Placement> Slide::placement(std::string_view id, std::string_view targetID) const {
  if (const Placement* found = placementIn(overrides, targetID, id)) return *found;
  return std::nullopt;
}

std::optional<std::pair<Placement, bool>> Slide::effectivePlacement(std::string_view id,
                                                                    const StoreTarget& target) const {
  return Placement::effective(id, target, overrides);
}

// JSON forms.

Placement Coding<Placement>::read(const Reader& r) {
  Placement p;
  p.x = r.get<double>("x");
  p.y = r.get<double>("y");
  p.width = r.get<double>("width");
  p.height = r.getIfPresent<double>("height");
  p.fontScale = r.getIfPresent<double>("fontScale");
  p.rotation = r.getIfPresent<double>("rotation");
  return p;
}

Json Coding<Placement>::write(const Placement& p) {
  return ObjectWriter()
      .put("x", p.x)
      .put("y", p.y)
      .put("width", p.width)
      .putIfPresent("height", p.height)
      .putIfPresent("fontScale", p.fontScale)
      .putIfPresent("rotation", p.rotation)
      .done();
}

SlideOverride Coding<SlideOverride>::read(const Reader& r) {
  r.requireObject();
  SlideOverride o;
  o.archetype = r.getIfPresent<Archetype>("archetype");
  o.deviceWidth = r.getIfPresent<double>("deviceWidth");
  o.deviceOffsetY = r.getIfPresent<double>("deviceOffsetY");
  o.headlineScale = r.getIfPresent<double>("headlineScale");
  o.placements = r.getIfPresent<std::map<std::string, Placement>>("placements");
  return o;
}

Json Coding<SlideOverride>::write(const SlideOverride& o) {
  return ObjectWriter()
      .putIfPresent("archetype", o.archetype)
      .putIfPresent("deviceWidth", o.deviceWidth)
      .putIfPresent("deviceOffsetY", o.deviceOffsetY)
      .putIfPresent("headlineScale", o.headlineScale)
      .putIfPresent("placements", o.placements)
      .done();
}

Slide readSlide(const Reader& r, bool headlineRequired) {
  Slide s;
  s.id = r.get<std::string>("id");
  s.archetype = r.getOr<Archetype>("archetype", Archetype::hero);
  s.eyebrow = r.getIfPresent<LocalizedText>("eyebrow");
  // A creative often carries no words at all, so only a slide insists on its headline.
  s.headline = headlineRequired ? r.get<LocalizedText>("headline") : r.getOr<LocalizedText>("headline", {});
  s.subhead = r.getIfPresent<LocalizedText>("subhead");
  s.device = r.getIfPresent<DeviceSlot>("device");
  s.inverted = r.getOr<bool>("inverted", false);
  s.background = r.getIfPresent<Fill>("background");
  s.overrides = r.getOr<std::map<std::string, SlideOverride>>("overrides", {});
  s.elements = r.getOr<std::vector<SlideElement>>("elements", {});
  s.textColors = r.getOr<std::map<std::string, RGBColor>>("textColors", {});
  s.emphasisStyle = r.getIfPresent<EmphasisStyle>("emphasisStyle");
  s.textStyles = r.getOr<std::map<std::string, TextStyle>>("textStyles", {});
  s.accent = r.getIfPresent<RGBColor>("accent");
  return s;
}

Json writeSlide(const Slide& s, bool headlineRequired) {
  ObjectWriter w;
  // The archetype is written even when it is the default, so a reader of the file sees it.
  w.put("id", s.id).put("archetype", s.archetype).putIfPresent("eyebrow", s.eyebrow);
  if (headlineRequired || !s.headline.isEmpty()) w.put("headline", s.headline);
  w.putIfPresent("subhead", s.subhead).putIfPresent("device", s.device);
  if (s.inverted) w.put("inverted", true);
  return w.putIfPresent("background", s.background)
      .putIfNotEmpty("overrides", s.overrides)
      .putIfNotEmpty("elements", s.elements)
      .putIfNotEmpty("textColors", s.textColors)
      .putIfPresent("emphasisStyle", s.emphasisStyle)
      .putIfNotEmpty("textStyles", s.textStyles)
      .putIfPresent("accent", s.accent)
      .done();
}

Slide Coding<Slide>::read(const Reader& r) { return readSlide(r, true); }

Json Coding<Slide>::write(const Slide& s) { return writeSlide(s, true); }

}  // namespace vorno
