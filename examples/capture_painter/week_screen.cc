// The week screen: the crew's jobs of Monday to Friday on one timeline, coloured by trade, with
// today's column lit and the present moment marked.
#include "examples/capture_painter/screen_painter.h"

#include <cstdio>

namespace crewday {

namespace {

struct Job {
  int day;             // 0 = Monday
  double start, end;   // hours of the day
  const RGBColor* trade;
  const char* en;
  const char* ja;
  const char* placeEn;
  const char* placeJa;
};

// Japanese titles carry their own line break: the columns hold four characters, and a word
// split by the line breaker would read badly.
const Job jobs[] = {
    {0, 7.5, 10, &Brand::amber, "Panel upgrade", "分電盤\n交換", "Oak St", "桜台"},
    {0, 11, 14, &Brand::blue, "Boiler service", "給湯器\n点検", "Hill Rd", "緑町"},
    {0, 15, 16.75, &Brand::orange, "Deck repair", "デッキ\n補修", "Pine Ave", "本町"},
    {1, 8, 12, &Brand::orange, "Kitchen fit-out", "キッチン\n取付", "Elm St", "栄町"},
    {1, 13, 15.5, &Brand::amber, "EV charger", "EV\n充電器", "Bay Rd", "港町"},
    {2, 7, 9, &Brand::blue, "Leak fix", "水漏れ\n修理", "Mill Ln", "中町"},
    {2, 9.5, 12.5, &Brand::amber, "Kitchen rewire", "キッチン\n配線", "Elm St", "栄町"},
    {2, 13.5, 16.5, &Brand::violet, "Hallway paint", "廊下\n塗装", "Park Pl", "旭町"},
    {3, 8, 11, &Brand::teal, "AC install", "エアコン\n設置", "Lake Dr", "湖南"},
    {3, 12, 13.5, &Brand::blue, "Tap swap", "蛇口\n交換", "Rose St", "若葉"},
    {3, 14, 17, &Brand::orange, "Hang doors", "ドア\n取付", "Oak St", "桜台"},
    {4, 7.5, 9.5, &Brand::amber, "Site survey", "現地\n調査", "Kent Rd", "東町"},
    {4, 10, 15, &Brand::red, "Roof repair", "屋根\n修理", "Ash Ct", "西町"},
    {4, 15.5, 17, &Brand::violet, "Touch-ups", "仕上げ\n塗装", "Park Pl", "旭町"},
};

std::string hourLabel(int hour, bool japanese) {
  char text[16];
  if (japanese)
    std::snprintf(text, sizeof text, "%d:00", hour);
  else
    std::snprintf(text, sizeof text, "%d %s", hour > 12 ? hour - 12 : hour, hour >= 12 ? "PM" : "AM");
  return text;
}

/// The text colour of a job: its trade's colour, darkened until it reads on the block's tint.
RGBColor deepOf(const RGBColor& trade) { return trade.mixed(Brand::ink, 0.55); }

}  // namespace

void paintWeek(ScreenPainter& p) {
  const double W = p.width();
  const bool android = p.android();
  p.fill(p.bounds(), Brand::canvas);
  double y = p.statusBar(Brand::ink);

  // Title block: the week and its dates, the dispatcher's avatar and the add button.
  const double margin = android ? 16 : 20;
  y += android ? 10 : 8;
  p.text(p.L("June 9 – 13 · Week 24", "6月9日〜13日・第24週"), {margin, y}, W - 140, 14, FontWeight::semibold,
         Brand::orange);
  p.text(p.L("This week", "今週の予定"), {margin, y + 18}, W - 140, android ? 28 : 34, FontWeight::bold, Brand::ink);
  const double titleMid = y + 18 + (android ? 19 : 22);
  p.avatar({W - margin - 18, titleMid}, 18, "JD", Brand::navy);
  if (!android) {
    p.circle({W - margin - 64, titleMid}, 18, Brand::orange);
    p.symbol("plus", {W - margin - 75, titleMid - 11, 22, 22}, Brand::card);
  } else {
    p.symbol("magnifyingglass", {W - margin - 70, titleMid - 11, 22, 22}, Brand::inkSoft);
  }
  y += android ? 62 : 70;

  // Crew filters.
  double x = margin;
  x += p.chip(p.L("All crews", "全チーム"), {x, y}, Brand::navy, Brand::card, 13, 30) + 8;
  struct Filter {
    const RGBColor* color;
    const char* en;
    const char* ja;
  };
  for (const Filter& f : {Filter{&Brand::amber, "Electric", "電気"}, Filter{&Brand::blue, "Plumbing", "配管"},
                          Filter{&Brand::orange, "Carpentry", "大工"}}) {
    std::string name = p.L(f.en, f.ja);
    double w = p.measure(name, 13, FontWeight::semibold) + 44;
    if (x + w > W - margin) break;
    p.roundRect({x, y, w, 30}, 15, Brand::card);
    p.strokeRoundRect({x, y, w, 30}, 15, Brand::hairline, 1);
    p.circle({x + 15, y + 15}, 4.5, *f.color);
    p.label(name, x + 26, y + 15, w - 26, 13, FontWeight::semibold, Brand::inkSoft);
    x += w + 8;
  }
  y += 44;

  // Column heads: weekday and date, today on an orange pill.
  const double timeColumn = android ? 40 : 46;
  const double gridLeft = timeColumn + (android ? 4 : 6);
  const double gridRight = W - (android ? 8 : 12);
  const double column = (gridRight - gridLeft) / 5;
  const char* daysEn[] = {"MON", "TUE", "WED", "THU", "FRI"};
  const char* daysJa[] = {"月", "火", "水", "木", "金"};
  for (int d = 0; d < 5; ++d) {
    double cx = gridLeft + column * (d + 0.5);
    bool today = d == 2;
    p.label(p.L(daysEn[d], daysJa[d]), cx - column / 2, y + 8, column, 11.5, FontWeight::semibold,
            today ? Brand::orange : Brand::muted, TextAlign::center);
    if (today) p.roundRect({cx - 19, y + 18, 38, 32}, 16, Brand::orange);
    p.label(std::to_string(9 + d), cx - column / 2, y + 34, column, 19, FontWeight::bold,
            today ? Brand::card : Brand::ink, TextAlign::center);
  }
  y += 60;

  // The timeline, from 7 to 17 o'clock, filling the space above the tab bar.
  const double barTop = android ? p.height() - 104 : p.height() - 84;
  const double gridTop = y + 6;
  const double gridBottom = barTop - 14;
  const double hour = (gridBottom - gridTop) / 10.4;
  auto yOf = [&](double h) { return gridTop + (h - 7) * hour; };
  p.fill({gridLeft + column * 2, gridTop - 6, column, gridBottom - gridTop + 6}, Brand::hex("#FCEBDD"));
  for (int h = 7; h <= 17; ++h) {
    double ly = yOf(h);
    p.fill({gridLeft, ly, gridRight - gridLeft, 0.75}, Brand::hairline);
    p.label(hourLabel(h, p.japanese()), 0, ly, timeColumn, 10.5, FontWeight::medium, Brand::muted, TextAlign::right);
  }
  for (int d = 1; d < 5; ++d)
    p.fill({gridLeft + column * d, gridTop - 6, 0.75, gridBottom - gridTop + 6}, Brand::hairline);

  for (const Job& job : jobs) {
    Rect block{gridLeft + column * job.day + 2.5, yOf(job.start) + 1.5, column - 5, (job.end - job.start) * hour - 3};
    p.roundRect(block, 8, job.trade->mixed(Brand::card, 0.8));
    p.roundRect({block.x, block.y, 4, block.height}, 2, *job.trade);
    RGBColor deep = deepOf(*job.trade);
    double inner = block.width - 11;
    double used = p.text(p.L(job.en, job.ja), {block.x + 8, block.y + 5}, inner, android ? 10.5 : 11.5,
                         FontWeight::bold, deep, TextAlign::left, 1.1);
    if (block.height > used + 22)
      p.text(p.L(job.placeEn, job.placeJa), {block.x + 8, block.y + 7 + used}, inner, android ? 9.5 : 10.5,
             FontWeight::medium, deep.mixed(Brand::card, 0.25), TextAlign::left, 1.1);
  }

  // Now: 10:25 on Wednesday.
  double nowY = yOf(10 + 25.0 / 60);
  p.line({gridLeft + column * 2, nowY}, {gridLeft + column * 3, nowY}, Brand::red, 2);
  p.circle({gridLeft + column * 2, nowY}, 4.5, Brand::red);

  if (android) {
    // The add button floats over the timeline, above the navigation bar.
    Rect fab{W - 16 - 56, barTop - 16 - 56, 56, 56};
    p.cardShadow(fab, 16, 2);
    p.roundRect(fab, 16, Brand::orange);
    p.symbol("plus", {fab.midX() - 12, fab.midY() - 12, 24, 24}, Brand::card);
  }
  p.tabBar(0);
}

}  // namespace crewday
