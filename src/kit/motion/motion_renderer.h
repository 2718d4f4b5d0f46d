// MotionRenderer: a creative in motion at one moment. It prepares the slide for the moment (the
// scene's words and captures, the frame of an image sequence, the picture of a recording), lays
// it out, joins two scenes during a hand-over, and lets MotionComposer move every element by its
// pose and the camera. `frame` draws the moment; `filmstrip` lays frames across the loop on one
// sheet.
//
//   MotionRenderer motion;
//   LayerCache layers(512 << 20);
//   auto [image, composed] = motion.frame(project, root, creative, "en-US", 2.5, 1.0, &layers);
//
// Everything is a function of the document and the time, so frames may be drawn alone, in any
// order and on many threads at once; the LayerCache handed in lets elements that don't change
// between frames be drawn once.
#pragma once

#include "kit/image/image.h"
#include "kit/layout/element_layout.h"
#include "kit/render/slide_renderer.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

struct Creative;
struct Motion;
struct MotionFrame;
struct Project;
struct StoreTarget;
class LayerCache;

class MotionRenderer {
 public:
  explicit MotionRenderer(SlideRenderer renderer = SlideRenderer()) : renderer_(std::move(renderer)) {}

  struct Frame {
    Image image;
    ComposedSlide composed;
  };

  // The filmstrip (motion_filmstrip.cc).
  struct Filmstrip {
    Image image;
    std::vector<double> times;  ///< of the tiles, in order
    std::vector<Issue> issues;
  };

  /// The creative laid out at `time` with every element in its pose; a creative without motion
  /// is laid out as a still. Nothing only when its canvas is unknown.
  std::optional<ComposedSlide> layout(const Project& project, const std::string& root, const Creative& creative,
                                      const std::string& locale, double time) const;
  /// The same for a sampled moment of the creative's motion (`Motion::frame`, `Motion::loopEnd`),
  /// on `canvas` when given (an export may draw a creative smaller), else its own.
  std::optional<ComposedSlide> layout(const Project& project, const std::string& root, const Creative& creative,
                                      const std::string& locale, const MotionFrame& frame,
                                      const StoreTarget* canvas = nullptr) const;

  /// The picture of the moment at `scale`. Throws invalid "Unknown canvas <id>." and what
  /// drawing throws.
  Frame frame(const Project& project, const std::string& root, const Creative& creative, const std::string& locale,
              double time, double scale, LayerCache* layers = nullptr, const StoreTarget* canvas = nullptr) const;

  /// `count` moments spread evenly over the loop (at least 2), tiled on a sheet `width` pixels
  /// wide, each labelled with its time; with `guides`, every tile shows the safe area.
  Filmstrip filmstrip(const Project& project, const std::string& root, const Creative& creative,
                      const std::string& locale, int count, int width, bool guides) const;

  /// The two layouts of a hand-over joined at `progress`: what stays alike stays put, what
  /// changes leaves in the first part and arrives, marked `incoming`, in the second. Whether an
  /// element is shown at all in either scene is the business of the frame's scene poses.
  static ComposedSlide handOver(const ComposedSlide& from, const ComposedSlide& to, double progress,
                                const Motion& motion);

  /// The smallest fitted size of each text over all scenes, by element id, so that the type
  /// stays one size while only the words change. Empty when no scene changes words.
  std::map<std::string, double> textCaps(const Project& project, const std::string& root, const Creative& creative,
                                         const std::string& locale, const StoreTarget* canvas = nullptr) const;

  /// The filmstrip's columns for `count` tiles: up to 4 in one row, 3 for 5 or 6, else 4.
  static int filmstripColumns(int count);

  const SlideRenderer& renderer() const { return renderer_; }

 private:
  SlideRenderer renderer_;
};

}  // namespace vorno
