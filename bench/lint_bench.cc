// How long the file-level lint of a large set takes. The lint runs on every tool call that
// reports issues and before every export, so it must stay far below a tenth of a second even
// for a set far larger than the stores allow: 200 slides, 6 locales, 4 looks and a few creatives
// in motion, with both stores' targets so that every rule runs.
#include "kit/lint/linter.h"
#include "kit/model/project.h"

#include <benchmark/benchmark.h>
#include <nlohmann/json.hpp>

#include <string>
#include <vector>

namespace vorno {
namespace {

const std::vector<std::string> benchLocales{"en-US", "de-DE", "fr-FR", "ja-JP", "es-ES", "pt-BR"};

LocalizedText inEveryLocale(const std::string& text) {
  LocalizedText localized;
  for (const std::string& locale : benchLocales) localized.values[locale] = text + " (" + locale + ")";
  return localized;
}

Project generatedProject() {
  Project project;
  project.appName = "Bench";
  project.locales = benchLocales;
  project.targets = {"ios.iphone-6.9", "ios.ipad-13", "play.phone", "play.tablet-10"};
  for (int i = 0; i < 200; ++i) {
    Slide slide;
    slide.id = "slide-" + std::to_string(i);
    slide.eyebrow = inEveryLocale("STEP " + std::to_string(i));
    slide.headline = inEveryLocale("Plan your **whole week** at a glance, slide " + std::to_string(i));
    slide.subhead = inEveryLocale("Quotes out in two taps, sent as a tidy PDF for $" + std::to_string(i) + ".");
    SlideElement caption;
    caption.id = "caption";
    caption.kind = SlideElement::Kind::text;
    caption.text = inEveryLocale("Works offline, visit example.com");
    slide.elements.push_back(caption);
    SlideElement checklist;
    checklist.id = "list";
    checklist.kind = SlideElement::Kind::component;
    ComponentSpec component;
    component.type = ComponentSpec::Kind::checklist;
    component.title = inEveryLocale("Everything in one place");
    component.items = std::vector<LocalizedText>{inEveryLocale("Plan the day"), inEveryLocale("Send quotes"),
                                                 inEveryLocale("Get paid")};
    checklist.component = component;
    slide.elements.push_back(checklist);
    project.slides.push_back(slide);
  }
  for (int i = 0; i + 1 < 20; i += 4) {
    Spread spread;
    spread.id = "spread-" + std::to_string(i);
    spread.slides = {"slide-" + std::to_string(i), "slide-" + std::to_string(i + 1)};
    project.spreads.push_back(spread);
  }
  for (int i = 0; i < 3; ++i) {
    Creative creative;
    creative.canvas = i == 2 ? "ios.universal" : "ios.header";
    creative.slide.id = "creative-" + std::to_string(i);
    creative.slide.headline = inEveryLocale("Your crew's week, **sorted**");
    Motion motion;
    motion.duration = 8;
    Keyframe from, to;
    from.t = 0;
    from.y = 0.6;
    to.t = 8;
    to.y = 0.55;
    motion.tracks = std::map<std::string, std::vector<Keyframe>>{{"headline", {from, to}}};
    creative.motion = motion;
    project.creatives.push_back(creative);
  }
  for (int i = 0; i < 4; ++i) {
    Variant variant;
    variant.id = "look-" + std::to_string(i);
    variant.patch = nlohmann::json{
        {"slides", {{"slide-" + std::to_string(i), {{"headline", {{"en-US", "Another look " + std::to_string(i)}}}}}}}};
    project.variants.push_back(variant);
  }
  return project;
}

void BM_LintLargeProject(benchmark::State& state) {
  const Project project = generatedProject();
  size_t issues = 0;
  for (auto _ : state) {
    std::vector<Issue> found = Linter::lint(project);
    issues = found.size();
    benchmark::DoNotOptimize(found);
  }
  state.counters["issues"] = static_cast<double>(issues);
}

BENCHMARK(BM_LintLargeProject)->Unit(benchmark::kMillisecond)->Repetitions(10)->ReportAggregatesOnly(true);

}  // namespace
}  // namespace vorno

BENCHMARK_MAIN();
