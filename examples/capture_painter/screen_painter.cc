// The drawing vocabulary of the Crewday screens. Everything is drawn in logical units: the
// context is scaled once by the phone's density, and the text engine, which measures with
// hinting off, sets type the same at any scale.
#include "examples/capture_painter/screen_painter.h"

#include "kit/image/cairo_util.h"
#include "kit/image/vector_image.h"
#include "kit/layout/symbols.h"
#include "kit/text/text_layout.h"
#include "kit/text/text_spec.h"
#include "kit/util/path.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace crewday {

using vorno::CairoSaved;
using vorno::Path;
using vorno::setColor;

namespace Brand {
RGBColor hex(std::string_view text) { return RGBColor::fromHex(text).value_or(RGBColor::black()); }
const RGBColor ink = hex("#12233D");
const RGBColor inkSoft = hex("#3B4A63");
const RGBColor muted = hex("#6B7385");
const RGBColor hairline = hex("#E4E0D8");
const RGBColor canvas = hex("#F5F2EC");
const RGBColor card = hex("#FFFFFF");
const RGBColor orange = hex("#E8641B");
const RGBColor orangeSoft = hex("#FDEBDD");
const RGBColor green = hex("#1E9E6A");
const RGBColor greenSoft = hex("#DDF3E8");
const RGBColor blue = hex("#2F7DE1");
const RGBColor amber = hex("#F0A020");
const RGBColor violet = hex("#8057E8");
const RGBColor teal = hex("#129C93");
const RGBColor red = hex("#E5484D");
const RGBColor navy = hex("#12233D");
}  // namespace Brand

ScreenPainter::ScreenPainter(cairo_t* cr, const Phone& phone, std::string locale)
    : cr_(cr), phone_(phone), locale_(std::move(locale)) {
  cairo_scale(cr_, phone_.scale, phone_.scale);
}

void ScreenPainter::fill(const Rect& r, const RGBColor& color) {
  setColor(cr_, color);
  cairo_rectangle(cr_, r.x, r.y, r.width, r.height);
  cairo_fill(cr_);
}

void ScreenPainter::roundRect(const Rect& r, double radius, const RGBColor& color) {
  Path path;
  path.addRoundedRect(r, std::min(radius, std::min(r.width, r.height) / 2));
  vorno::appendPath(cr_, path);
  setColor(cr_, color);
  cairo_fill(cr_);
}

void ScreenPainter::strokeRoundRect(const Rect& r, double radius, const RGBColor& color, double lineWidth) {
  Path path;
  path.addRoundedRect(r, std::min(radius, std::min(r.width, r.height) / 2));
  vorno::appendPath(cr_, path);
  setColor(cr_, color);
  cairo_set_line_width(cr_, lineWidth);
  cairo_stroke(cr_);
}

void ScreenPainter::circle(Point centre, double radius, const RGBColor& color) {
  cairo_new_path(cr_);
  cairo_arc(cr_, centre.x, centre.y, radius, 0, 2 * M_PI);
  setColor(cr_, color);
  cairo_fill(cr_);
}

void ScreenPainter::strokeCircle(Point centre, double radius, const RGBColor& color, double lineWidth) {
  cairo_new_path(cr_);
  cairo_arc(cr_, centre.x, centre.y, radius, 0, 2 * M_PI);
  setColor(cr_, color);
  cairo_set_line_width(cr_, lineWidth);
  cairo_stroke(cr_);
}

void ScreenPainter::line(Point a, Point b, const RGBColor& color, double lineWidth) {
  polyline({a, b}, color, lineWidth);
}

void ScreenPainter::polyline(const std::vector<Point>& points, const RGBColor& color, double lineWidth, bool dashed) {
  if (points.size() < 2) return;
  CairoSaved saved(cr_);
  cairo_new_path(cr_);
  cairo_move_to(cr_, points[0].x, points[0].y);
  for (size_t i = 1; i < points.size(); ++i) cairo_line_to(cr_, points[i].x, points[i].y);
  setColor(cr_, color);
  cairo_set_line_width(cr_, lineWidth);
  cairo_set_line_cap(cr_, CAIRO_LINE_CAP_ROUND);
  cairo_set_line_join(cr_, CAIRO_LINE_JOIN_ROUND);
  if (dashed) {
    double dash[] = {lineWidth * 1.2, lineWidth * 2.2};
    cairo_set_dash(cr_, dash, 2, 0);
  }
  cairo_stroke(cr_);
}

void ScreenPainter::polygon(const std::vector<Point>& points, const RGBColor& color) {
  if (points.size() < 3) return;
  cairo_new_path(cr_);
  cairo_move_to(cr_, points[0].x, points[0].y);
  for (size_t i = 1; i < points.size(); ++i) cairo_line_to(cr_, points[i].x, points[i].y);
  cairo_close_path(cr_);
  setColor(cr_, color);
  cairo_fill(cr_);
}

void ScreenPainter::cardShadow(const Rect& r, double radius, double strength) {
  // A real blur would cost a surface per card; a few rings of falling opacity read the same on a
  // phone screen and keep the files small.
  for (int i = 6; i >= 1; --i) {
    double grow = i * 1.4;
    RGBColor shade = Brand::ink;
    shade.a = 0.012 * strength * (7 - i);
    roundRect(r.outsetBy(grow).offsetBy(0, 2 + i * 0.5), radius + grow, shade);
  }
}

void ScreenPainter::card(const Rect& r, double radius) {
  cardShadow(r, radius, 0.8);
  roundRect(r, radius, Brand::card);
}

namespace {

vorno::TextSpec specOf(std::string_view copy, double size, FontWeight weight, const RGBColor& color, TextAlign align,
                       double lineHeight, const std::string& locale) {
  vorno::TextSpec spec;
  spec.text = std::string(copy);
  spec.size = size;
  spec.weight = weight;
  spec.color = color;
  spec.emphasis = color;
  spec.alignment = align;
  spec.lineHeight = lineHeight;
  // Interface text is set a touch tight at display sizes, as the system does.
  spec.tracking = size >= 24 ? -0.015 : 0;
  spec.language = locale;
  return spec;
}

}  // namespace

double ScreenPainter::text(std::string_view copy, Point topLeft, double width, double size, FontWeight weight,
                           const RGBColor& color, TextAlign align, double lineHeight) {
  vorno::TextSpec spec = specOf(copy, size, weight, color, align, lineHeight, locale_);
  vorno::TextLayout::Fitted laid = vorno::TextLayout::laid(spec, width);
  vorno::TextLayout::draw(laid, cr_, topLeft.x, topLeft.y);
  return laid.size.height;
}

double ScreenPainter::label(std::string_view copy, double x, double midY, double width, double size, FontWeight weight,
                            const RGBColor& color, TextAlign align) {
  // A label is one line, as in the app: a name too long for its column is set a little smaller
  // (as the platforms' own labels shrink to fit), never wrapped onto the row below.
  const double natural = measure(copy, size, weight);
  if (natural > width && natural > 0) size = std::max(size * 0.8, size * width / natural * 0.98);
  vorno::TextSpec spec = specOf(copy, size, weight, color, align, 1.2, locale_);
  vorno::TextLayout::Fitted laid = vorno::TextLayout::laid(spec, width);
  vorno::TextLayout::draw(laid, cr_, x, midY - laid.size.height / 2);
  return laid.size.height;
}

double ScreenPainter::measure(std::string_view copy, double size, FontWeight weight) {
  vorno::TextSpec spec = specOf(copy, size, weight, Brand::ink, TextAlign::left, 1.2, locale_);
  auto style = vorno::TextLayout::style(spec);
  return vorno::TextLayout::suggestedSize(vorno::TextLayout::attributed(spec.text, style), 10000).width;
}

void ScreenPainter::symbol(std::string_view name, const Rect& box, const RGBColor& color) {
  std::optional<std::string> svg = vorno::Symbols::svgPath(name);
  if (!svg) return;
  double side = std::min(box.width, box.height);
  Rect square{box.midX() - side / 2, box.midY() - side / 2, side, side};
  // The icons are drawn in their own colour; keep their coverage and paint ours through it.
  cairo_push_group(cr_);
  bool drawn = vorno::VectorImage::draw(*svg, cr_, square);
  if (drawn) {
    cairo_set_operator(cr_, CAIRO_OPERATOR_IN);
    setColor(cr_, color);
    Rect grown = square.outsetBy(1);
    cairo_rectangle(cr_, grown.x, grown.y, grown.width, grown.height);
    cairo_fill(cr_);
  }
  cairo_pop_group_to_source(cr_);
  if (drawn) cairo_paint(cr_);
  cairo_set_source_rgb(cr_, 0, 0, 0);
}

void ScreenPainter::avatar(Point centre, double radius, std::string_view initials, const RGBColor& color) {
  circle(centre, radius, color);
  label(initials, centre.x - radius, centre.y, radius * 2, radius * 0.78, FontWeight::semibold, Brand::card,
        TextAlign::center);
}

double ScreenPainter::chip(std::string_view copy, Point topLeft, const RGBColor& background, const RGBColor& color,
                           double size, double height) {
  double width = measure(copy, size, FontWeight::semibold) + height * 0.9;
  roundRect({topLeft.x, topLeft.y, width, height}, height / 2, background);
  label(copy, topLeft.x, topLeft.y + height / 2, width, size, FontWeight::semibold, color, TextAlign::center);
  return width;
}

double ScreenPainter::statusBar(const RGBColor& color) {
  if (android()) {
    // Time on the left, system icons on the right, the camera's punch hole between them.
    const double mid = 18;
    label("9:41", 22, mid, 80, 14, FontWeight::medium, color);
    double x = width() - 22;
    // Battery: an upright pill, Android style; then the signal wedge and Wi-Fi to its left.
    roundRect({x - 8, mid - 7, 8, 14}, 2, color);
    x -= 8 + 6;
    polygon({{x - 12, mid + 6}, {x, mid + 6}, {x, mid - 6}}, color);
    x -= 12 + 6 + 15;
    symbol("wifi", {x, mid - 7.5, 15, 15}, color);
    return 36;
  }
  // iOS: the time sits left of the island, the indicators right of it.
  const double mid = 31;
  label("9:41", 34, mid, 80, 17, FontWeight::semibold, color, TextAlign::center);
  double x = width() - 36;
  RGBColor frame = color;
  frame.a = 0.4;
  strokeRoundRect({x - 25, mid - 6.5, 25, 13}, 4, frame, 1);
  roundRect({x - 23, mid - 4.5, 21, 9}, 2.5, color);
  roundRect({x + 1.5, mid - 2, 1.5, 4}, 0.75, frame);
  x -= 25 + 24;
  symbol("wifi", {x, mid - 8, 17, 16}, color);
  x -= 24;
  for (int i = 0; i < 4; ++i) roundRect({x + i * 5, mid + 5 - (i + 1) * 2.8, 3.2, (i + 1) * 2.8}, 0.8, color);
  return 54;
}

double ScreenPainter::tabBar(int selected) {
  struct Tab {
    const char* symbol;
    const char* en;
    const char* ja;
  };
  static const Tab tabs[] = {{"calendar", "Week", "週間"},
                             {"briefcase", "Jobs", "案件"},
                             {"map", "Map", "地図"},
                             {"doc.text", "Quotes", "見積"},
                             {"person.2", "Crew", "チーム"}};
  const int count = 5;
  if (android()) {
    // A navigation bar with the selected item in a pill, above the gesture bar.
    const double height = 80 + 24;
    const double top = this->height() - height;
    fill({0, top, width(), height}, Brand::hex("#FBF8F3"));
    const double step = width() / count;
    for (int i = 0; i < count; ++i) {
      double cx = step * (i + 0.5);
      bool on = i == selected;
      if (on) roundRect({cx - 30, top + 12, 60, 32}, 16, Brand::orangeSoft);
      std::string name = tabs[i].symbol;
      if (on && name != "doc.text") name += ".fill";
      symbol(name, {cx - 11, top + 17, 22, 22}, on ? Brand::orange : Brand::inkSoft);
      label(L(tabs[i].en, tabs[i].ja), cx - step / 2, top + 58, step, 12, on ? FontWeight::bold : FontWeight::medium,
            on ? Brand::ink : Brand::inkSoft, TextAlign::center);
    }
    homeIndicator(Brand::ink);
    return top;
  }
  const double height = 84;
  const double top = this->height() - height;
  fill({0, top, width(), height}, Brand::hex("#FBF9F6"));
  fill({0, top, width(), 0.5}, Brand::hairline);
  const double step = width() / count;
  for (int i = 0; i < count; ++i) {
    double cx = step * (i + 0.5);
    bool on = i == selected;
    std::string name = tabs[i].symbol;
    if (on && name != "doc.text") name += ".fill";
    RGBColor color = on ? Brand::orange : Brand::hex("#8A909C");
    symbol(name, {cx - 12, top + 8, 24, 24}, color);
    label(L(tabs[i].en, tabs[i].ja), cx - step / 2, top + 43, step, 10.5, FontWeight::medium, color,
          TextAlign::center);
  }
  homeIndicator(Brand::ink);
  return top;
}

void ScreenPainter::homeIndicator(const RGBColor& color) {
  if (android()) {
    roundRect({width() / 2 - 54, height() - 12, 108, 4}, 2, color);
    return;
  }
  roundRect({width() / 2 - 72, height() - 13, 144, 5}, 2.5, color);
}

void ScreenPainter::button(const Rect& r, std::string_view copy, const RGBColor& background, const RGBColor& color,
                           std::string_view symbolName) {
  roundRect(r, android() ? r.height / 2 : 14, background);
  double size = 17;
  double textWidth = measure(copy, size, FontWeight::semibold);
  double iconWidth = symbolName.empty() ? 0 : 28;
  double x = r.midX() - (textWidth + iconWidth) / 2;
  if (!symbolName.empty()) symbol(symbolName, {x, r.midY() - 10, 20, 20}, color);
  label(copy, x + iconWidth, r.midY(), textWidth + 4, size, FontWeight::semibold, color);
}

}  // namespace crewday
