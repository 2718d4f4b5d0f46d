// A spread lays its members side by side as one board of count x W by H pixels; its own
// elements are placed in slide units (x 1.0 is the first seam) and drawn below the members'.
// The renderer later cuts the board into one slice per member.
#include "kit/layout/placement_checks.h"
#include "kit/layout/slide_layout_engine.h"

#include <algorithm>

namespace vorno {

namespace {

int memberAt(double x, int count) { return std::clamp(static_cast<int>(x), 0, count - 1); }

}  // namespace

ComposedSlide SlideLayoutEngine::layoutSpread(const Spread& spread, const std::vector<const Slide*>& members,
                                              const Slide& focus, const Project& project, const std::string& root,
                                              const StoreTarget& target, const std::string& locale) const {
  const double W = target.width, H = target.height;
  const int count = static_cast<int>(members.size());
  ComposedSlide composed;
  composed.slideID = focus.id;
  composed.target = target;
  composed.locale = locale;
  composed.spreadID = spread.id;

  std::optional<Fill> fill;
  if (spread.background) fill = spread.background->resolved(root);

  // Each member on its own canvas, then moved along the board.
  std::vector<ElementLayout> elements;
  for (int i = 0; i < count; ++i) {
    const Slide& member = *members[static_cast<size_t>(i)];
    std::optional<Board> board;
    if (fill) board = Board{*fill, i, count};
    SlideResult result = layoutSlide(member, project, root, target, locale, board);
    for (auto& e : result.elements) {
      e.frame.x += i * W;
      elements.push_back(std::move(e));
    }
    for (auto& issue : result.issues) composed.issues.push_back(std::move(issue));
    composed.slideIDs.push_back(member.id);
    composed.sliceBackgrounds.push_back(result.background);
    if (member.id == focus.id) {
      composed.frameID = result.frameID;
      composed.headlineFontSize = result.headlineFontSize;
    }
  }

  // The spread's own elements, in the spread's plain look.
  StyleContext ctx;
  ctx.theme = project.theme;
  ctx.fg = project.theme.foreground;
  ctx.muted = project.theme.muted;
  ctx.unit = target.textUnit();
  ctx.minText = target.minReadableText.value_or(0);
  ctx.headlineScale = 1;
  ctx.root = root;
  ctx.language = locale;
  const ElementOwner owner = ElementOwner::spread(spread.id);
  // Each spread element reports under the member beneath its centre.
  std::vector<IssueSink> sinks;
  for (const Slide* member : members) sinks.emplace_back(member->id, target.id, locale);
  const FreeElements free{&spread.elements, &spread.overrides, owner, -1.0, count};
  for (auto& e : layFreeElements(free, elements, {ctx, root, target, locale},
                                 [&](double x) -> IssueSink& { return sinks[static_cast<size_t>(memberAt(x, count))]; }))
    elements.push_back(std::move(e));
  for (auto& sink : sinks)
    for (auto& issue : sink.take()) composed.issues.push_back(std::move(issue));

  IssueSink focusSink(focus.id, target.id, locale);
  fontIssues(elements, root, focusSink);
  for (auto& issue : focusSink.take()) composed.issues.push_back(std::move(issue));

  // Words cut by a seam, or running off the board.
  const Rect board{0, 0, W * count, H};
  for (const auto& e : elements) {
    if (e.kind != ElementLayout::Kind::text || e.decorative) continue;
    const Rect r = e.inkBounds();
    IssueSink sink(members[static_cast<size_t>(memberAt(r.midX() / W, count))]->id, target.id, locale);
    for (int k = 1; k < count; ++k) {
      const double seam = k * W;
      if (r.minX() < seam - 2 && r.maxX() > seam + 2)
        sink.warning("text.seam", e.label + " crosses the seam between slides " + members[k - 1]->id + " and " +
                                      members[k]->id + " and will be cut.",
                     e.uid());
    }
    if (!board.contains(r)) sink.warning("text.offcanvas", e.label + " runs past the edge of the spread.", e.uid());
    for (auto& issue : sink.take()) composed.issues.push_back(std::move(issue));
  }

  composed.spanningBackground = fill;
  composed.elements = sorted(std::move(elements));
  placementChecks(composed, members, &spread);
  return composed;
}

}  // namespace vorno
