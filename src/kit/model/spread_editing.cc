#include "kit/model/spread_editing.h"

#include "kit/model/project.h"

#include <algorithm>
#include <cmath>

namespace vorno {
namespace {

using Placements = std::map<std::string, Placement>;

std::optional<size_t> slidePosition(const Project& project, std::string_view slideID) {
  for (size_t i = 0; i < project.slides.size(); ++i)
    if (project.slides[i].id == slideID) return i;
  return std::nullopt;
}

std::optional<size_t> spreadPositionContaining(const Project& project, std::string_view slideID) {
  for (size_t i = 0; i < project.spreads.size(); ++i) {
    const auto& members = project.spreads[i].slides;
    if (std::find(members.begin(), members.end(), slideID) != members.end()) return i;
  }
  return std::nullopt;
}

size_t memberPosition(const Spread& spread, std::string_view slideID) {
  return static_cast<size_t>(std::find(spread.slides.begin(), spread.slides.end(), slideID) - spread.slides.begin());
}

bool hasElement(const std::vector<SlideElement>& elements, std::string_view id) {
  return std::any_of(elements.begin(), elements.end(), [&](const SlideElement& e) { return e.id == id; });
}

/// The x of an element on the first target (in id order) that places it.
std::optional<double> firstPlacedX(const std::map<std::string, SlideOverride>& overrides, const std::string& id) {
  for (const auto& [target, override] : overrides) {
    if (!override.placements) continue;
    if (auto it = override.placements->find(id); it != override.placements->end()) return it->second.x;
  }
  return std::nullopt;
}

/// The member whose stretch k...k+1 holds `x`; positions off either end belong to the nearest
/// member, and a position that is not a number to the middle one.
size_t memberAt(double x, size_t count) {
  if (!std::isfinite(x)) return count / 2;
  const double whole = std::floor(x);
  if (whole <= 0) return 0;
  if (whole >= static_cast<double>(count - 1)) return count - 1;
  return static_cast<size_t>(whole);
}

/// Takes the placement of `id` out of every override of `from` and puts it, shifted by `dx`,
/// under `newID` into the override of the same target in `to`. Overrides that the move leaves
/// empty are dropped, so a round trip gives back the document it began with.
void movePlacements(std::map<std::string, SlideOverride>& from, std::map<std::string, SlideOverride>& to,
                    const std::string& id, const std::string& newID, double dx) {
  for (auto it = from.begin(); it != from.end();) {
    SlideOverride& override = it->second;
    auto found = override.placements ? override.placements->find(id) : Placements::iterator{};
    if (!override.placements || found == override.placements->end()) {
      ++it;
      continue;
    }
    Placement placement = found->second;
    placement.x += dx;
    override.placements->erase(found);
    SlideOverride& target = to[it->first];
    if (!target.placements) target.placements = Placements{};
    (*target.placements)[newID] = placement;
    if (override.placements->empty()) override.placements.reset();
    if (override == SlideOverride{}) it = from.erase(it);
    else ++it;
  }
}

}  // namespace

SlideOverride shiftingPlacements(const SlideOverride& override, double dx) {
  SlideOverride shifted = override;
  if (shifted.placements)
    for (auto& [id, placement] : *shifted.placements) placement.x += dx;
  return shifted;
}

std::string uniqueSpreadID(const Project& project) {
  for (int n = 1;; ++n) {
    std::string id = "spread-" + std::to_string(n);
    if (project.spread(id) == nullptr) return id;
  }
}

std::string uniqueElementID(const Project& project, std::string_view base, const std::set<std::string>& avoiding) {
  std::set<std::string, std::less<>> taken(avoiding.begin(), avoiding.end());
  for (const Slide& slide : project.slides)
    for (const SlideElement& element : slide.elements) taken.insert(element.id);
  for (const Spread& spread : project.spreads)
    for (const SlideElement& element : spread.elements) taken.insert(element.id);
  if (!taken.contains(base)) return std::string(base);
  for (int n = 2;; ++n) {
    std::string id = std::string(base) + "-" + std::to_string(n);
    if (!taken.contains(id)) return id;
  }
}

void joinWithNext(Project& project, std::string_view slideID) {
  const std::optional<size_t> index = slidePosition(project, slideID);
  if (!index || *index + 1 >= project.slides.size()) return;
  const Slide& slide = project.slides[*index];
  const std::string nextID = project.slides[*index + 1].id;
  const std::optional<size_t> a = spreadPositionContaining(project, slide.id);
  const std::optional<size_t> b = spreadPositionContaining(project, nextID);

  if (!a && !b) {
    Spread spread;
    spread.id = uniqueSpreadID(project);
    spread.slides = {slide.id, nextID};
    spread.background = slide.background;
    project.spreads.push_back(std::move(spread));
    return;
  }
  if (a && !b) {
    project.spreads[*a].slides.push_back(nextID);
    return;
  }
  if (!a && b) {
    // Everything on the spread moves one slide to the right, as this slide now comes first.
    Spread& spread = project.spreads[*b];
    spread.slides.insert(spread.slides.begin(), slide.id);
    for (auto& [target, override] : spread.overrides) override = shiftingPlacements(override, 1);
    return;
  }
  if (*a == *b) return;

  // Two spreads meet: the later one joins the earlier, its coordinates shifted past the
  // earlier one's members, and its elements renamed where the earlier one already has the id.
  const Spread later = project.spreads[*b];
  const double shift = static_cast<double>(project.spreads[*a].slides.size());
  std::map<std::string, std::string> renamed;
  for (SlideElement element : later.elements) {
    if (hasElement(project.spreads[*a].elements, element.id)) {
      const std::string fresh = uniqueElementID(project, element.id);
      renamed.emplace(element.id, fresh);
      element.id = fresh;
    }
    project.spreads[*a].elements.push_back(std::move(element));
  }
  Spread& earlier = project.spreads[*a];
  earlier.slides.insert(earlier.slides.end(), later.slides.begin(), later.slides.end());
  for (const auto& [target, override] : later.overrides) {
    SlideOverride shifted = shiftingPlacements(override, shift);
    if (shifted.placements) {
      Placements keyed;
      for (auto& [id, placement] : *shifted.placements) {
        auto it = renamed.find(id);
        keyed.emplace(it == renamed.end() ? id : it->second, placement);
      }
      shifted.placements = std::move(keyed);
    }
    auto existing = earlier.overrides.find(target);
    if (existing == earlier.overrides.end()) {
      earlier.overrides.emplace(target, std::move(shifted));
      continue;
    }
    // The earlier spread keeps its own settings for the target; only placements are added.
    if (!shifted.placements) continue;
    SlideOverride& into = existing->second;
    if (!into.placements) into.placements = Placements{};
    for (auto& [id, placement] : *shifted.placements) into.placements->emplace(id, placement);
  }
  project.spreads.erase(project.spreads.begin() + static_cast<std::ptrdiff_t>(*b));
}

void leaveSpread(Project& project, std::string_view slideID) {
  const std::optional<size_t> position = spreadPositionContaining(project, slideID);
  if (!position) return;
  const Spread& spread = project.spreads[*position];
  const std::string spreadID = spread.id;
  const size_t member = memberPosition(spread, slideID);
  const size_t count = spread.slides.size();

  // Which elements stand on this slide is decided before any moves, on the spread as it was.
  std::vector<std::string> landing;
  for (const SlideElement& element : spread.elements) {
    const double x = firstPlacedX(spread.overrides, element.id).value_or(static_cast<double>(count) / 2);
    if (memberAt(x, count) == member) landing.push_back(element.id);
  }
  for (const std::string& id : landing) moveElementToSlide(project, id, spreadID, static_cast<int>(member));

  Spread& remaining = project.spreads[*position];
  remaining.slides.erase(remaining.slides.begin() + static_cast<std::ptrdiff_t>(member));
  if (member == 0)
    for (auto& [target, override] : remaining.overrides) override = shiftingPlacements(override, -1);
  project.repairSpreads();
}

void moveElementToSpread(Project& project, std::string_view elementID, std::string_view slideID) {
  Slide* slide = project.slide(slideID);
  const std::optional<size_t> position = spreadPositionContaining(project, slideID);
  if (slide == nullptr || !position) return;
  auto found = std::find_if(slide->elements.begin(), slide->elements.end(),
                            [&](const SlideElement& e) { return e.id == elementID; });
  if (found == slide->elements.end()) return;

  SlideElement element = *found;
  slide->elements.erase(found);
  const std::string oldID = element.id;
  if (hasElement(project.spreads[*position].elements, element.id)) element.id = uniqueElementID(project, element.id);

  Spread& spread = project.spreads[*position];
  const double member = static_cast<double>(memberPosition(spread, slide->id));
  movePlacements(slide->overrides, spread.overrides, oldID, element.id, member);
  spread.elements.push_back(std::move(element));
}

std::optional<std::string> moveElementToSlide(Project& project, std::string_view elementID, std::string_view spreadID,
                                              std::optional<int> slideIndex) {
  Spread* spread = project.spread(spreadID);
  if (spread == nullptr || spread->slides.empty()) return std::nullopt;
  auto found = std::find_if(spread->elements.begin(), spread->elements.end(),
                            [&](const SlideElement& e) { return e.id == elementID; });
  if (found == spread->elements.end()) return std::nullopt;

  const size_t count = spread->slides.size();
  size_t member = count / 2;
  if (slideIndex) {
    if (*slideIndex < 0 || static_cast<size_t>(*slideIndex) >= count) return std::nullopt;
    member = static_cast<size_t>(*slideIndex);
  } else if (auto x = firstPlacedX(spread->overrides, found->id)) {
    member = memberAt(*x, count);
  }
  Slide* slide = project.slide(spread->slides[member]);
  if (slide == nullptr) return std::nullopt;

  // On a slide the text fields and the device are placed under their own names, so an element
  // may not take one of them.
  const std::set<std::string> reserved{"eyebrow", "headline", "subhead", "device"};
  SlideElement element = *found;
  const std::string oldID = element.id;
  if (hasElement(slide->elements, element.id) || reserved.contains(element.id))
    element.id = uniqueElementID(project, element.id, reserved);

  spread->elements.erase(found);
  movePlacements(spread->overrides, slide->overrides, oldID, element.id, -static_cast<double>(member));
  slide->elements.push_back(element);
  return element.id;
}

}  // namespace vorno
