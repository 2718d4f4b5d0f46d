// VideoExporter: a creative's loop as a looping H.264 MP4. Frames are rendered in batches across
// the cores while the encoder takes them in order, and the loop is checked for a seam: the
// frame after the last must be the first.
//
//   VideoExporter exporter;
//   std::vector<Issue> issues = exporter.write(project, root, *project.creative("header"), "en-US",
//                                              {root, "renders/header.mp4"}, [](int done, int total) { ... });
#pragma once

#include "kit/model/issue.h"
#include "kit/motion/motion_renderer.h"
#include "kit/util/geometry.h"

#include <functional>
#include <string>
#include <vector>

namespace vorno {

struct Creative;
struct FileBelow;
struct MotionFrame;
class LayerCache;
struct Project;
struct StoreTarget;

class VideoExporter {
 public:
  /// Frames done so far and the frame count, after each batch.
  using Progress = std::function<void(int done, int total)>;

  /// Bytes of element layers kept between the frames of one video.
  static constexpr int64_t layerBudget = int64_t{512} << 20;
  /// Share of visibly different pixels above which the loop's ends don't meet.
  static constexpr double seamTolerance = 0.002;

  explicit VideoExporter(MotionRenderer motion = MotionRenderer()) : motion_(std::move(motion)) {}

  /// Renders and encodes the loop into `file` (its folders below its base reached without
  /// following a link), and returns what the loop check found. Throws invalid for an unknown
  /// canvas, a creative without motion or the universal canvas, and what rendering and encoding
  /// throw. `canvas` overrides the creative's own (an export may draw it smaller).
  std::vector<Issue> write(const Project& project, const std::string& root, const Creative& creative,
                           const std::string& locale, const FileBelow& file, const Progress& progress = {},
                           const StoreTarget* canvas = nullptr) const;

  /// The video's pixel size on a canvas: the canvas's own, except search results, whose video is
  /// 3072 × 2048 (four fifths of the canvas).
  static Size videoSize(const StoreTarget& canvas);
  /// Frames rendered at once: the machine's threads, at least 2, at most 12, which bounds the
  /// memory held by frames waiting for the encoder.
  static int batchSize();

 private:
  /// A small picture of one sampled moment, for the loop check.
  Image loopPicture(const MotionFrame& frame, const Project& project, const std::string& root,
                    const Creative& creative, const std::string& locale, const StoreTarget& canvas,
                    LayerCache& layers) const;

  MotionRenderer motion_;
};

}  // namespace vorno
