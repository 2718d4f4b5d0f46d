// Localised store art: headlines in scripts the system font lacks must fit and draw real glyphs.
#include "kit/layout/slide_layout_engine.h"

#include "kit/layout/layout_test_support.h"
#include "kit/text/text_layout.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace vorno::layout_scripts_test {
namespace {

using testing::TestPackage;
using testing::projectWith;

struct Case {
  const char* locale;
  const char* headline;
};

// Counts pixels with ink (alpha above a half) inside a rectangle of a drawn headline.
int inkPixels(const ElementLayout& e) {
  const int w = static_cast<int>(std::ceil(e.frame.width)), h = static_cast<int>(std::ceil(e.frame.height));
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, w, h);
  cairo_t* cr = cairo_create(surface);
  TextLayout::draw(TextLayout::laid(*e.text(), e.frame.width), cr, 0, 0);
  cairo_destroy(cr);
  cairo_surface_flush(surface);
  const unsigned char* data = cairo_image_surface_get_data(surface);
  const int stride = cairo_image_surface_get_stride(surface);
  int count = 0;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) count += data[y * stride + x * 4 + 3] > 128;
  cairo_surface_destroy(surface);
  return count;
}

class HeadlineScripts : public ::testing::TestWithParam<Case> {};

TEST_P(HeadlineScripts, FitsOnIphone69WithoutOverflowAndDrawsInk) {
  TestPackage package;
  const Case c = GetParam();
  Slide slide;
  slide.id = "intro";
  slide.headline = LocalizedText{{{c.locale, c.headline}}};
  Project project = projectWith({slide});
  project.locales = {c.locale};
  ComposedSlide composed =
      SlideLayoutEngine().layout(project, package.root(), project.slides[0], StoreTarget::iphone69(), c.locale);
  for (const auto& issue : composed.issues) {
    EXPECT_NE(issue.code, "text.overflow") << issue.message;
    EXPECT_NE(issue.code, "text.missing-locale") << issue.message;
  }
  const ElementLayout* headline = composed.element("headline", "intro");
  ASSERT_NE(headline, nullptr);
  EXPECT_EQ(headline->text()->language, c.locale);
  EXPECT_GT(inkPixels(*headline), 2000) << c.locale;
}

INSTANTIATE_TEST_SUITE_P(Localised, HeadlineScripts,
                         ::testing::Values(Case{"ja-JP", "チームの予定を、\nひと目で。"},
                                           Case{"ar-SA", "خطط أسبوعك\nمع فريقك"},
                                           Case{"th-TH", "วางแผนสัปดาห์\nกับทีมของคุณ"},
                                           Case{"zh-CN", "团队日程，\n一目了然。"},
                                           Case{"ko-KR", "팀 일정을\n한눈에"},
                                           Case{"he-IL", "תכננו את השבוע\nעם הצוות"},
                                           Case{"hi-IN", "अपनी टीम के साथ\nसप्ताह की योजना"}),
                         [](const ::testing::TestParamInfo<Case>& info) {
                           std::string name = info.param.locale;
                           name.erase(std::remove(name.begin(), name.end(), '-'), name.end());
                           return name;
                         });

}  // namespace
}  // namespace vorno::layout_scripts_test
