// Creative canvases are cropped differently on every device; only the safe area is seen
// everywhere. These checks say what leaves it, and what is too small to read in search results.
#include "kit/layout/slide_layout_engine.h"

#include <string>

namespace vorno {

namespace {

Issue issue(Issue::Severity severity, std::string code, std::string message, const ElementLayout& e,
            const StoreTarget& target, const std::string& slide, const std::string& locale) {
  Issue i(severity, std::move(code), std::move(message));
  i.slide = slide;
  i.target = target.id;
  i.locale = locale;
  i.element = e.uid();
  return i;
}

}  // namespace

std::vector<Issue> safeAreaIssues(const std::vector<ElementLayout>& elements, const Rect& safe,
                                  const StoreTarget& target, const std::string& slide, const std::string& locale) {
  std::vector<Issue> issues;
  const Rect area = safe.outsetBy(4);
  const std::optional<double> floor = target.minReadableText;
  for (const auto& e : elements) {
    if (e.decorative || !(e.fade > 0.5)) continue;
    switch (e.kind) {
      case ElementLayout::Kind::device:
      case ElementLayout::Kind::image:
        if (!e.drawnFrame().intersects(safe))
          issues.push_back(issue(Issue::Severity::info, "creative.safe-area",
                                 e.label + " sits entirely outside the safe area, so some devices never show it. Fine "
                                           "for atmosphere; move anything that matters inside.",
                                 e, target, slide, locale));
        break;
      case ElementLayout::Kind::text:
      case ElementLayout::Kind::component: {
        Rect r = e.kind == ElementLayout::Kind::text ? e.drawnInkBounds() : e.drawnFrame();
        if (!area.contains(r))
          issues.push_back(issue(Issue::Severity::warning, "creative.safe-area",
                                 e.label + " reaches outside the safe area, where some devices crop or cover it. Keep "
                                           "every word inside the safe area.",
                                 e, target, slide, locale));
        break;
      }
      default:
        break;
    }
    if (e.kind == ElementLayout::Kind::text && floor) {
      const double size = e.text()->size * e.drawScale;
      if (size < *floor)
        issues.push_back(issue(Issue::Severity::info, "creative.text-small",
                               e.label + " is " + std::to_string(static_cast<long>(size)) +
                                   "px; in search results that's under " + std::to_string(static_cast<long>(*floor)) +
                                   "px, too small to read on iPhone. Make it bigger or drop it.",
                               e, target, slide, locale));
    }
  }
  return issues;
}

}  // namespace vorno
