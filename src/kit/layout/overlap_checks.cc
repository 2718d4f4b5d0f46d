// What covers what. An agent places free elements without seeing the words under them, and a
// placement made on one canvas lands elsewhere on another; these checks name both elements so
// that the fix is one placement away. Areas are of bounding boxes (rotated frames, a text's
// ink), which is what a reader's eye takes in at thumbnail size.
#include "kit/layout/placement_checks.h"

#include "kit/util/format.h"

#include <algorithm>
#include <cmath>

namespace vorno {

namespace {

// A text's words; anything else, its rotated frame.
Rect coverage(const ElementLayout& e) { return e.kind == ElementLayout::Kind::text ? e.inkBounds() : e.rotatedBounds(); }

// A soft light or shade behind things: see-through or blurred shapes and images.
bool isGlow(const ElementLayout& e) {
  double blur = 0;
  if (const auto* image = std::get_if<ImageSpec>(&e.content)) blur = image->blur;
  else if (const auto* shape = std::get_if<ShapeSpec>(&e.content)) blur = shape->blur;
  else return false;
  return e.opacity < 0.5 || blur > 0;
}

bool isNamedText(const ElementLayout& e) {
  return e.kind == ElementLayout::Kind::text && e.owner.kind == ElementOwner::Kind::slide &&
         (e.id == "eyebrow" || e.id == "headline" || e.id == "subhead");
}

std::string lowerFirst(std::string s) {
  if (!s.empty()) s[0] = static_cast<char>(std::tolower(static_cast<unsigned char>(s[0])));
  return s;
}

// A free element by its label and id; the slide's own by its label alone ("Headline").
std::string named(const ElementLayout& e) { return isSlideTextOrDevice(e) ? e.label : e.label + " " + e.id; }

int percent(double fraction) { return static_cast<int>(std::lround(fraction * 100)); }

void add(IssueSink& sink, const std::string& slide, std::string message, const ElementLayout& e) {
  IssueSink forSlide = sink.forSlide(slide);
  forSlide.warning("layout.overlap", std::move(message), e.uid());
  for (auto& issue : forSlide.take()) sink.issues().push_back(std::move(issue));
}

}  // namespace

void overlapChecks(const std::vector<ElementLayout>& elements, const PlacementScope& scope, IssueSink& sink) {
  auto exempt = [&](const ElementLayout& e) { return e.decorative || isGlow(e) || !(e.fade > 0.5); };
  // Set under the other on purpose: placed by hand with a z of its own below the other's.
  auto layeredBelow = [&](const ElementLayout& lower, const ElementLayout& upper) {
    return lower.isManual && scope.layeredByHand.count(lower.uid()) && lower.z < upper.z;
  };

  // Elements drawn above the slide's own words.
  for (size_t t = 0; t < elements.size(); ++t) {
    const ElementLayout& text = elements[t];
    if (!isNamedText(text) || text.decorative) continue;
    const Rect ink = text.inkBounds();
    if (!(ink.area() > 0)) continue;
    for (size_t i = t + 1; i < elements.size(); ++i) {
      const ElementLayout& above = elements[i];
      if (exempt(above) || (above.owner == text.owner && above.id == text.id)) continue;
      const double covered = coverage(above).intersection(ink).area() / ink.area();
      if (!(covered > 0.04)) continue;
      add(sink, scope.slideOf(above),
          named(above) + " covers " + std::to_string(percent(covered)) + "% of the " +
              lowerFirst(text.label) + " on " + scope.targetID + ". Move " + above.id +
              " into free space with a placement for " + scope.targetID + ", or shorten the " +
              lowerFirst(text.label) + ".",
          above);
    }
  }

  // Free elements on top of each other.
  std::vector<const ElementLayout*> free;
  for (const auto& e : elements)
    if (!isSlideTextOrDevice(e) && !exempt(e)) free.push_back(&e);
  for (size_t a = 0; a < free.size(); ++a) {
    for (size_t b = a + 1; b < free.size(); ++b) {
      const ElementLayout& lower = *free[a];
      const ElementLayout& upper = *free[b];
      if (layeredBelow(lower, upper)) continue;
      const Rect first = coverage(lower), second = coverage(upper);
      const double smaller = std::min(first.area(), second.area());
      if (!(smaller > 0)) continue;
      const double shared = first.intersection(second).area() / smaller;
      if (!(shared > 0.2)) continue;
      add(sink, scope.slideOf(upper),
          named(upper) + " and " + lowerFirst(named(lower)) + " overlap by " +
              std::to_string(percent(shared)) + "% of the smaller on " + scope.targetID +
              ". Give one of them a placement for " + scope.targetID +
              " in free space, or layer them on purpose: place " + lower.id + " by hand with a lower z.",
          upper);
    }
  }
}

}  // namespace vorno
