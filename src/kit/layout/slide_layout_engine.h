// SlideLayoutEngine: from one slide of a project, for one store target and one locale, to a
// ComposedSlide: every element placed on the canvas in stacking order, the background, and the
// issues found on the way. Pure geometry and measuring: files are only tested for existence,
// image headers read and text measured; nothing is rasterised.
//
//   SlideLayoutEngine engine;                       // over DeviceCatalog::shared()
//   ComposedSlide c = engine.layout(project, root, *project.slide("intro"),
//                                   StoreTarget::iphone69(), "en-US");
//
// A slide that belongs to a spread is always laid as the whole spread, one board of n canvases.
// The engine holds only the read-only catalogue: one engine serves any number of threads.
#pragma once

#include "kit/devices/device_catalog.h"
#include "kit/devices/device_frame.h"
#include "kit/image/image.h"
#include "kit/layout/element_layout.h"
#include "kit/layout/issue_sink.h"
#include "kit/layout/style_context.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/util/geometry.h"

#include <functional>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace vorno {

class SlideLayoutEngine {
 public:
  explicit SlideLayoutEngine(const DeviceCatalog& catalog = DeviceCatalog::shared()) : catalog_(&catalog) {}

  /// A member of a spread being laid: the spread's fill, the member's index and the count.
  struct Board {
    Fill fill;
    int index = 0;
    int count = 1;
  };

  struct SlideResult {
    std::vector<ElementLayout> elements;
    std::vector<Issue> issues;
    Fill background;
    std::optional<std::string> frameID;
    std::optional<double> headlineFontSize;
  };

  /// The device a slot shows, resolved to a frame and a capture on disk.
  struct ResolvedDevice {
    DeviceFrame frame;
    std::optional<std::string> finish;
    std::optional<std::string> captureURL;
    std::optional<Size> captureSize;  ///< none when there is no readable capture
  };

  /// Lays a slide, or the spread it belongs to, on a target for a locale.
  ComposedSlide layout(const Project& project, const std::string& root, const Slide& slide, const StoreTarget& target,
                       const std::string& locale) const;
  /// Lays one slide's own frame: background, texts, device, free elements.
  SlideResult layoutSlide(const Slide& slide, const Project& project, const std::string& root,
                          const StoreTarget& target, const std::string& locale,
                          const std::optional<Board>& board = std::nullopt) const;
  /// Lays the members of a spread side by side as one board, with the spread's own elements.
  ComposedSlide layoutSpread(const Spread& spread, const std::vector<const Slide*>& members, const Slide& focus,
                             const Project& project, const std::string& root, const StoreTarget& target,
                             const std::string& locale) const;

  std::optional<ResolvedDevice> resolveDevice(const DeviceSlot& slot, const std::string& root,
                                              const StoreTarget& target, const std::string& locale,
                                              IssueSink& sink) const;
  std::optional<DeviceFrame> pickFrame(const DeviceSlot& slot, const std::optional<Size>& capture,
                                       const StoreTarget& target, IssueSink& sink) const;
  /// The first locale folder under captures/ ("en-US" first, then the others in order) in which
  /// the reference finds a file: that locale and the file's path.
  static std::optional<std::pair<std::string, std::string>> otherLocaleCapture(const std::string& reference,
                                                                               const std::string& root,
                                                                               const std::string& locale);
  ElementLayout deviceElement(const std::string& id, const std::string& label, const ElementOwner& owner,
                              const ResolvedDevice& resolved, const DeviceSlot& slot, const Rect& body,
                              double rotation, bool manual, double z, double opacity, double W, double H,
                              IssueSink& sink) const;
  std::optional<ElementLayout> freeElement(const SlideElement& element, const Placement& placement, bool manual,
                                           const ElementOwner& owner, double defaultZ, const StyleContext& context,
                                           const std::string& root, const StoreTarget& target,
                                           const std::string& locale, double W, double H, IssueSink& sink) const;

  /// The free elements of a slide or a spread, and where their placements come from.
  struct FreeElements {
    const std::vector<SlideElement>* list = nullptr;
    const std::map<std::string, SlideOverride>* overrides = nullptr;
    ElementOwner owner;
    double zBase = 2.0;  ///< the default z of the first; each next one 0.001 higher
    int slides = 1;      ///< canvases they stand on: a spread's member count
  };
  /// Lays free elements above `placed`, in their order: each by its own or a borrowed placement
  /// (free_elements.cc), or else in free space (FreeSpace) after the placed ones. Issues go to the
  /// sink `sinkAt` gives for the element's centre x, in slide units.
  std::vector<ElementLayout> layFreeElements(const FreeElements& run, const std::vector<ElementLayout>& placed,
                                             const StyleContext& context, const std::string& root,
                                             const StoreTarget& target, const std::string& locale,
                                             const std::function<IssueSink&(double)>& sinkAt) const;

  /// Where a free element stands when no target has a placement for it: centred, at a width
  /// that suits its kind. `slides` is the number of slides it spans (a spread's members).
  static Placement defaultPlacement(const SlideElement& element, int slides = 1);

  const DeviceCatalog& catalog() const { return *catalog_; }

 private:
  const DeviceCatalog* catalog_;
};

/// The content key of a text: every field that changes its pixels.
std::string textKey(const TextSpec& spec, double width, double opacity, bool shadow);
/// "font.local" and "font.missing" for the families the texts use.
void fontIssues(const std::vector<ElementLayout>& elements, const std::string& root, IssueSink& sink);
/// A hand-placed text: measured at its placement's width, never fitted.
ElementLayout textElement(const std::string& id, const std::string& label, const ElementOwner& owner, TextSpec spec,
                          const Placement& placement, double z, double opacity, bool shadow, bool manual, double W,
                          double H);
/// The issues of elements that leave a creative canvas's safe area, or are too small to read on it.
std::vector<Issue> safeAreaIssues(const std::vector<ElementLayout>& elements, const Rect& safe,
                                  const StoreTarget& target, const std::string& slide, const std::string& locale);

}  // namespace vorno
