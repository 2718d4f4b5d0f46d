// A slide, or the spread it belongs to, laid on a target for a locale, with the checks that
// look at the whole canvas. How one slide's own frame is laid is in slide_layout_run.cc.
#include "kit/layout/slide_layout_engine.h"
#include "kit/layout/placement_checks.h"
#include "kit/layout/slide_layout_run.h"
#include "kit/layout/text_checks.h"

#include "kit/text/text_layout.h"

#include <filesystem>

namespace vorno {

namespace fs = std::filesystem;

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
  return SlideLayoutRun(*this, slide, project, root, target, locale, board).lay();
}

}  // namespace vorno
