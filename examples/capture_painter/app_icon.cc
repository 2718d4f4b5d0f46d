// The app's icon, which the example's notification shows: a white week calendar with a tick on
// the brand's orange, lit a little from the top as icons are.
#include "examples/capture_painter/screen_painter.h"

#include <cairo.h>

namespace crewday {

void paintAppIcon(ScreenPainter& p) {
  const double W = p.width(), H = p.height();
  cairo_t* cr = p.context();
  cairo_pattern_t* glow = cairo_pattern_create_linear(0, 0, 0, H);
  cairo_pattern_add_color_stop_rgb(glow, 0, 0xF2 / 255.0, 0x7A / 255.0, 0x35 / 255.0);
  cairo_pattern_add_color_stop_rgb(glow, 1, 0xD9 / 255.0, 0x52 / 255.0, 0x10 / 255.0);
  cairo_rectangle(cr, 0, 0, W, H);
  cairo_set_source(cr, glow);
  cairo_fill(cr);
  cairo_pattern_destroy(glow);
  // The calendar: a white card with two rings, its header band, and the tick of a job done.
  const Rect sheet{W * 0.2, H * 0.24, W * 0.6, H * 0.56};
  p.roundRect(sheet, W * 0.09, Brand::card);
  p.roundRect({sheet.x, sheet.y, sheet.width, sheet.height * 0.26}, W * 0.09, Brand::navy);
  p.fill({sheet.x, sheet.y + sheet.height * 0.1, sheet.width, sheet.height * 0.16}, Brand::navy);
  for (double u : {0.3, 0.7})
    p.roundRect({sheet.x + sheet.width * u - W * 0.025, H * 0.18, W * 0.05, H * 0.13}, W * 0.025, Brand::card);
  p.polyline({{W * 0.36, H * 0.56}, {W * 0.46, H * 0.66}, {W * 0.65, H * 0.45}}, Brand::orange, W * 0.075);
}

}  // namespace crewday
