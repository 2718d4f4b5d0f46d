// Video benchmark: a 10 s, 30 fps product page header (3840 × 1646) with a device showing one of
// the example's captures, a headline and two scenes whose words change, rendered and encoded end
// to end to an MP4. Then the same loop split in its parts: the frames rendered alone (in the
// exporter's batches, nothing encoded), and those frames' encoding alone (pictures rendered
// beforehand, handed to the writer). Prints medians over the runs, the real-time factor (loop
// seconds per second of work), and the process's peak memory, which the frame batches bound.
//
//   build/video_bench [runs]          # default 3 runs, after one warm-up
#include "bench/bench_stats.h"
#include "kit/image/images.h"
#include "kit/model/creative.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_renderer.h"
#include "kit/render/layer_cache.h"
#include "kit/store/file_project_store.h"
#include "kit/util/thread_pool.h"
#include "kit/util/write_paths.h"
#include "kit/video/video_exporter.h"
#include "kit/video/video_writer.h"
#include "tests/run_process.h"

#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace vorno;

namespace {

using vorno::bench::median;
using vorno::bench::peakMiB;

double secondsOf(const std::function<void()>& work) {
  const auto start = std::chrono::steady_clock::now();
  work();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

const char* kProject = R"({"schemaVersion": 5, "appName": "Crewday", "locales": ["en-US"], "targets": ["ios.iphone-6.9"],
  "theme": {"background": "#F4F1EA", "invertedBackground": "#14171D", "foreground": "#14171D",
            "invertedForeground": "#FFFFFF", "accent": "#E4572E", "muted": "#6B7280", "headlineWeight": "bold"},
  "slides": [],
  "creatives": [{"canvas": "ios.header", "id": "header", "archetype": "hero",
    "headline": "Your crew's week, **sorted**",
    "device": {"screenshot": "captures/en-US/week.png", "rotation": -6},
    "motion": {"duration": 10, "fps": 30,
      "scenes": [{"duration": 5, "texts": {"headline": "Your crew's week, **sorted**"}},
                 {"duration": 5, "texts": {"headline": "Shifts swap in **one tap**"}}],
      "transition": {"style": "rise", "duration": 1.1},
      "tracks": {"device": [{"t": 0, "y": 0.56}, {"t": 5, "y": 0.52}, {"t": 10, "y": 0.56}]},
      "waves": {"camera": [{"property": "scale", "amplitude": 0.01, "cycles": 1}]}}}]})";

}  // namespace

int main(int argc, char** argv) {
  const int runs = argc > 1 ? std::max(1, std::atoi(argv[1])) : 3;
  const fs::path scratch = testing::makeTempFolder("vorno-video-bench");
  const fs::path root = scratch / "Bench.vorno";
  fs::create_directories(root / "captures" / "en-US");
  fs::copy_file(fs::path(testing::sourceDir()) / "examples/Demo.vorno/captures/en-US/week.png",
                root / "captures/en-US/week.png");
  std::FILE* json = std::fopen((root / "project.json").c_str(), "w");
  std::fputs(kProject, json);
  std::fclose(json);

  try {
    FileProjectStore store(root);
    const Project project = store.load();
    const Creative& creative = project.creatives.front();
    const Motion& motion = *creative.motion;
    const std::string file = (scratch / "header.mp4").string();
    const int count = motion.frameCount();
    std::printf("%d frames of %d × %d at %d fps on %zu threads, batches of %d\n", count,
                StoreTarget::appStoreHeader().width, StoreTarget::appStoreHeader().height, motion.resolvedFPS(),
                ThreadPool::concurrency(), VideoExporter::batchSize());

    VideoExporter exporter;
    std::vector<double> whole;
    for (int run = 0; run <= runs; ++run) {
      double took =
          secondsOf([&] { exporter.write(project, root.string(), creative, "en-US", {scratch, "header.mp4"}); });
      if (run > 0) whole.push_back(took);
    }
    std::printf("render + encode: median %.2f s over %d runs, %.2f× real time, %.1f ms a frame, %.1f MiB file\n",
                median(whole), runs, motion.resolvedDuration() / median(whole), 1000 * median(whole) / count,
                static_cast<double>(fs::file_size(file)) / (1 << 20));
    std::printf("peak memory after the whole runs: %.0f MiB\n", peakMiB());

    // The parts: the frames alone, batch by batch as the exporter draws them, kept for the writer.
    MotionRenderer renderer;
    std::vector<Image> frames(static_cast<size_t>(count));
    std::vector<double> rendering, encoding;
    const int batch = VideoExporter::batchSize();
    for (int run = 0; run < runs; ++run) {
      LayerCache layers(VideoExporter::layerBudget);
      rendering.push_back(secondsOf([&] {
        for (int first = 0; first < count; first += batch)
          ThreadPool::parallelFor(static_cast<size_t>(std::min(batch, count - first)), [&](size_t i) {
            const int index = first + static_cast<int>(i);
            frames[static_cast<size_t>(index)] =
                renderer.frame(project, root.string(), creative, "en-US", static_cast<double>(index) / motion.resolvedFPS(),
                               1.0, &layers)
                    .image;
          });
      }));
      encoding.push_back(secondsOf([&] {
        VideoWriter writer(file, StoreTarget::appStoreHeader().width, StoreTarget::appStoreHeader().height,
                           motion.resolvedFPS());
        for (const Image& frame : frames) writer.append(frame);
        writer.finish();
      }));
    }
    std::printf("render alone: median %.2f s (%.1f ms a frame)\n", median(rendering), 1000 * median(rendering) / count);
    std::printf("encode alone (colour conversion included): median %.2f s (%.1f ms a frame)\n", median(encoding),
                1000 * median(encoding) / count);
  } catch (const std::exception& error) {
    std::fprintf(stderr, "video_bench: %s\n", error.what());
    fs::remove_all(scratch);
    return 1;
  }
  fs::remove_all(scratch);
  return 0;
}
