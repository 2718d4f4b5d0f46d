// Layout is re-entrant: contact sheets and exports lay many slides on several threads at once.
#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"

#include <gtest/gtest.h>

#include <atomic>
#include <thread>

namespace vorno::layout_concurrency_test {
namespace {

using testing::TestPackage;

TEST(LayoutConcurrency, FiftySlidesOnEightThreadsEqualTheSequentialResults) {
  TestPackage package;
  package.capture("captures/en-US/home.png", 1320, 2868);
  std::vector<Slide> slides;
  for (int i = 0; i < 50; ++i) {
    Slide slide;
    slide.id = "s" + std::to_string(i);
    slide.archetype = static_cast<Archetype>(i % 3);
    slide.eyebrow = testing::text("Week " + std::to_string(i));
    slide.headline = testing::text("Plan **week " + std::to_string(i) + "**\nwith the whole team");
    slide.subhead = testing::text(std::string(static_cast<size_t>(i % 7 + 1), 'x') + " shared calendars");
    slide.device = testing::showing("captures/{locale}/home.png");
    SlideElement badge;
    badge.id = "badge";
    badge.kind = SlideElement::Kind::shape;
    badge.shape = ShapeKind::capsule;
    slide.elements = {badge};
    slides.push_back(slide);
  }
  Project project = testing::projectWith(slides);
  SlideLayoutEngine engine;
  std::vector<ComposedSlide> sequential;
  for (const auto& slide : project.slides)
    sequential.push_back(engine.layout(project, package.root(), slide, StoreTarget::iphone69(), "en-US"));

  std::vector<ComposedSlide> parallel(project.slides.size());
  std::atomic<size_t> next{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 8; ++t)
    threads.emplace_back([&] {
      for (size_t i = next++; i < project.slides.size(); i = next++)
        parallel[i] = engine.layout(project, package.root(), project.slides[i], StoreTarget::iphone69(), "en-US");
    });
  for (auto& t : threads) t.join();
  for (size_t i = 0; i < sequential.size(); ++i) EXPECT_EQ(parallel[i], sequential[i]) << "slide " << i;
}

}  // namespace
}  // namespace vorno::layout_concurrency_test
