// The map: today's route through the town, the stops as numbered pins, the crew's position, and
// the sheet with the next stop.
//
// The town is drawn in a unit square (0...1 across the screen's width, 0...1.6 down) so that the
// same streets fit the iPhone's and the Android phone's proportions.
#include "examples/capture_painter/screen_painter.h"

#include <cmath>

namespace crewday {

namespace {

struct Town {
  double W, H;
  double squeeze = 1;  // the Android sheet is taller: the town moves up a little to keep every stop
  Point at(double u, double v) const { return {u * W, v * W * squeeze}; }
  std::vector<Point> path(std::initializer_list<std::pair<double, double>> uv) const {
    std::vector<Point> points;
    for (auto [u, v] : uv) points.push_back(at(u, v));
    return points;
  }
};

void drawTown(ScreenPainter& p, const Town& t) {
  p.fill(p.bounds(), Brand::hex("#EEEAE2"));
  // Parks and water under the streets.
  const RGBColor park = Brand::hex("#CFE6C6"), water = Brand::hex("#BCD8F0");
  p.roundRect({t.at(0.06, 0.52).x, t.at(0.06, 0.52).y, 0.3 * t.W, 0.2 * t.W * t.squeeze}, 10, park);
  p.roundRect({t.at(0.62, 1.18).x, t.at(0.62, 1.18).y, 0.3 * t.W, 0.16 * t.W * t.squeeze}, 10, park);
  p.polygon(t.path({{-0.1, 1.38}, {0.3, 1.3}, {0.6, 1.42}, {1.1, 1.36}, {1.1, 1.5}, {0.6, 1.56}, {0.3, 1.44},
                    {-0.1, 1.52}}),
            water);
  // Minor streets: a grid, slightly irregular, as towns are.
  const RGBColor minor = Brand::hex("#FFFFFF"), casing = Brand::hex("#DCD5C8");
  for (double u : {0.12, 0.28, 0.44, 0.6, 0.76, 0.92})
    p.polyline(t.path({{u, 0}, {u + 0.02, 0.8}, {u - 0.01, 1.6}}), minor, 6);
  for (double v : {0.14, 0.3, 0.46, 0.78, 0.94, 1.1, 1.26})
    p.polyline(t.path({{0, v}, {0.5, v + 0.015}, {1, v - 0.01}}), minor, 6);
  // Main roads with a casing, and the ring road.
  auto major = [&](std::vector<Point> points) {
    p.polyline(points, casing, 13);
    p.polyline(points, Brand::hex("#FFFFFF"), 10);
  };
  major(t.path({{0, 0.62}, {0.5, 0.635}, {1, 0.61}}));
  major(t.path({{0.36, 0}, {0.37, 0.8}, {0.35, 1.6}}));
  major(t.path({{-0.05, 1.02}, {0.4, 0.74}, {1.05, 0.36}}));
  p.polyline(t.path({{0.84, -0.05}, {0.86, 0.6}, {0.7, 1.0}, {0.72, 1.7}}), Brand::hex("#E8C979"), 15);
  p.polyline(t.path({{0.84, -0.05}, {0.86, 0.6}, {0.7, 1.0}, {0.72, 1.7}}), Brand::hex("#F6D98E"), 11);
  // A few street names, set along the horizontal streets as a map app would.
  struct Name {
    double u, v;
    const char* en;
    const char* ja;
  };
  const Name names[] = {{0.47, 0.452, "Mill Lane", "中町通り"},     {0.04, 0.772, "Elm Street", "栄町通り"},
                        {0.66, 0.598, "Harbour Rd", "港通り"},    {0.05, 1.092, "Park Place", "旭町通り"},
                        {0.46, 1.255, "Lake Drive", "湖南通り"}};
  for (const Name& n : names)
    p.label(p.L(n.en, n.ja), t.at(n.u, n.v).x, t.at(n.u, n.v).y, 0.3 * t.W, 9.5, FontWeight::medium,
            Brand::hex("#8C8578"));
}

void pin(ScreenPainter& p, Point at, const std::string& number, const RGBColor& color, bool done) {
  p.cardShadow({at.x - 17, at.y - 17, 34, 34}, 17, 1.5);
  p.circle(at, 17, Brand::card);
  p.circle(at, 14, color);
  if (done)
    p.symbol("checkmark", {at.x - 8, at.y - 8, 16, 16}, Brand::card);
  else
    p.label(number, at.x - 14, at.y, 28, 15, FontWeight::bold, Brand::card, TextAlign::center);
}

}  // namespace

void paintMap(ScreenPainter& p) {
  const double W = p.width();
  const bool android = p.android();
  Town town{W, p.height(), android ? 0.9 : 1.0};
  drawTown(p, town);

  // Today's route, along the streets, from the yard to four stops.
  std::vector<Point> route = town.path({{0.12, 0.3},
                                        {0.37, 0.3},
                                        {0.37, 0.62},
                                        {0.6, 0.627},
                                        {0.61, 0.94},
                                        {0.44, 0.95},
                                        {0.44, 1.1},
                                        {0.76, 1.1},
                                        {0.75, 1.26}});
  p.polyline(route, Brand::hex("#FFFFFF"), 12);
  p.polyline(route, Brand::orange, 7);
  std::vector<Point> done = town.path({{0.12, 0.3}, {0.37, 0.3}, {0.37, 0.5}});
  p.polyline(done, Brand::hex("#9AA3B2"), 7);

  pin(p, town.at(0.12, 0.3), "1", Brand::green, true);
  pin(p, town.at(0.6, 0.627), "2", Brand::orange, false);
  pin(p, town.at(0.44, 1.1), "3", Brand::navy, false);
  pin(p, town.at(0.75, 1.26), "4", Brand::navy, false);
  // The crew's van, on its way to stop 2.
  Point van = town.at(0.37, 0.5);
  RGBColor halo = Brand::blue;
  halo.a = 0.18;
  p.circle(van, 26, halo);
  p.circle(van, 11, Brand::card);
  p.circle(van, 8, Brand::blue);

  double y = p.statusBar(Brand::ink);

  // The day's summary floats over the map.
  const double m = android ? 12 : 16;
  Rect summary{m, y + 6, W - 2 * m - 58, 52};
  p.card(summary, android ? 26 : 16);
  p.symbol("signpost.right.fill", {summary.x + 16, summary.midY() - 10, 20, 20}, Brand::orange);
  p.label(p.L("Today · 4 stops · 38 km", "本日・4件・38 km"), summary.x + 46, summary.midY(), summary.width - 56, 15,
          FontWeight::semibold, Brand::ink);
  Rect layers{summary.maxX() + 10, summary.y + 2, 48, 48};
  p.card(layers, android ? 24 : 14);
  p.symbol("location.fill", layers.insetBy(14, 14), Brand::blue);

  // The sheet: the next stop and what follows.
  const double barTop = android ? p.height() - 104 : p.height() - 84;
  const double sheetHeight = android ? 236 : 270;
  Rect sheet{0, barTop - sheetHeight, W, sheetHeight + 30};
  p.cardShadow(sheet, 26, 2);
  p.roundRect(sheet, 26, Brand::card);
  p.roundRect({W / 2 - 20, sheet.y + 8, 40, 5}, 2.5, Brand::hairline);
  double top = sheet.y + 26;
  const double sm = android ? 16 : 20;
  p.label(p.L("NEXT STOP · 12 MIN", "次の現場・あと12分"), sm, top + 8, 260, 12.5, FontWeight::bold, Brand::orange);
  p.label(p.L("Leak fix at Hartley Bakery", "ハートリー製パン 水漏れ修理"), sm, top + 34, W - 2 * sm, 20,
          FontWeight::bold, Brand::ink);
  p.label(p.L("14 Mill Lane · 4.2 km · Arrive 10:37", "中町 14-3・4.2 km・10:37 到着"), sm, top + 60, W - 2 * sm, 14,
          FontWeight::regular, Brand::muted);
  Rect go{sm, top + 82, (W - 2 * sm) * 0.62, 48};
  p.button(go, p.L("Start route", "ルート開始"), Brand::orange, Brand::card, "arrow.up.right.circle.fill");
  Rect call{go.maxX() + 10, go.y, W - sm - go.maxX() - 10, 48};
  p.roundRect(call, android ? 24 : 14, Brand::orangeSoft);
  p.symbol("phone.fill", {call.midX() - 10, call.midY() - 10, 20, 20}, Brand::orange);
  double listTop = go.maxY() + 16;
  struct Stop {
    const char* n;
    const char* en;
    const char* ja;
    const char* when;
  };
  const Stop next[] = {{"3", "Kitchen rewire · Elm St", "キッチン配線・栄町", "11:30"},
                       {"4", "Hallway paint · Park Pl", "廊下の塗装・旭町", "13:30"}};
  for (int i = 0; i < (android ? 1 : 2); ++i) {
    double mid = listTop + 20 + i * 42;
    p.circle({sm + 12, mid}, 12, Brand::hex("#E9ECF1"));
    p.label(next[i].n, sm, mid, 24, 12.5, FontWeight::bold, Brand::ink, TextAlign::center);
    p.label(p.L(next[i].en, next[i].ja), sm + 36, mid, W - 2 * sm - 100, 15, FontWeight::medium, Brand::inkSoft);
    p.label(next[i].when, W - sm - 80, mid, 80, 14, FontWeight::semibold, Brand::muted, TextAlign::right);
  }
  p.tabBar(2);
}

}  // namespace crewday
