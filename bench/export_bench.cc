// Export benchmark: the example package (examples/Demo.vorno: 7 slides on 3 targets in 2 locales
// and one header creative, 44 PNGs) exported whole with the process pool at a given size, into a
// fresh folder each run. Prints the file count, the median time of a whole export, the cost per
// file, and the peak memory of the process (one pool size per process, so peaks don't mix).
//
//   taskset -c 0 build/export_bench 1      # one core
//   build/export_bench 2                   # two cores
//
//   taskset -c 0 build/export_bench 1 3 6  # one core, the still set in 6 locales (132 files)
//
// With a locale count, the package becomes a set of stills of that many locales: the example's
// creative loses its motion, and each added locale (German, French, ...) takes the English texts
// and captures. Videos cost seconds each, so a still set is what measures the cost of a file.
//
// Compare the per-file figure with `taskset -c 0 build/render_bench slide`, line (b): an export
// should cost about one render-to-PNG per file, plus its read-back check. Every figure is the
// median of its runs, after one warm-up run that fills the image and font caches.
#include "bench/bench_stats.h"
#include "kit/export/exporter.h"
#include "kit/render/slide_renderer.h"
#include "kit/image/box_resampler.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/model/store_target.h"
#include "kit/model/project.h"
#include "kit/store/file_project_store.h"
#include "kit/util/thread_pool.h"
#include "tests/run_process.h"

#include <nlohmann/json.hpp>

#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace vorno;

namespace {

using vorno::bench::median;
using vorno::bench::peakMiB;

double cpuSeconds() {
  timespec now{};
  ::clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + now.tv_nsec * 1e-9;
}

/// Resident memory now, from /proc.
double residentMiB() {
  std::FILE* status = std::fopen("/proc/self/status", "r");
  if (!status) return 0;
  char line[256];
  double kib = 0;
  while (std::fgets(line, sizeof line, status))
    if (std::sscanf(line, "VmRSS: %lf kB", &kib) == 1) break;
  std::fclose(status);
  return kib / 1024.0;
}

/// Adds `locale` beside every English text of the document: any object keyed by locales.
void copyEnglishTexts(nlohmann::json& node, const std::string& locale) {
  if (node.is_object()) {
    if (node.contains("en-US") && node["en-US"].is_string()) node[locale] = node["en-US"];
    for (auto& [key, value] : node.items()) copyEnglishTexts(value, locale);
  } else if (node.is_array()) {
    for (auto& value : node) copyEnglishTexts(value, locale);
  }
}

/// Turns the copied example into a set of stills in `locales` locales (see the top of this file).
void makeStillSet(const fs::path& root, size_t locales) {
  static const char* const added[] = {"de-DE", "fr-FR", "es-ES", "it-IT", "pt-BR", "nl-NL", "ko-KR", "sv-SE"};
  nlohmann::json project = nlohmann::json::parse(std::ifstream(root / "project.json"));
  for (auto& creative : project["creatives"]) creative.erase("motion");
  for (size_t index = 0; project["locales"].size() < locales && index < std::size(added); ++index) {
    const std::string locale = added[index];
    copyEnglishTexts(project, locale);
    project["locales"].push_back(locale);
    fs::copy(root / "captures" / "en-US", root / "captures" / locale, fs::copy_options::recursive);
  }
  std::ofstream(root / "project.json") << project.dump(2);
}

}  // namespace

/// The same pictures the export writes, drawn one at a time through the path `vorno render` takes
/// (lay out, draw, write the PNG), in the export's drawing order and under its cache limits: what
/// the files cost without the export around them.
void plainRenders(const Project& project, const FileProjectStore& store, const fs::path& scratch, int runs) {
  ImageCache::Limit captureLimit(ImageCache::shared(), Exporter::captureBudget);
  BoxResampler::CacheLimit resampleLimit(Exporter::resampleBudget);
  struct Picture {
    const Slide* slide;
    StoreTarget target;
    std::string locale;
  };
  std::vector<Picture> pictures;
  for (const auto& locale : project.locales)
    for (const auto& slide : project.slides)
      for (const auto& id : project.targets)
        if (const StoreTarget* target = StoreTarget::named(id)) pictures.push_back({&slide, *target, locale});
  for (const auto& creative : project.creatives)
    for (const auto& locale : project.locales)
      if (const StoreTarget* canvas = StoreTarget::canvas(creative.canvas)) pictures.push_back({&creative.slide, *canvas, locale});
  SlideRenderer renderer;
  const fs::path folder = scratch / "plain";
  fs::create_directories(folder);
  std::vector<double> seconds, cpu;
  for (int run = 0; run <= runs; ++run) {
    const auto start = std::chrono::steady_clock::now();
    const double cpuStart = cpuSeconds();
    size_t count = 0;
    for (const Picture& picture : pictures) {
      RenderOutput out = renderer.render(project, store.root().string(), *picture.slide, picture.target, picture.locale, 1.0);
      Images::write(out.image, (folder / (std::to_string(count++) + ".png")).string(), Images::ImageType::png);
    }
    const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
    if (run > 0) {
      seconds.push_back(took.count());
      cpu.push_back(cpuSeconds() - cpuStart);
    }
  }
  const double files = static_cast<double>(pictures.size());
  std::printf("the same %zu pictures rendered one at a time (`vorno render`'s path): median %.2f s over %d runs, %.1f ms "
              "per file, CPU %.1f ms per file, peak memory %.0f MiB\n",
              pictures.size(), median(seconds), runs, 1000 * median(seconds) / files, 1000 * median(cpu) / files,
              peakMiB());
}

int main(int argc, char** argv) {
  if (argc < 2) {
    std::fprintf(stderr, "usage: export_bench <threads> [runs] [locales]\n       export_bench plain [runs] [locales]\n");
    return 64;
  }
  const bool plain = std::string(argv[1]) == "plain";
  const size_t threads = plain ? 1 : static_cast<size_t>(std::max(1, std::atoi(argv[1])));
  const int runs = argc > 2 ? std::max(1, std::atoi(argv[2])) : 5;
  const int stillLocales = argc > 3 ? std::atoi(argv[3]) : 0;
  ThreadPool::setConcurrency(threads);

  // The example, copied so that its own exports folder is never touched.
  const fs::path scratch = testing::makeTempFolder("vorno-export-bench");
  const fs::path root = scratch / "Demo.vorno";
  const fs::path source = fs::path(testing::sourceDir()) / "examples" / "Demo.vorno";
  fs::create_directories(root);
  for (const char* part : {"project.json", "captures", "assets"})
    if (fs::exists(source / part)) fs::copy(source / part, root / part, fs::copy_options::recursive);

  try {
    if (stillLocales > 0) makeStillSet(root, static_cast<size_t>(stillLocales));
    FileProjectStore store(root);
    const Project project = store.load();
    if (plain) {
      plainRenders(project, store, scratch, runs);
      fs::remove_all(scratch);
      return 0;
    }
    // What the process holds before any picture: libraries, fonts and one layout's caches.
    SlideRenderer().engine().layout(project, root.string(), project.slides.front(), StoreTarget::iphone69(), "en-US");
    std::printf("resident before the export: %.0f MiB (libraries, fonts, a layout)\n", residentMiB());
    Exporter exporter;
    size_t files = 0;
    std::vector<double> seconds, cpu;
    for (int run = 0; run <= runs; ++run) {
      const fs::path into = scratch / ("run" + std::to_string(run));
      const auto start = std::chrono::steady_clock::now();
      const double cpuStart = cpuSeconds();
      ExportSummary summary = exporter.exportProject(project, store, {.into = into});
      const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
      files = summary.files.size();
      if (run > 0) {  // run 0 warms the caches
        seconds.push_back(took.count());
        cpu.push_back(cpuSeconds() - cpuStart);
      }
      fs::remove_all(into);
      if (run == 0)
        std::printf("after the first run the image cache holds %.1f MiB\n", ImageCache::shared().byteCount() / 1048576.0);
    }
    const double whole = median(seconds);
    std::sort(seconds.begin(), seconds.end());
    std::printf("export of the %s, %zu files, pool of %zu: median %.2f s (%.2f...%.2f) over %d runs, %.1f ms per "
                "file, CPU %.1f ms per file, peak memory %.0f MiB (layer budget %lld MiB)\n",
                stillLocales > 0 ? "still set" : "example", files, threads, whole, seconds.front(), seconds.back(), runs, 1000 * whole / static_cast<double>(files),
                1000 * median(cpu) / static_cast<double>(files), peakMiB(),
                static_cast<long long>(Exporter::layerBudget >> 20));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "export_bench: %s\n", error.what());
    fs::remove_all(scratch);
    return 1;
  }
  fs::remove_all(scratch);
  return 0;
}
