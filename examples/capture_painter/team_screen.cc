// The crew board: every crew of the day, where it is, what it is doing, and how far through its
// day it has come.
#include "examples/capture_painter/screen_painter.h"

namespace crewday {

namespace {

struct Crew {
  const char* en;
  const char* ja;
  const char* people[3];
  const RGBColor* trade;
  const char* jobEn;
  const char* jobJa;
  int status;  // 0 on site, 1 driving, 2 on a break, 3 done
  const char* statusEn;
  const char* statusJa;
  double progress;
};

const Crew crews[] = {
    {"Sparks", "電気班", {"JD", "AK", ""}, &Brand::amber, "Kitchen rewire · Elm St", "キッチン配線・栄町", 0, "On site",
     "作業中", 0.45},
    {"Pipeworks", "配管班", {"LM", "RS", ""}, &Brand::blue, "Leak fix · Mill Ln", "水漏れ修理・中町", 1, "Driving · 8 min",
     "移動中・8分", 0.3},
    {"Timber", "大工班", {"OB", "TW", "EN"}, &Brand::orange, "Kitchen fit-out · Elm St", "キッチン取付・栄町", 0,
     "On site", "作業中", 0.6},
    {"Brush & Roll", "塗装班", {"CP", "", ""}, &Brand::violet, "Hallway paint · Park Pl", "廊下の塗装・旭町", 2,
     "Break until 10:45", "休憩中・10:45まで", 0.4},
    {"Cool Air", "空調班", {"MF", "DK", ""}, &Brand::teal, "AC install · Lake Dr", "エアコン設置・湖南", 3, "Done for today",
     "本日の作業完了", 1.0},
};

}  // namespace

void paintTeam(ScreenPainter& p) {
  const double W = p.width();
  const bool android = p.android();
  const double m = android ? 16 : 20;
  p.fill(p.bounds(), Brand::canvas);
  double y = p.statusBar(Brand::ink);
  y += android ? 10 : 8;
  p.text(p.L("Wednesday, June 11", "6月11日(水)"), {m, y}, W - 2 * m, 14, FontWeight::semibold, Brand::orange);
  p.text(p.L("Crews today", "今日のチーム"), {m, y + 18}, W - 2 * m, android ? 28 : 34, FontWeight::bold, Brand::ink);
  y += android ? 64 : 72;

  // The day at a glance.
  struct Count {
    const char* value;
    const char* en;
    const char* ja;
    const RGBColor* color;
  };
  const Count counts[] = {{"12", "people out", "人が稼働", &Brand::ink},
                          {"9", "jobs today", "件の作業", &Brand::orange},
                          {"4", "done", "件完了", &Brand::green}};
  const double gap = 10;
  const double tile = (W - 2 * m - 2 * gap) / 3;
  for (int i = 0; i < 3; ++i) {
    Rect r{m + i * (tile + gap), y, tile, 72};
    p.card(r, 16);
    p.label(counts[i].value, r.x + 14, r.y + 26, r.width - 20, 24, FontWeight::bold, *counts[i].color);
    p.label(p.L(counts[i].en, counts[i].ja), r.x + 14, r.y + 52, r.width - 20, 12.5, FontWeight::medium,
            Brand::muted);
  }
  y += 72 + 22;

  const double cardHeight = android ? 92 : 104;
  const double barTop = android ? p.height() - 104 : p.height() - 84;
  for (const Crew& crew : crews) {
    if (y + cardHeight > barTop - 8) break;
    Rect r{m, y, W - 2 * m, cardHeight};
    p.card(r, 18);
    p.roundRect({r.x, r.y + 16, 4, r.height - 32}, 2, *crew.trade);
    // The crew's people as overlapping avatars.
    double ax = r.x + 36;
    const double step = 29;  // overlap by the white ring only, so every initial reads
    int people = 0;
    for (const char* initials : crew.people) {
      if (!*initials) continue;
      p.circle({ax + people * step, r.y + 34}, 18, Brand::card);
      p.avatar({ax + people * step, r.y + 34}, 16, initials, crew.trade->mixed(Brand::ink, 0.25 + people * 0.12));
      ++people;
    }
    double textX = ax + (people - 1) * step + 30;
    p.label(p.L(crew.en, crew.ja), textX, r.y + 24, r.maxX() - textX - 12, 16, FontWeight::bold, Brand::ink);
    p.label(p.L(crew.jobEn, crew.jobJa), textX, r.y + 46, r.maxX() - textX - 12, 13.5, FontWeight::regular,
            Brand::muted);
    const RGBColor* colors[] = {&Brand::green, &Brand::blue, &Brand::amber, &Brand::muted};
    const RGBColor& status = *colors[crew.status];
    double chipY = r.maxY() - 36;
    double chipWidth = p.measure(p.L(crew.statusEn, crew.statusJa), 12, FontWeight::semibold) + 34;
    p.roundRect({r.x + 18, chipY, chipWidth, 24}, 12, status.mixed(Brand::card, 0.86));
    p.circle({r.x + 31, chipY + 12}, 4, status);
    p.label(p.L(crew.statusEn, crew.statusJa), r.x + 40, chipY + 12, chipWidth - 24, 12, FontWeight::semibold,
            status.mixed(Brand::ink, 0.35));
    // How far through its day the crew is.
    double barLeft = r.x + 18 + chipWidth + 16, barRight = r.maxX() - 18;
    if (barRight - barLeft > 40) {
      p.roundRect({barLeft, chipY + 9, barRight - barLeft, 6}, 3, Brand::hex("#ECE8E1"));
      p.roundRect({barLeft, chipY + 9, (barRight - barLeft) * crew.progress, 6}, 3, *crew.trade);
    }
    y += cardHeight + 12;
  }
  p.tabBar(4);
}

}  // namespace crewday
