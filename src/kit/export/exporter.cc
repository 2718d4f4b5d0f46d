// How an export runs: a sequence of passes, each simple. First everything that can be known
// without drawing: the targets split into store slots and creative canvases, the creatives on
// those canvases, the locales, and every name that becomes a path, so that a bad name fails before
// a single file exists; and every place a file goes, walked from the package down, so that a
// folder that is a symbolic link (exports/ios pointing elsewhere) fails before a file exists too. Then the job list, one file each, in a fixed order (targets, locales,
// slides; then creatives, locales). Then one parallel loop over the jobs on the process pool:
// lay out, draw once, write, read back. Results are placed by job index, so the summary's order
// never depends on timing; only the first failure and nothing else is shared between jobs. Before
// that loop the run's files are announced in the manifest, so a run that stops part-way leaves
// none unlisted. Last, the manifest replacement, which alone removes anything, and only when
// every file was written.
#include "kit/export/exporter.h"

#include "kit/export/export_manifest.h"
#include "kit/export/stale_temporaries.h"
#include "kit/image/box_resampler.h"
#include "kit/image/image_cache.h"
#include "kit/image/images.h"
#include "kit/image/picture_pools.h"
#include "kit/lint/linter.h"
#include "kit/model/project.h"
#include "kit/model/store_target.h"
#include "kit/motion/motion_renderer.h"
#include "kit/render/layer_cache.h"
#include "kit/render/slide_renderer.h"
#include "kit/store/file_name.h"
#include "kit/store/file_project_store.h"
#include "kit/util/format.h"
#include "kit/util/paths.h"
#include "kit/util/thread_pool.h"
#include "kit/util/vorno_error.h"
#include "kit/util/write_paths.h"
#include "kit/video/video_exporter.h"

#include <algorithm>
#include <exception>
#include <mutex>
#include <set>
#include <tuple>

namespace vorno {

namespace fs = std::filesystem;

namespace {

// One file to make.
struct Job {
  StoreTarget target;
  std::string locale;
  const Slide* slide = nullptr;   // the project's own, which outlives the export
  std::string path;               // relative to the export folder
  const Creative* moving = nullptr;  // a creative whose PNG is the poster of its motion
};

// What one job left behind, placed by its index.
struct JobResult {
  bool written = false;
  std::vector<Issue> issues;
};

std::string platformFolder(const StoreTarget& target) { return std::string(rawValue(target.platform)); }

std::string number(int index) { return formatted("%02d", index); }

// Rethrows the first failure as a VornoError: a failure from the file system library or the
// allocator still reaches the user as one sentence.
[[noreturn]] void rethrow(const std::exception_ptr& failure, const std::string& path) {
  try {
    std::rethrow_exception(failure);
  } catch (const VornoError&) {
    throw;
  } catch (const std::exception& error) {
    throw VornoError::io("Couldn't export " + path + ": " + error.what() + ".");
  }
}

}  // namespace

std::string Exporter::path(ExportLayout layout, const StoreTarget& target, const std::string& locale, int index,
                           const Slide& slide) {
  if (layout == ExportLayout::vorno)
    return platformFolder(target) + "/" + target.id + "/" + locale + "/" + number(index) + "-" + slide.id + ".png";
  std::string path = target.fastlanePath;
  for (auto [field, value] : {std::pair<std::string_view, std::string>{"{locale}", locale},
                              {"{index}", number(index)},
                              {"{slide}", slide.id},
                              {"{target}", target.id}}) {
    if (size_t at = path.find(field); at != std::string::npos) path.replace(at, field.size(), value);
  }
  return path;
}

std::string Exporter::creativePath(ExportLayout layout, const StoreTarget& canvas, const std::string& locale,
                                   const std::string& creativeID, const std::string& extension) {
  if (layout == ExportLayout::vorno)
    return platformFolder(canvas) + "/" + canvas.id + "/" + locale + "/" + creativeID + "." + extension;
  return "fastlane/creatives/" + locale + "/" + canvas.id + "/" + creativeID + "." + extension;
}

std::optional<fs::path> Exporter::folder(const std::optional<std::string>& variant, const FileProjectStore& store) {
  if (!variant) return std::nullopt;
  // The id may have been written into project.json by hand; unchecked, "../.." would send the
  // whole export outside the package.
  FileName::check(*variant, "Variant id");
  return store.exportsDir() / "variants" / *variant;
}

std::vector<Issue> Exporter::dedupe(const std::vector<Issue>& issues) {
  std::vector<std::pair<std::string, Issue>> kept;
  std::set<std::string> seen;
  for (const auto& issue : issues) {
    std::string description = issue.description();
    if (seen.insert(description).second) kept.emplace_back(std::move(description), issue);
  }
  std::stable_sort(kept.begin(), kept.end(), [](const auto& a, const auto& b) {
    if (a.second.severity != b.second.severity) return a.second.severity < b.second.severity;
    return a.first < b.first;
  });
  std::vector<Issue> out;
  out.reserve(kept.size());
  for (auto& [description, issue] : kept) out.push_back(std::move(issue));
  return out;
}

namespace {

// Every job laid out, in parallel; a job that can't be keeps its failure for when it is drawn.
struct LaidOut {
  std::vector<ComposedSlide> composed;
  std::vector<std::exception_ptr> failures;
};

LaidOut layOut(const std::vector<Job>& jobs, const Project& project, const std::string& root,
               const SlideRenderer& renderer) {
  LaidOut out{std::vector<ComposedSlide>(jobs.size()), std::vector<std::exception_ptr>(jobs.size())};
  ThreadPool::parallelFor(jobs.size(), [&](size_t index) {
    const Job& job = jobs[index];
    try {
      if (job.moving) {
        // A creative in motion: its PNG is the poster, the moment of the loop chosen for the still.
        const Motion& motion = *job.moving->motion;
        std::optional<ComposedSlide> poster = MotionRenderer(renderer).layout(
            project, root, *job.moving, job.locale, motion.frame(motion.posterTime()), &job.target);
        if (!poster)
          throw VornoError::invalid("Creative " + job.moving->id() + " is on canvas " + job.moving->canvas +
                                    ", which Vorno doesn't know.");
        out.composed[index] = std::move(*poster);
      } else {
        out.composed[index] = renderer.engine().layout(project, root, *job.slide, job.target, job.locale);
      }
    } catch (...) {
      out.failures[index] = std::current_exception();
    }
  });
  return out;
}

// Pictures are drawn locale by locale and slide by slide, each slide on all its targets in a
// row, so a capture is decoded once and serves every picture that shows it while it is still in
// the cache; creatives (the jobs from `slideJobs` on) come last.
std::vector<size_t> drawingOrder(const std::vector<Job>& jobs, size_t slideJobs, const std::vector<std::string>& locales,
                                 const Project& project) {
  std::vector<size_t> order(jobs.size());
  for (size_t i = 0; i < order.size(); ++i) order[i] = i;
  auto rank = [&](size_t index) {
    const Job& job = jobs[index];
    const size_t locale = static_cast<size_t>(std::find(locales.begin(), locales.end(), job.locale) - locales.begin());
    const bool creative = index >= slideJobs;
    // A slide by its place in the project (its jobs on every target share it); a creative as listed.
    const size_t item = creative ? index : static_cast<size_t>(job.slide - project.slides.data());
    return std::tuple(creative, locale, item);
  };
  std::stable_sort(order.begin(), order.end(), [&](size_t a, size_t b) { return rank(a) < rank(b); });
  return order;
}

// A file the run wrote, and what was found in it.
struct Written {
  const Job* job = nullptr;
  std::vector<Issue> issues;
};

// The summary of a run whose files were all written, after the manifest's replacement, which
// alone removes anything.
ExportSummary finishRun(const ExportFolder& base, ExportLayout layout, std::vector<Written>& written,
                        std::vector<Issue> issues, const std::set<ExportManifest::Scope>& scopes) {
  const fs::path folder = base.path();
  ExportSummary summary;
  summary.directory = folder.string();
  std::vector<ExportManifest::Entry> entries;
  for (auto& [job, found] : written) {
    summary.files.push_back((folder / job->path).string());
    entries.push_back({job->path, layout, job->target.id, job->locale});
    for (auto& issue : found) issues.push_back(std::move(issue));
  }
  for (const auto& removed : ExportManifest::replace(base, entries, scopes))
    summary.removed.push_back((folder / removed).string());
  summary.issues = Exporter::dedupe(issues);
  return summary;
}

// The export folder `folder` (standardised) as the package and the path below it, when it lies in
// the package; a folder of the caller's own as it stands.
ExportFolder exportFolder(const fs::path& folder, const FileProjectStore& store) {
  const fs::path root = standardizePath(store.root());
  const std::string inner = folder.string(), outer = root.string() + "/";
  if (inner.starts_with(outer)) return {root, folder.lexically_relative(root)};
  return {folder, fs::path()};
}

// On record before the first file is placed: a run that stops part-way leaves no file unlisted.
void announceRun(const ExportFolder& base, ExportLayout layout, const std::vector<Job>& jobs,
                 const std::vector<Job>& videos) {
  std::vector<ExportManifest::Entry> planned;
  for (const auto* list : {&jobs, &videos})
    for (const Job& job : *list) planned.push_back({job.path, layout, job.target.id, job.locale});
  removeStaleTemporaries(preparedWritePath(base.root, base.relative(ExportManifest::fileName)));
  ExportManifest::announce(base, planned);
}

// This run is the truth for every target and locale it covered, creative canvases included, so
// the file of a creative that left the project goes too.
std::set<ExportManifest::Scope> coveredScopes(const std::vector<StoreTarget>& slots,
                                              const std::vector<StoreTarget>& canvases,
                                              const std::vector<std::string>& locales, ExportLayout layout) {
  std::set<ExportManifest::Scope> scopes;
  for (const auto* list : {&slots, &canvases})
    for (const auto& target : *list)
      for (const auto& locale : locales) scopes.insert({layout, target.id, locale});
  return scopes;
}

}  // namespace

// One look's export worked out before anything is drawn or written.
struct ExportPlan {
  ExportLayout layout = ExportLayout::vorno;
  std::vector<StoreTarget> slots, canvases;
  std::vector<std::string> locales;
  ExportFolder base;
  std::vector<Job> jobs;
  size_t slideJobs = 0;  // the jobs of slides come first, then those of creatives
  std::vector<Job> videos;
};

namespace {

// Counts the run's finished files and reports them, one call at a time.
class RunProgress {
 public:
  RunProgress(const std::function<void(const ExportProgress&)>& report, size_t look, size_t looks, size_t files)
      : report_(report), look_(look), looks_(looks), files_(files) {}

  void fileWritten(const std::string& path) {
    std::lock_guard<std::mutex> guard(lock_);
    ++finished_;
    if (report_) report_({look_, looks_, static_cast<double>(finished_), files_, path});
  }
  // A video `done` frames of `total` into its encoding (called from the encoding thread alone).
  void videoEncoding(const std::string& path, int done, int total) {
    if (!report_ || done >= total) return;
    std::lock_guard<std::mutex> guard(lock_);
    report_({look_, looks_, static_cast<double>(finished_) + static_cast<double>(done) / total, files_, path, true});
  }

 private:
  const std::function<void(const ExportProgress&)>& report_;
  size_t look_, looks_, files_;
  size_t finished_ = 0;
  std::mutex lock_;
};

// The one layer cache of the export, told every use of every layer before anything is drawn: a
// layer used more than once (a device across a spread) is drawn once and let go after its last
// use; the others are drawn straight into their picture. Which way an element is drawn depends on
// the whole job list alone, never on timing.
void expectLayers(LayerCache& layers, const LaidOut& laidOut) {
  for (size_t index = 0; index < laidOut.composed.size(); ++index)
    if (!laidOut.failures[index])
      for (const auto& key : SlideRenderer::layerKeys(laidOut.composed[index], laidOut.composed[index].focusIndex(), 1.0))
        layers.expect(key);
}

// Draws, writes and reads back every picture in `order`, in parallel. Throws the first failure
// once every picture is done; nothing of the old export has been touched by then.
std::vector<JobResult> drawPictures(const ExportPlan& plan, LaidOut& laidOut, const std::vector<size_t>& order,
                                    LayerCache& layers, RunProgress& progress) {
  std::vector<JobResult> results(plan.jobs.size());
  std::mutex lock;
  std::exception_ptr firstFailure;
  std::string failedPath;
  ThreadPool::parallelFor(plan.jobs.size(), [&](size_t step) {
    const size_t index = order[step];
    const Job& job = plan.jobs[index];
    const fs::path file = plan.base.path() / job.path;
    try {
      if (laidOut.failures[index]) std::rethrow_exception(laidOut.failures[index]);
      preparedWritePath(plan.base.root, plan.base.relative(job.path));
      removeStaleTemporaries(file);
      const ComposedSlide laid = std::move(laidOut.composed[index]);
      Image image = SlideRenderer::composite(laid, laid.focusIndex(), 1.0, &layers);
      std::vector<Issue> found = SlideRenderer::report(laid, image).issues;
      Images::writeBelow(image, plan.base.root, plan.base.relative(job.path), Images::ImageType::png);
      image = Image();  // the pixels go before the read-back
      for (auto& issue : Linter::verifyAsset(file.string(), job.target)) found.push_back(std::move(issue));
      results[index] = {true, std::move(found)};
      progress.fileWritten(job.path);
    } catch (...) {
      std::lock_guard<std::mutex> guard(lock);
      if (!firstFailure) {
        firstFailure = std::current_exception();
        failedPath = file.string();
      }
    }
  });
  PicturePools::drain();  // the pictures' memory goes back before the videos, which use their own
  if (firstFailure) rethrow(firstFailure, failedPath);
  return results;
}

// Encodes the videos one at a time (each uses every core); the first failure is thrown at once.
std::vector<std::vector<Issue>> writeVideos(const ExportPlan& plan, const Project& project,
                                            const std::string& root, const SlideRenderer& renderer,
                                            RunProgress& progress) {
  std::vector<std::vector<Issue>> issues;
  VideoExporter videoExporter{MotionRenderer(renderer)};
  for (const Job& video : plan.videos) {
    try {
      preparedWritePath(plan.base.root, plan.base.relative(video.path));
      issues.push_back(videoExporter.write(
          project, root, *video.moving, video.locale, plan.base.file(video.path),
          [&](int done, int total) { progress.videoEncoding(video.path, done, total); }, &video.target));
    } catch (...) {
      rethrow(std::current_exception(), (plan.base.path() / video.path).string());
    }
    progress.fileWritten(video.path);
  }
  return issues;
}

}  // namespace

ExportSummary Exporter::exportProject(const Project& project, const FileProjectStore& store,
                                      const ExportRequest& request) const {
  return exportLook(plan(project, store, request), project, store, 0, 1);
}

ExportPlan Exporter::plan(const Project& project, const FileProjectStore& store, const ExportRequest& request) {
  ExportPlan plan;
  const ExportLayout layout = plan.layout = request.layout;
  // Targets: store slots on one side, creative canvases on the other.
  std::vector<StoreTarget>& slots = plan.slots;
  std::vector<StoreTarget>& canvases = plan.canvases;
  if (request.targets) {
    for (const auto& target : *request.targets) (target.isCreative() ? canvases : slots).push_back(target);
  } else {
    for (const auto& id : project.targets)
      if (const StoreTarget* target = StoreTarget::named(id)) (target->isCreative() ? canvases : slots).push_back(*target);
    canvases = StoreTarget::canvases();
  }
  std::set<std::string> canvasIDs;
  for (const auto& canvas : canvases) canvasIDs.insert(canvas.id);

  std::vector<const Creative*> creatives;
  for (const auto& creative : project.creatives)
    if (canvasIDs.count(creative.canvas)) creatives.push_back(&creative);

  plan.locales = request.locales ? *request.locales : project.locales;
  const std::vector<std::string>& runLocales = plan.locales;
  plan.base = exportFolder(standardizePath(request.into ? *request.into : store.exportsDir()), store);

  // Every name that becomes part of a path, before anything is drawn or written.
  for (const auto& slide : project.slides) FileName::check(slide.id, "Slide id");
  for (const auto* creative : creatives) FileName::check(creative->id(), "Creative id");
  for (const auto& locale : runLocales) FileName::check(locale, "Locale");

  std::vector<Job>& jobs = plan.jobs;
  for (const auto& target : slots)
    for (const auto& locale : runLocales)
      for (size_t i = 0; i < project.slides.size(); ++i) {
        const Slide& slide = project.slides[i];
        jobs.push_back({target, locale, &slide, path(layout, target, locale, static_cast<int>(i) + 1, slide), nullptr});
      }
  plan.slideJobs = jobs.size();
  for (const auto* creative : creatives) {
    // The canvas as the caller gave it (the catalogue's own unless a caller shrinks it).
    const StoreTarget* canvas = nullptr;
    for (const auto& given : canvases)
      if (given.id == creative->canvas) canvas = &given;
    if (!canvas || !StoreTarget::canvas(creative->canvas)) throw VornoError::invalid("Creative " + creative->id() + " is on an unknown canvas.");
    const bool moves = creative->motion && canvas->id != StoreTarget::appStoreUniversal().id;
    for (const auto& locale : runLocales)
      jobs.push_back({*canvas, locale, &creative->slide, creativePath(layout, *canvas, locale, creative->id(), "png"),
                      moves ? creative : nullptr});
  }
  // The videos of creatives in motion, one at a time after every picture: each uses all cores.
  for (const Job& job : jobs)
    if (job.moving)
      plan.videos.push_back({job.target, job.locale, job.slide,
                             creativePath(layout, job.target, job.locale, job.moving->id(), "mp4"), job.moving});

  // Every place a file goes, looked at before the first is written: a folder on the way that is
  // a symbolic link (exports/ios pointing elsewhere) would carry the files, and the removals of
  // the manifest's replacement, outside the package.
  // Only links stop the run here: a file in the way of one job fails that job alone, as it writes.
  checkedWritePath(plan.base.root, plan.base.relative(ExportManifest::fileName));
  for (const auto* list : {&plan.jobs, &plan.videos})
    for (const Job& job : *list) refuseLinksOnTheWay(plan.base.root, plan.base.relative(job.path));
  return plan;
}

ExportSummary Exporter::exportLook(const ExportPlan& plan, const Project& project, const FileProjectStore& store, size_t look,
                                   size_t looks) const {
  // Memory: decoded captures stay within the export's budget (the drawing order lets each serve
  // all its pictures soon after it is decoded); resampled captures each serve one picture, so
  // that cache keeps none.
  ImageCache::Limit captureLimit(ImageCache::shared(), captureBudget);
  BoxResampler::CacheLimit resampleLimit(resampleBudget);

  std::vector<Issue> issues = Linter::lint(project);
  const std::string root = store.root().string();

  // Every job is laid out first (a layout holds no pixels: captures are sized from their
  // headers), so that the layer cache knows every use of every layer before anything is drawn.
  LaidOut laidOut = layOut(plan.jobs, project, root, renderer_);
  LayerCache layers(layerBudget);
  expectLayers(layers, laidOut);
  const std::vector<size_t> order = drawingOrder(plan.jobs, plan.slideJobs, plan.locales, project);

  announceRun(plan.base, plan.layout, plan.jobs, plan.videos);
  RunProgress progress(progress_, look, looks, plan.jobs.size() + plan.videos.size());
  std::vector<JobResult> pictures = drawPictures(plan, laidOut, order, layers, progress);
  std::vector<std::vector<Issue>> videos = writeVideos(plan, project, root, renderer_, progress);

  std::vector<Written> written;
  for (size_t i = 0; i < plan.jobs.size(); ++i) written.push_back({&plan.jobs[i], std::move(pictures[i].issues)});
  for (size_t i = 0; i < plan.videos.size(); ++i) written.push_back({&plan.videos[i], std::move(videos[i])});
  return finishRun(plan.base, plan.layout, written, std::move(issues),
                   coveredScopes(plan.slots, plan.canvases, plan.locales, plan.layout));
}

LooksExport Exporter::exportLooks(const Project& project, const FileProjectStore& store,
                                  const ExportRequest& request) const {
  LooksExport result;
  std::vector<std::optional<std::string>> looks{std::nullopt};
  for (const auto& variant : project.variants) looks.push_back(variant.id);
  // Every look is planned before the first is written, its names and the places of its files
  // checked, so one bad id or one planted link stops the run before any look has placed a file.
  for (const auto& variant : project.variants) folder(variant.id, store);
  std::vector<Project> resolved;
  for (const auto& variant : looks) resolved.push_back(project.resolved(variant));
  std::vector<ExportPlan> plans;  // pointing into `resolved`, which no longer changes
  for (size_t index = 0; index < looks.size(); ++index) {
    ExportRequest look = request;
    if (looks[index]) look.into = folder(looks[index], store);
    plans.push_back(plan(resolved[index], store, look));
  }

  std::set<std::string> baseIssues;
  for (size_t index = 0; index < looks.size(); ++index) {
    const std::optional<std::string>& variant = looks[index];
    ExportSummary summary = exportLook(plans[index], resolved[index], store, index, looks.size());
    if (!variant) {
      for (const auto& issue : summary.issues) baseIssues.insert(issue.description());
    } else {
      std::erase_if(summary.issues, [&](const Issue& issue) { return baseIssues.count(issue.description()) > 0; });
    }
    result.looks.push_back({variant, std::move(summary)});
  }

  // Looks whose variant is gone: what their manifests list goes, a user's own files stay.
  std::set<std::string> current;
  for (const auto& variant : project.variants) current.insert(variant.id);
  const fs::path variantsFolder = standardizePath(store.exportsDir() / "variants");
  std::vector<fs::path> entries;
  std::error_code error;
  // A variants folder that is a link holds no looks of this package: nothing there is removed.
  if (fs::is_directory(fs::symlink_status(store.exportsDir(), error)) &&
      fs::is_directory(fs::symlink_status(variantsFolder, error)))
    for (fs::directory_iterator it(variantsFolder, error); !error && it != fs::directory_iterator(); it.increment(error))
      entries.push_back(it->path());
  if (error) entries.clear();  // an unlistable folder holds no looks
  std::sort(entries.begin(), entries.end());
  for (const auto& entry : entries) {
    if (current.count(entry.filename().string())) continue;
    std::error_code notFolder;
    if (!fs::is_directory(fs::symlink_status(entry, notFolder))) continue;
    for (const auto& removed : ExportManifest::clear(exportFolder(entry, store)))
      result.removed.push_back((entry / removed).string());
  }
  return result;
}

}  // namespace vorno
