// The loop is rendered a batch at a time: the frames of a batch are drawn at once on the thread
// pool, each on its own (a frame is a pure function of the time), then handed in order to the
// encoder, which works on its own thread while the next batch renders. A batch is never more than
// 12 frames and at most two are held at once, so memory stays bounded at any size.
#include "kit/video/video_exporter.h"

#include "kit/image/images.h"
#include "kit/image/picture_pools.h"
#include "kit/model/creative.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/layer_cache.h"
#include "kit/util/thread_pool.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "kit/video/batch_encoder.h"
#include "kit/video/video_writer.h"

#include <algorithm>
#include <cmath>
#include <exception>
#include <mutex>

namespace vorno {

namespace {

constexpr double kSeamCheckScale = 0.15;

}  // namespace

Size VideoExporter::videoSize(const StoreTarget& canvas) {
  auto [width, height] = canvas.videoSize();
  return {static_cast<double>(width), static_cast<double>(height)};
}

int VideoExporter::batchSize() {
  return static_cast<int>(std::clamp<size_t>(ThreadPool::concurrency(), 2, 12));
}

Image VideoExporter::loopPicture(const MotionFrame& frame, const Project& project, const std::string& root,
                                 const Creative& creative, const std::string& locale, const StoreTarget& canvas,
                                 LayerCache& layers) const {
  std::optional<ComposedSlide> composed = motion_.layout(project, root, creative, locale, frame, &canvas);
  if (!composed) throw VornoError::invalid("Unknown canvas " + creative.canvas + ".");
  return SlideRenderer::composite(*composed, 0, kSeamCheckScale, &layers);
}

std::vector<Issue> VideoExporter::write(const Project& project, const std::string& root, const Creative& creative,
                                        const std::string& locale, const FileBelow& file,
                                        const Progress& progress, const StoreTarget* given) const {
  const StoreTarget* canvas = StoreTarget::canvas(creative.canvas);
  if (!canvas)
    throw VornoError::invalid("Creative " + creative.id() + " is on canvas " + creative.canvas +
                              ", which Vorno doesn't know.");
  if (given) canvas = given;
  if (!creative.motion) throw VornoError::invalid(creative.id() + " has no motion.");
  if (canvas->id == StoreTarget::appStoreUniversal().id)
    throw VornoError::invalid(canvas->name +
                              " art is a still: App Store Connect takes video for the header and search results only.");

  const Motion& motion = *creative.motion;
  const Size size = videoSize(*canvas);
  const double scale = size.width / canvas->width;
  const int fps = motion.resolvedFPS();
  const int count = motion.frameCount();

  VideoWriter writer(file, static_cast<int>(size.width), static_cast<int>(size.height), fps);
  LayerCache layers(layerBudget);
  const int batch = batchSize();

  // While the pool renders a batch, the encoder's thread converts and encodes the one before.
  BatchEncoder encoder(writer);
  int reported = 0;
  auto report = [&](int done) {
    if (!progress || done <= reported) return;
    reported = done;
    progress(done, count);
  };
  for (int first = 0; first < count; first += batch) {
    std::vector<Image> frames(static_cast<size_t>(std::min(batch, count - first)));
    std::mutex lock;
    std::exception_ptr failure;
    ThreadPool::parallelFor(frames.size(), [&](size_t i) {
      try {
        const double time = static_cast<double>(first + static_cast<int>(i)) / fps;
        Image image = motion_.frame(project, root, creative, locale, time, scale, &layers, canvas).image;
        std::lock_guard guard(lock);
        frames[i] = std::move(image);
      } catch (...) {
        std::lock_guard guard(lock);
        if (!failure) failure = std::current_exception();
      }
    });
    if (failure) std::rethrow_exception(failure);
    encoder.hand(std::move(frames));
    report(encoder.appended());
  }
  encoder.close();
  writer.finish();
  report(count);
  // The frames' surfaces served the whole loop; nothing of this size comes next.
  PicturePools::drain();

  // The loop check: where the loop ends, just before it wraps, must look like where it starts.
  std::vector<Issue> issues;
  if (Images::pixelDifference(loopPicture(motion.frame(0), project, root, creative, locale, *canvas, layers),
                              loopPicture(motion.loopEnd(), project, root, creative, locale, *canvas, layers)) > seamTolerance) {
    Issue seam(Issue::Severity::warning, "motion.seam",
               "The loop jumps: the frame after the last isn't the first. End every track where it starts, or use "
               "waves (whole cycles) and scenes.");
    seam.slide = creative.id();
    seam.target = canvas->id;
    seam.locale = locale;
    issues.push_back(std::move(seam));
  }
  return issues;
}

}  // namespace vorno
