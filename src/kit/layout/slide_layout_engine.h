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

/// Who a laid element is: its id, the label its issues use, and what owns it.
struct ElementName {
  std::string id;
  std::string label;
  ElementOwner owner;
};

/// How a placed element stands among the others, and whether a hand placed it.
struct Stacking {
  double z = 0;
  double opacity = 1;
  bool shadow = false;
  bool manual = false;
};

/// Where a device's body stands on the canvas, and how.
struct DeviceStand {
  Rect body;
  double rotation = 0;
  bool manual = false;
  double z = 0;
  double opacity = 1;
};

/// What free elements are laid for: the style they take, the package, the target and locale.
struct LayingScope {
  const StyleContext& style;
  const std::string& root;
  const StoreTarget& target;
  const std::string& locale;
};

/// Where one free element goes: its placement (by hand or by default), its owner, and the z it
/// takes when it names none.
struct FreeElementPlace {
  Placement placement;
  bool manual = false;
  ElementOwner owner;
  double defaultZ = 2.0;
};

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
  /// Lays one slide's own frame: background, texts, device, free elements (SlideLayoutRun).
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
  /// A resolved device standing on a canvas of `canvas` pixels, with the capture's issues
  /// (device_resolution.cc).
  ElementLayout deviceElement(const ElementName& name, const ResolvedDevice& resolved, const DeviceSlot& slot,
                              const DeviceStand& stand, Size canvas, IssueSink& sink) const;
  /// One free element of any kind, or none when it doesn't show on this target (free_element.cc).
  std::optional<ElementLayout> freeElement(const SlideElement& element, const FreeElementPlace& place,
                                           const LayingScope& scope, IssueSink& sink) const;

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
                                             const LayingScope& scope,
                                             const std::function<IssueSink&(double)>& sinkAt) const;

  /// Where a free element stands when no target has a placement for it: centred, at a width
  /// that suits its kind. `slides` is the number of slides it spans (a spread's members).
  static Placement defaultPlacement(const SlideElement& element, int slides = 1);

  const DeviceCatalog& catalog() const { return *catalog_; }

 private:
  const DeviceCatalog* catalog_;
};

/// "font.local" and "font.missing" for the families the texts use.
void fontIssues(const std::vector<ElementLayout>& elements, const std::string& root, IssueSink& sink);
/// The issues of elements that leave a creative canvas's safe area, or are too small to read on it.
std::vector<Issue> safeAreaIssues(const std::vector<ElementLayout>& elements, const Rect& safe,
                                  const StoreTarget& target, const std::string& slide, const std::string& locale);

}  // namespace vorno
