#include "kit/render/component_thumbnail.h"

#include "kit/model/slide_element.h"
#include "kit/model/theme.h"
#include "kit/render/render_test_support.h"

#include <gtest/gtest.h>

namespace vorno::component_thumbnail_test {
namespace {

using testing::rgbAt;

int differingPixels(const Image& image, uint32_t background) {
  int count = 0;
  for (int y = 0; y < image.height(); ++y)
    for (int x = 0; x < image.width(); ++x) count += rgbAt(image, x, y) != background;
  return count;
}

TEST(ComponentThumbnail, ImageIsSizeTimesScaleWithTheComponentInTheMiddle) {
  Theme theme = Theme::vorno();
  theme.background = Fill::solid(RGBColor::white());
  ComponentSpec spec = ComponentSpec::starter(ComponentSpec::Kind::rating, "en-US");
  Image image = ComponentThumbnail::image(spec, theme, false, "en-US", std::nullopt, {160, 100}, 2);
  ASSERT_EQ(image.width(), 320);
  ASSERT_EQ(image.height(), 200);
  // The margin (a tenth of the width) stays the background, apart from a soft shadow.
  EXPECT_EQ(rgbAt(image, 2, 2), 0xFFFFFFu);
  EXPECT_GT(differingPixels(image, 0xFFFFFF), 1000);
}

TEST(ComponentThumbnail, InvertedUsesTheInvertedBackground) {
  Theme theme = Theme::vorno();
  theme.invertedBackground = Fill::solid(RGBColor{0, 0, 0, 1});
  ComponentSpec spec = ComponentSpec::starter(ComponentSpec::Kind::badge, "en-US");
  Image image = ComponentThumbnail::image(spec, theme, true, "en-US", std::nullopt, {100, 100}, 1);
  EXPECT_EQ(rgbAt(image, 1, 1), 0x000000u);
}

}  // namespace
}  // namespace vorno::component_thumbnail_test
