// Layers are drawn on several threads at once (contact sheets, exports): the same element must
// come out the same, pixel for pixel, whichever thread draws it and whatever runs beside it.
#include "kit/render/layer_renderer.h"

#include "kit/render/layer_test_support.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

namespace vorno::layer_concurrency_test {
namespace {

using namespace vorno::testing;

std::vector<ElementLayout> sampleElements() {
  std::vector<ElementLayout> out;
  ShapeSpec star = solidShape(ShapeKind::path, {1, 0, 0, 1});
  star.pathData = "M50 0 L61 35 L98 35 L68 57 L79 91 L50 70 L21 91 L32 57 L2 35 L39 35 Z";
  star.blur = 3;
  out.push_back(shapeElement(star, {0, 0, 160, 120}, 20));
  ElementLayout shadowed = shapeElement(solidShape(ShapeKind::capsule, {0, 0, 1, 1}), {0, 0, 200, 80}, 30);
  shadowed.shadow = true;
  shadowed.opacity = 0.7;
  out.push_back(shadowed);
  out.push_back(element(ElementLayout::Kind::symbol, SymbolContent{"star.fill", {0, 0.5, 0, 1}}, {0, 0, 90, 90}));
  TextSpec text;
  text.text = "Same **every** time";
  text.size = 40;
  text.color = {0, 0, 0, 1};
  text.emphasis = {1, 0, 0, 1};
  out.push_back(element(ElementLayout::Kind::text, text, {0, 0, 420, 60}, 10));
  return out;
}

bool samePixels(const Image& a, const Image& b) {
  if (a.width() != b.width() || a.height() != b.height()) return false;
  for (int y = 0; y < a.height(); ++y)
    if (std::memcmp(a.data() + size_t(y) * a.stride(), b.data() + size_t(y) * b.stride(), size_t(a.width()) * 4))
      return false;
  return true;
}

TEST(LayerConcurrency, ThreadsDrawTheSamePixelsAsOneThread) {
  const std::vector<ElementLayout> elements = sampleElements();
  std::vector<Image> reference;
  for (const ElementLayout& e : elements) reference.push_back(LayerRenderer::render(e, 0.8));
  std::vector<int> mismatches(4, 0);
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t)
    threads.emplace_back([&, t] {
      for (int round = 0; round < 5; ++round)
        for (size_t i = 0; i < elements.size(); ++i)
          if (!samePixels(LayerRenderer::render(elements[(i + t) % elements.size()], 0.8),
                          reference[(i + t) % elements.size()]))
            ++mismatches[t];
    });
  for (auto& thread : threads) thread.join();
  for (int t = 0; t < 4; ++t) EXPECT_EQ(mismatches[t], 0) << "thread " << t;
  for (const Image& image : reference) EXPECT_FALSE(inkBox(image).isEmpty());
}

}  // namespace
}  // namespace vorno::layer_concurrency_test
