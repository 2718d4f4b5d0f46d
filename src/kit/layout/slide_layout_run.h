// SlideLayoutRun: one slide laid out on one target for one locale, as a list of named steps
// (slide_layout_run.cc) over the state they share: the canvas, the style, the device, the text
// column and the stack of automatic texts. SlideLayoutEngine::layoutSlide makes one and runs it.
#pragma once

#include "kit/devices/device_renderer.h"
#include "kit/layout/issue_sink.h"
#include "kit/layout/slide_layout_engine.h"
#include "kit/layout/style_context.h"
#include "kit/text/text_layout.h"

#include <optional>
#include <string>
#include <vector>

namespace vorno {

class SlideLayoutRun {
 public:
  using SlideResult = SlideLayoutEngine::SlideResult;

  SlideLayoutRun(const SlideLayoutEngine& engine, const Slide& slide, const Project& project, const std::string& root,
                 const StoreTarget& target, const std::string& locale,
                 const std::optional<SlideLayoutEngine::Board>& board);

  /// Runs every step once, in order, and hands over the result.
  SlideResult lay();

 private:
  /// An eyebrow, headline or subhead in the automatic stack, fitted to the column.
  struct AutoText {
    std::string id;
    std::string label;
    TextSpec spec;
    Size size;
    TextRole role;
    double roleSize = 0;  ///< the role's size before caps, for the placement's fontScale
    int writtenLines = 1;
  };
  /// One of the slide's three texts, with the role it plays.
  struct NamedText {
    const char* id;
    const char* label;
    TextRole role;
    const LocalizedText* text;
  };

  void chooseArchetype();
  void chooseBackground();
  void makeStyleContext();
  void resolveSlideDevice();
  void placeDeviceByHand(double aspect);
  void placeColumnBesideDevice();
  void warnAboutMissingLocales();
  void fitTexts();
  void checkFittedHeadline(const TextLayout::Fitted& fitted, double specSize, int written);
  void shrinkStackIntoColumn();
  void placeStack();
  void placeDeviceUnderOrOverStack();
  void layStack();
  void layFreeElements();
  void checkTexts();

  double heightLimit(TextRole role) const;
  double stackHeight() const;

  const SlideLayoutEngine& engine_;
  const Slide& slide_;
  const Project& project_;
  const std::string& root_;
  const StoreTarget& target_;
  const std::string& locale_;
  const std::optional<SlideLayoutEngine::Board>& board_;
  const double W, H;
  const ElementOwner owner_;
  const bool wide_;  ///< a canvas with a safe area: the text stands beside the device
  IssueSink sink_;
  SlideResult result_;

  const SlideOverride* override_ = nullptr;
  Archetype archetype_ = Archetype::hero;
  double headlineScale_ = 1.0;
  Theme theme_;
  StyleContext style_;

  std::optional<DeviceSlot> slot_;
  std::optional<SlideLayoutEngine::ResolvedDevice> device_;
  std::optional<DeviceRenderer> renderer_;
  bool turned_ = false;
  double deviceOffset_ = 0;
  std::optional<double> deviceWidth_;
  std::optional<std::pair<Placement, bool>> devicePlacement_;
  double slotRotation_ = 0;
  Rect body_;
  double deviceRotation_ = 0;
  bool deviceManual_ = false;

  Rect column_;
  std::vector<AutoText> stack_;
  double gap_ = 0;
  double top_ = 0;
};

}  // namespace vorno
