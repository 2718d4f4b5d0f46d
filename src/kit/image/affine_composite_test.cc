// A turned layer drawn by AffineComposite looks as cairo draws it with its good filter: within a
// few levels on every pixel, edges included, on opaque and transparent pictures, at any opacity,
// inside the clip only; and what it can't draw exactly, it leaves to cairo untouched.
#include "kit/image/affine_composite.h"

#include <cairo.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>

namespace vorno::affine_composite_test {
namespace {

// A layer with what a device layer has: a rounded opaque body, soft translucent parts, detail
// that changes from pixel to pixel, and a transparent margin.
cairo_surface_t* makeLayer(int width, int height) {
  cairo_surface_t* layer = cairo_image_surface_create(CAIRO_FORMAT_ARGB32, width, height);
  cairo_t* cr = cairo_create(layer);
  const double r = width * 0.15;
  cairo_new_sub_path(cr);
  cairo_arc(cr, width - 6 - r, 6 + r, r, -M_PI / 2, 0);
  cairo_arc(cr, width - 6 - r, height - 6 - r, r, 0, M_PI / 2);
  cairo_arc(cr, 6 + r, height - 6 - r, r, M_PI / 2, M_PI);
  cairo_arc(cr, 6 + r, 6 + r, r, M_PI, 3 * M_PI / 2);
  cairo_close_path(cr);
  cairo_set_source_rgb(cr, 0.1, 0.12, 0.15);
  cairo_fill(cr);
  for (int i = 0; i < 12; ++i) {
    cairo_set_source_rgba(cr, 0.2 + 0.06 * i, 0.9 - 0.05 * i, 0.4, 0.35 + 0.05 * i);
    cairo_rectangle(cr, 14 + i * 3.3, 20 + i * 9.7, width * 0.6, 5.5);
    cairo_fill(cr);
  }
  cairo_set_line_width(cr, 1);
  cairo_set_source_rgba(cr, 1, 1, 1, 0.8);
  for (int y = 30; y < height - 20; y += 3) {
    cairo_move_to(cr, 20, y + 0.5);
    cairo_line_to(cr, width - 20, y + 0.5);
  }
  cairo_stroke(cr);
  cairo_destroy(cr);
  return layer;
}

// A target with a background of its own, so OVER has something to blend with.
cairo_surface_t* makeTarget(cairo_format_t format, int width, int height) {
  cairo_surface_t* target = cairo_image_surface_create(format, width, height);
  cairo_t* cr = cairo_create(target);
  cairo_pattern_t* ramp = cairo_pattern_create_linear(0, 0, width, height);
  cairo_pattern_add_color_stop_rgba(ramp, 0, 0.9, 0.3, 0.2, format == CAIRO_FORMAT_ARGB32 ? 0.5 : 1);
  cairo_pattern_add_color_stop_rgba(ramp, 1, 0.1, 0.4, 0.9, 1);
  cairo_set_source(cr, ramp);
  cairo_paint(cr);
  cairo_pattern_destroy(ramp);
  cairo_destroy(cr);
  return target;
}

// The matrix from layer pixels to the target, as a slide places a turned element.
cairo_matrix_t placement(double cx, double cy, double degrees, double scale, int width, int height) {
  cairo_matrix_t m;
  cairo_matrix_init_translate(&m, cx, cy);
  cairo_matrix_rotate(&m, degrees * M_PI / 180);
  cairo_matrix_scale(&m, scale, scale);
  cairo_matrix_translate(&m, -width / 2.0, -height / 2.0);
  return m;
}

void drawWithCairo(cairo_t* cr, cairo_surface_t* layer, const cairo_matrix_t& m, double alpha) {
  cairo_save(cr);
  cairo_set_matrix(cr, &m);
  cairo_set_source_surface(cr, layer, 0, 0);
  cairo_pattern_set_filter(cairo_get_source(cr), CAIRO_FILTER_GOOD);
  if (alpha < 1)
    cairo_paint_with_alpha(cr, alpha);
  else
    cairo_paint(cr);
  cairo_restore(cr);
}

struct Difference {
  int largest = 0;
  long differing = 0;  // by more than a level
  long farOff = 0;     // by more than two
};

// Channel by channel; the unused byte of an RGB24 pixel is skipped.
Difference compare(cairo_surface_t* a, cairo_surface_t* b) {
  cairo_surface_flush(a);
  cairo_surface_flush(b);
  Difference d;
  const bool opaque = cairo_image_surface_get_format(a) == CAIRO_FORMAT_RGB24;
  for (int y = 0; y < cairo_image_surface_get_height(a); ++y) {
    const uint8_t* ra = cairo_image_surface_get_data(a) + y * cairo_image_surface_get_stride(a);
    const uint8_t* rb = cairo_image_surface_get_data(b) + y * cairo_image_surface_get_stride(b);
    for (int i = 0; i < cairo_image_surface_get_width(a) * 4; ++i) {
      if (opaque && i % 4 == 3) continue;
      const int delta = std::abs(int(ra[i]) - int(rb[i]));
      d.largest = std::max(d.largest, delta);
      d.differing += delta > 1;
      d.farOff += delta > 2;
    }
  }
  return d;
}

struct Case {
  cairo_format_t format;
  double degrees, scale, alpha;
};

TEST(AffineComposite, MatchesCairosGoodFilterWithinAFewLevels) {
  const int width = 120, height = 200;
  cairo_surface_t* layer = makeLayer(width, height);
  for (const Case& c : {Case{CAIRO_FORMAT_RGB24, -6, 1, 1}, Case{CAIRO_FORMAT_RGB24, 8, 1, 1},
                        Case{CAIRO_FORMAT_ARGB32, -8, 1, 1}, Case{CAIRO_FORMAT_RGB24, 33, 1.3, 1},
                        Case{CAIRO_FORMAT_ARGB32, 90, 0.8, 1}, Case{CAIRO_FORMAT_RGB24, -14, 1, 0.55},
                        Case{CAIRO_FORMAT_ARGB32, 180, 2.5, 0.3}}) {
    const std::string what = std::to_string(c.degrees) + "° ×" + std::to_string(c.scale) + " at " +
                             std::to_string(c.alpha) + (c.format == CAIRO_FORMAT_RGB24 ? " on RGB" : " on ARGB");
    // Placed off the pixel grid and partly beyond the right edge.
    const cairo_matrix_t m = placement(170.37, 151.81, c.degrees, c.scale, width, height);
    cairo_surface_t* ours = makeTarget(c.format, 260, 300);
    cairo_surface_t* theirs = makeTarget(c.format, 260, 300);
    cairo_t* cr = cairo_create(ours);
    ASSERT_TRUE(AffineComposite::over(cr, layer, m, c.alpha)) << what;
    cairo_destroy(cr);
    cr = cairo_create(theirs);
    drawWithCairo(cr, layer, m, c.alpha);
    cairo_destroy(cr);
    const Difference d = compare(ours, theirs);
    EXPECT_LE(d.largest, 4) << what;
    EXPECT_LT(d.differing, 260 * 300 * 3 / 100) << what;  // under one percent more than a level off
    EXPECT_LT(d.farOff, 260 * 300 * 3 / 2000) << what;    // and a twentieth of that more than two
    cairo_surface_destroy(ours);
    cairo_surface_destroy(theirs);
  }
  cairo_surface_destroy(layer);
}

TEST(AffineComposite, DrawsOnlyInsideTheClip) {
  const int width = 80, height = 140;
  cairo_surface_t* layer = makeLayer(width, height);
  const cairo_matrix_t m = placement(100, 100, -10, 1, width, height);
  cairo_surface_t* ours = makeTarget(CAIRO_FORMAT_RGB24, 200, 200);
  cairo_surface_t* theirs = makeTarget(CAIRO_FORMAT_RGB24, 200, 200);
  for (cairo_surface_t* target : {ours, theirs}) {
    cairo_t* cr = cairo_create(target);
    cairo_scale(cr, 2, 2);  // the clip is set in user space, as a slide's is
    cairo_rectangle(cr, 20, 25, 40, 30);
    cairo_clip(cr);
    cairo_identity_matrix(cr);
    if (target == ours)
      ASSERT_TRUE(AffineComposite::over(cr, layer, m, 1));
    else
      drawWithCairo(cr, layer, m, 1);
    cairo_destroy(cr);
  }
  EXPECT_LE(compare(ours, theirs).largest, 4);
  // And outside the clip, the background is as it was.
  cairo_surface_t* untouched = makeTarget(CAIRO_FORMAT_RGB24, 200, 200);
  cairo_surface_flush(ours);
  const int stride = cairo_image_surface_get_stride(ours);
  for (int y : {30, 49, 111, 150})
    for (int x : {20, 39, 121, 160})
      EXPECT_EQ(std::memcmp(cairo_image_surface_get_data(ours) + y * stride + x * 4,
                            cairo_image_surface_get_data(untouched) + y * stride + x * 4, 3),
                0)
          << x << "," << y;
  for (cairo_surface_t* s : {ours, theirs, untouched, layer}) cairo_surface_destroy(s);
}

TEST(AffineComposite, LeavesToCairoWhatItCantDrawExactly) {
  cairo_surface_t* layer = makeLayer(60, 90);
  const cairo_matrix_t turned = placement(50, 50, 12, 1, 60, 90);
  cairo_surface_t* target = makeTarget(CAIRO_FORMAT_RGB24, 100, 100);
  cairo_surface_t* before = makeTarget(CAIRO_FORMAT_RGB24, 100, 100);
  auto declines = [&](auto prepare, const cairo_matrix_t& m) {
    cairo_t* cr = cairo_create(target);
    prepare(cr);
    const bool drew = AffineComposite::over(cr, layer, m, 1);
    cairo_destroy(cr);
    return !drew;
  };
  EXPECT_TRUE(declines([](cairo_t* cr) { cairo_set_operator(cr, CAIRO_OPERATOR_MULTIPLY); }, turned));
  EXPECT_TRUE(declines([](cairo_t* cr) { cairo_push_group(cr); }, turned));
  EXPECT_TRUE(declines(
      [](cairo_t* cr) {
        cairo_arc(cr, 50, 50, 30, 0, 2 * M_PI);
        cairo_clip(cr);
      },
      turned));
  EXPECT_TRUE(declines([](cairo_t*) {}, placement(50, 50, 12, 0.5, 60, 90)));  // cairo averages more than four pixels
  EXPECT_EQ(compare(target, before).largest, 0);
  for (cairo_surface_t* s : {target, before, layer}) cairo_surface_destroy(s);
}

TEST(AffineComposite, ALayerBeyondThePictureChangesNothing) {
  cairo_surface_t* layer = makeLayer(60, 90);
  cairo_surface_t* target = makeTarget(CAIRO_FORMAT_ARGB32, 100, 100);
  cairo_surface_t* before = makeTarget(CAIRO_FORMAT_ARGB32, 100, 100);
  cairo_t* cr = cairo_create(target);
  EXPECT_TRUE(AffineComposite::over(cr, layer, placement(-200, 400, 30, 1, 60, 90), 1));
  EXPECT_TRUE(AffineComposite::over(cr, layer, placement(50, 50, 30, 1, 60, 90), 0.0001));
  cairo_destroy(cr);
  EXPECT_EQ(compare(target, before).largest, 0);
  for (cairo_surface_t* s : {target, before, layer}) cairo_surface_destroy(s);
}

}  // namespace
}  // namespace vorno::affine_composite_test
