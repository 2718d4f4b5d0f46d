// Render benchmarks: a typical slide at 1320 x 2868 (gradient background, eyebrow, a two-line
// headline with an emphasised word, a subhead, a device with a capture and its shadow, a blurred
// shape and a rating), (a) to pixels and (b) to a PNG file; (c) the whole `vorno render` process
// for that slide; (d) a ten-slide contact sheet with the pool at a given size, with peak memory;
// (e) ten such slides exported, per file, to compare with (b); (f) blurs of a 2000 x 2000 picture
// at a narrow and a wide radius, which should cost about the same.
//
//   taskset -c 0 build/render_bench slide            # (a), (b) and (e), one core
//   taskset -c 0 build/render_bench process          # (c)
//   build/render_bench sheet 1; build/render_bench sheet 2   # (d), one process each for memory
//   taskset -c 0 build/render_bench blur             # (f)
//
// Every figure is the median of its runs, after one warm-up run that fills the caches.
#include "bench/bench_stats.h"
#include "kit/export/exporter.h"
#include "kit/image/blur.h"
#include "kit/image/images.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/render/contact_sheet.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_project_store.h"
#include "kit/util/thread_pool.h"
#include "tests/run_process.h"

#include <cairo.h>
#include <sys/resource.h>
#include <time.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using namespace vorno;

namespace {

using vorno::bench::median;
using vorno::bench::peakMiB;

// A capture that looks like an app screen: a gradient header, cards and rows of "text".
void writeCapture(const fs::path& path) {
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1320, 2868);
  cairo_t* cr = cairo_create(surface);
  cairo_set_source_rgb(cr, 0.96, 0.97, 0.99);
  cairo_paint(cr);
  cairo_pattern_t* header = cairo_pattern_create_linear(0, 0, 1320, 700);
  cairo_pattern_add_color_stop_rgb(header, 0, 0.23, 0.35, 0.95);
  cairo_pattern_add_color_stop_rgb(header, 1, 0.55, 0.25, 0.9);
  cairo_set_source(cr, header);
  cairo_rectangle(cr, 0, 0, 1320, 700);
  cairo_fill(cr);
  cairo_pattern_destroy(header);
  for (int i = 0; i < 8; ++i) {
    double y = 780 + i * 250;
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_rectangle(cr, 60, y, 1200, 210);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.2 + 0.08 * i, 0.6, 0.5);
    cairo_arc(cr, 170, y + 105, 60, 0, 2 * M_PI);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.25, 0.27, 0.3);
    cairo_rectangle(cr, 270, y + 60, 600 - 30 * i, 34);
    cairo_fill(cr);
    cairo_set_source_rgb(cr, 0.65, 0.67, 0.7);
    cairo_rectangle(cr, 270, y + 120, 820, 26);
    cairo_fill(cr);
  }
  cairo_surface_write_to_png(surface, path.c_str());
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
}

std::string slideJSON(int index) {
  const char* words[] = {"whole week", "every job", "the route", "quotes", "payments",
                         "your crew", "the map", "invoices", "the calendar", "reviews"};
  return std::string(R"({"id": "s)") + std::to_string(index) + R"(", "archetype": "hero",
    "background": {"angle": 170, "linear": ["#FFD9C2", "#F2A07B"]},
    "eyebrow": "PLAN", "headline": "Plan **)" + words[index % 10] + R"(** at a glance",
    "subhead": "Jobs, crews and routes in one calm view.",
    "device": {"screenshot": "captures/{locale}/home.png"},
    "elements": [
      {"id": "glow", "kind": "shape", "shape": "circle", "fill": "#FFFFFF", "opacity": 0.5, "blur": 0.04},
      {"id": "stars", "kind": "component", "component": {"type": "rating", "value": 4.8, "style": "clear",
       "title": "Loved by 20,000 crews"}}],
    "overrides": {"ios.iphone-6.9": {"placements": {"glow": {"x": 0.2, "y": 0.85, "width": 0.3},
      "stars": {"x": 0.5, "y": 0.93, "width": 0.6}}}}})";
}

fs::path makePackage(int slides, const std::string& name = "Bench.vorno") {
  fs::path root = fs::temp_directory_path() / ("vorno-render-bench-" + std::to_string(::getpid())) / name;
  fs::create_directories(root / "captures" / "en-US");
  writeCapture(root / "captures" / "en-US" / "home.png");
  std::string list;
  for (int i = 0; i < slides; ++i) list += (i ? ", " : "") + slideJSON(i);
  std::ofstream(root / "project.json") << R"({"schemaVersion": 5, "appName": "Bench", "locales": ["en-US"],
    "targets": ["ios.iphone-6.9"], "theme": {"background": "#FFFFFF", "invertedBackground": "#000000",
    "foreground": "#1A1A1A", "invertedForeground": "#FFFFFF", "accent": "#E8552D", "muted": "#6B6B6B",
    "headlineWeight": "heavy"}, "slides": [)" << list << "]}";
  return root;
}

double cpuMilliseconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) * 1e3 + now.tv_nsec * 1e-6;
}

double lastCPU = 0;  // the median CPU time of the last timeMedian, in ms

double timeMedian(int runs, const std::function<void()>& body) {
  body();  // warm-up: fonts, captures and frames loaded once
  std::vector<double> ms, cpu;
  for (int i = 0; i < runs; ++i) {
    auto start = std::chrono::steady_clock::now();
    const double cpuStart = cpuMilliseconds();
    body();
    ms.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
    cpu.push_back(cpuMilliseconds() - cpuStart);
  }
  lastCPU = median(cpu);
  return median(ms);
}

}  // namespace

int main(int argc, char** argv) {
  std::string mode = argc > 1 ? argv[1] : "slide";
  const int runs = 15;
  fs::path root = makePackage(mode == "sheet" ? 10 : 1);
  Project project = FileProjectStore(root).load();
  const StoreTarget& target = StoreTarget::iphone69();
  SlideRenderer renderer;

  if (mode == "slide") {
    double pixels = timeMedian(runs, [&] {
      renderer.render(project, root.string(), project.slides[0], target, "en-US", 1.0);
    });
    fs::path file = root / "renders" / "bench.png";
    fs::create_directories(file.parent_path());
    const double pixelsCPU = lastCPU;
    double png = timeMedian(runs, [&] {
      RenderOutput out = renderer.render(project, root.string(), project.slides[0], target, "en-US", 1.0);
      Images::write(out.image, file.string(), Images::ImageType::png);
    });
    const double pngCPU = lastCPU;
    std::printf("(a) slide to pixels, 1320 x 2868: median %.1f ms (CPU %.1f ms) over %d runs\n", pixels, pixelsCPU,
                runs);
    std::printf("(b) slide to a PNG file: median %.1f ms (CPU %.1f ms) over %d runs (%.0f KiB)\n", png, pngCPU, runs,
                fs::file_size(file) / 1024.0);
    // (e) The same kind of slide through the export: ten of them (each its own headline) on this
    // target and locale, on one thread, into a fresh folder each time.
    ThreadPool::setConcurrency(1);
    fs::path set = makePackage(10, "Set.vorno");
    FileProjectStore store(set);
    Project ten = store.load();
    Exporter exporter;
    int run = 0;
    double exported = timeMedian(runs, [&] {
      exporter.exportProject(ten, store,
                             {std::vector<StoreTarget>{target}, std::vector<std::string>{"en-US"}, ExportLayout::vorno,
                              set / ("exports-" + std::to_string(run++))});
    });
    std::printf("(e) the same kind of slide exported, ten per export on one thread: median %.1f ms per file (CPU %.1f "
                "ms), %.2f times (b)\n",
                exported / 10, lastCPU / 10, exported / 10 / png);
  } else if (mode == "process") {
    double process = timeMedian(runs, [&] {
      auto result = testing::runVorno({"render", "--project", root.string()});
      if (result.status != 0) std::fprintf(stderr, "%s", result.err.c_str());
    });
    std::printf("(c) vorno render, whole process: median %.1f ms over %d runs\n", process, runs);
  } else if (mode == "sheet") {
    size_t threads = argc > 2 ? std::stoul(argv[2]) : 0;
    ThreadPool::setConcurrency(threads);
    double sheet = timeMedian(5, [&] { ContactSheet::render(project, root.string(), target, "en-US", renderer, 900); });
    std::printf("(d) ten-slide contact sheet, pool of %zu: median %.1f ms over 5 runs, peak memory %.0f MiB\n",
                ThreadPool::concurrency(), sheet, peakMiB());
  } else if (mode == "blur") {
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, 2000, 2000);
    cairo_t* cr = cairo_create(surface);
    for (int y = 0; y < 2000; y += 50)
      for (int x = (y / 50) % 2 * 50; x < 2000; x += 100) cairo_rectangle(cr, x, y, 50, 50);
    cairo_set_source_rgb(cr, 1, 1, 1);
    cairo_fill(cr);
    cairo_destroy(cr);
    Image board = Image::adopt(surface);
    for (double radius : {4.0, 150.0}) {
      double ms = timeMedian(runs, [&] { blurred(board, radius); });
      std::printf("(f) blur of 2000 x 2000 at radius %.0f: median %.1f ms over %d runs\n", radius, ms, runs);
    }
  } else {
    std::fprintf(stderr, "usage: render_bench slide|process|sheet [threads]|blur\n");
    return 64;
  }
  fs::remove_all(root.parent_path());
  return 0;
}
