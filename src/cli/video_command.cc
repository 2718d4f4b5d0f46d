// `vorno video`: a creative's loop as a looping MP4, under renders/ or at --out, with a
// percentage counting up on one line while it renders, then the path and the loop's issues.
#include "cli/command_spec.h"
#include "cli/commands.h"
#include "cli/render_paths.h"
#include "kit/model/project.h"
#include "kit/model/run_defaults.h"
#include "kit/store/file_project_store.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "kit/video/video_exporter.h"

#include <chrono>
#include <cstdio>
#include <filesystem>
#include <iostream>

namespace vorno::cli {

namespace fs = std::filesystem;


int runVideo(const ParsedArguments& args) {
  const auto start = std::chrono::steady_clock::now();
  FileProjectStore store(standardizePath(*args.string("project")));
  Project project = store.load().resolved(args.string("variant"));

  const std::string id = *args.string("creative");
  const Creative* creative = project.creative(id);
  if (!creative) {
    std::string ids;
    for (const Creative& each : project.creatives) ids += (ids.empty() ? "" : ", ") + each.id();
    throw UsageError("No creative " + id + ". Creatives: " + ids + ".");
  }
  const std::string locale = runLocale(project, args.string("locale"));
  const fs::path path = outputPath(args.string("out"), store, id + "-" + creative->canvas + "-" + locale + ".mp4",
                                     {{id, "Creative id"}, {creative->canvas, "Canvas"}, {locale, "Locale"}});

  // The percentage rewrites one line; it goes out at once, or a terminal would see it in jumps.
  VideoExporter exporter;
  std::vector<Issue> issues = exporter.write(
      project, store.root().string(), *creative, locale, writePlace(path, store), [](int done, int total) {
        std::cout << formatted("\r%3.0f%%", 100.0 * done / std::max(total, 1)) << std::flush;
      });
  std::cout << "\n" << path.string() << "\n";
  for (const Issue& issue : issues) std::cout << issue.description() << "\n";
  const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - start;
  std::cout << formatted("Done in %.1fs", seconds.count()) << "\n";
  return 0;
}

}  // namespace vorno::cli
