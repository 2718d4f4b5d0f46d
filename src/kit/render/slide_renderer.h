// SlideRenderer: stacks the layers of a composed slide into one opaque picture and says, in a
// RenderReport, what came out. It also hands out the layers one by one (`render --layers`) and
// draws whole spreads as one board.
//
//   SlideRenderer renderer;
//   RenderOutput out = renderer.render(project, root, *project.slide("intro"),
//                                      StoreTarget::iphone69(), "en-US", 1.0);
//
// A value holding a layout engine; one renderer serves any number of threads. The layers of one
// picture are drawn one after the other: parallelism belongs to the callers (contact sheets,
// exports), which may share a LayerCache.
#pragma once

#include "kit/image/image.h"
#include "kit/layout/element_layout.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/render/render_report.h"

#include <string>
#include <vector>

namespace vorno {

class LayerCache;

struct RenderOutput {
  Image image;
  RenderReport report;
};

/// One layer of a picture: the full slice, transparent but for the element (the background
/// layer is opaque).
struct ExportedLayer {
  std::string id;
  std::string label;
  Image image;
};

class SlideRenderer {
 public:
  explicit SlideRenderer(const DeviceCatalog& catalog = DeviceCatalog::shared()) : engine_(catalog) {}
  explicit SlideRenderer(SlideLayoutEngine engine) : engine_(engine) {}

  /// Lays the slide out and draws its own slice at `scale` (clamped to 0.02...1).
  RenderOutput render(const Project& project, const std::string& root, const Slide& slide, const StoreTarget& target,
                      const std::string& locale, double scale, LayerCache* layers = nullptr) const;

  /// The slide's own slice. Throws the first layer's failure, or io "Render failed.".
  static Image composite(const ComposedSlide& composed, double scale, LayerCache* layers = nullptr);
  /// One slice of the board: background and every element that reaches into it.
  static Image composite(const ComposedSlide& composed, int slice, double scale, LayerCache* layers = nullptr);
  /// The keys `composite` asks `layers` for, one per element use: what an export plans its
  /// LayerCache with.
  static std::vector<std::string> layerKeys(const ComposedSlide& composed, int slice, double scale);
  /// The whole board (every slice of a spread) as one picture, drawn smaller than `scale` asks
  /// when the picture would be past the bound of a layer (see boardIssues).
  static Image compositeBoard(const ComposedSlide& composed, double scale);
  /// What drawing the board at `scale` gave way on: a "spread.reduced" warning, or nothing.
  static std::vector<Issue> boardIssues(const ComposedSlide& composed, double scale);
  /// The background, then each element that reaches the slice, each as a full slice.
  static std::vector<ExportedLayer> layers(const ComposedSlide& composed, int slice, double scale);
  /// The report of a picture made of `composed`'s own slice.
  static RenderReport report(const ComposedSlide& composed, const Image& image);

  /// Whether an element's layer reaches into the slice at all (its rotated, scaled layer
  /// rectangle, bleed included); what doesn't is never drawn.
  static bool reachesSlice(const ElementLayout& element, int slice, const StoreTarget& target);

  const SlideLayoutEngine& engine() const { return engine_; }

 private:
  SlideLayoutEngine engine_;
};

}  // namespace vorno
