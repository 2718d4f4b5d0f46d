// How long SlideLayoutEngine.layout takes for a typical slide: an eyebrow, a two-line headline
// with emphasis, a subhead, a device with a capture and two free elements, on one core; and how
// long one fit of a two-line headline takes, one that fits at once and one that shrinks.
#include "kit/layout/slide_layout_engine.h"
#include "kit/model/store_target.h"
#include "kit/text/text_layout.h"
#include "tests/temp_folder.h"

#include <benchmark/benchmark.h>
#include <cairo.h>

#include <cmath>
#include <filesystem>

namespace {

using namespace vorno;

struct Fixture {
  testing::TempFolder folder{"vorno-layout-bench"};
  Project project;

  Fixture() {
    std::filesystem::create_directories(folder.path() / "captures/en-US");
    cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_RGB24, 1320, 2868);
    cairo_surface_write_to_png(surface, (folder.path() / "captures/en-US/home.png").c_str());
    cairo_surface_destroy(surface);

    Slide slide;
    slide.id = "week";
    slide.eyebrow = LocalizedText{{{"en-US", "Shared calendars"}}};
    slide.headline = LocalizedText{{{"en-US", "Plan the week\nwith **your whole team**"}}};
    slide.subhead = LocalizedText{{{"en-US", "Everyone sees what's next, on every device."}}};
    slide.device = DeviceSlot{};
    slide.device->screenshot = ScreenshotRef::path("captures/{locale}/home.png");
    SlideElement note;
    note.id = "note";
    note.kind = SlideElement::Kind::text;
    note.text = LocalizedText{{{"en-US", "Free for teams of five"}}};
    note.role = TextRole::caption;
    SlideElement blob;
    blob.id = "blob";
    blob.kind = SlideElement::Kind::shape;
    blob.shape = ShapeKind::circle;
    blob.fill = Fill::solid(*RGBColor::fromHex("#FFD60A"));
    slide.elements = {note, blob};
    project = Project("Bench", {"en-US"}, {"ios.iphone-6.9"}, Theme::vorno(), {slide}, {});
  }
};

void BM_LayoutTypicalSlide(benchmark::State& state) {
  static Fixture fixture;
  SlideLayoutEngine engine;
  const std::string root = fixture.folder.path().string();
  ComposedSlide c;
  for (auto _ : state) {
    c = engine.layout(fixture.project, root, fixture.project.slides[0], StoreTarget::iphone69(), "en-US");
    benchmark::DoNotOptimize(c);
  }
  // How many 5% steps each automatic text took: one when it fits at its base size.
  int steps = 0;
  for (const auto& e : c.elements) {
    const bool automatic = e.id == "eyebrow" || e.id == "headline" || e.id == "subhead";
    if (!e.text() || e.isManual || !automatic) continue;
    const double scale = e.placement.fontScale.value_or(1);
    steps += 1 + static_cast<int>(std::lround(std::log(scale) / std::log(0.95)));
  }
  state.counters["fitSteps"] = steps;
  state.counters["headlinePx"] = c.headlineFontSize.value_or(0);
}
BENCHMARK(BM_LayoutTypicalSlide)->Unit(benchmark::kMillisecond);

// A 118 px bold headline in a 1096 x 260 box: argument 0 fits at once, 1 shrinks nine steps.
void BM_FitTwoLineHeadline(benchmark::State& state) {
  TextLayout::Style style;
  style.size = 118;
  style.weight = FontWeight::bold;
  style.color = RGBColor::black();
  style.emphasis = *RGBColor::fromHex("#E53935");
  style.alignment = TextAlign::center;
  style.lineHeight = 1.06;
  style.tracking = -0.012;
  const char* text = state.range(0) == 0 ? "Track every habit\nin one **calm** place"
                                         : "Track every habit that matters\nin one **calm** place";
  TextLayout::Fitted fitted;
  for (auto _ : state) {
    fitted = TextLayout::fit(text, style, {1096, 260}, 0.55, std::nullopt);
    benchmark::DoNotOptimize(fitted);
  }
  state.counters["fontPx"] = fitted.fontSize;
}
BENCHMARK(BM_FitTwoLineHeadline)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
