// The invoice, paid: the moment the app exists for. A green tick, the amount, who paid and how,
// and the invoice's short history.
#include "examples/capture_painter/screen_painter.h"

namespace crewday {

void paintPaid(ScreenPainter& p) {
  const double W = p.width();
  const bool android = p.android();
  const double m = android ? 16 : 20;
  p.fill(p.bounds(), Brand::canvas);
  // A soft green wash behind the good news.
  p.fill({0, 0, W, android ? 330.0 : 390.0}, Brand::hex("#E2F3E9"));
  double y = p.statusBar(Brand::ink);

  if (android) {
    p.symbol("arrow.left", {16, y + 16, 24, 24}, Brand::ink);
    p.label(p.L("Invoice #1042", "請求書 #1042"), 64, y + 28, W - 140, 22, FontWeight::medium, Brand::ink);
    p.symbol("square.and.arrow.up", {W - 40, y + 16, 24, 24}, Brand::ink);
    y += 60;
  } else {
    p.symbol("chevron.left", {12, y + 11, 22, 22}, Brand::green);
    p.label(p.L("Invoices", "請求書"), 36, y + 22, 120, 17, FontWeight::regular, Brand::green);
    p.label(p.L("Invoice #1042", "請求書 #1042"), W / 2 - 100, y + 22, 200, 17, FontWeight::semibold, Brand::ink,
            TextAlign::center);
    p.symbol("square.and.arrow.up", {W - 38, y + 10, 22, 22}, Brand::green);
    y += 48;
  }

  // Confetti: a few flecks of the trades' colours around the tick.
  struct Fleck {
    double u, dy, w, h;
    const RGBColor* color;
  };
  const Fleck flecks[] = {{0.2, 18, 10, 4, &Brand::orange}, {0.28, 70, 6, 6, &Brand::amber},
                          {0.74, 22, 10, 4, &Brand::blue},  {0.82, 66, 6, 6, &Brand::violet},
                          {0.14, 104, 8, 4, &Brand::teal},  {0.88, 112, 8, 4, &Brand::orange},
                          {0.66, 6, 5, 5, &Brand::green},   {0.34, 0, 5, 5, &Brand::red}};
  for (const Fleck& f : flecks) p.roundRect({f.u * W, y + f.dy, f.w, f.h}, 2, *f.color);

  // The tick, the amount and who paid.
  const double tick = android ? 38 : 44;
  Point centre{W / 2, y + 16 + tick};
  RGBColor ring = Brand::green;
  ring.a = 0.16;
  p.circle(centre, tick + 12, ring);
  p.circle(centre, tick, Brand::green);
  p.symbol("checkmark", {centre.x - tick * 0.5, centre.y - tick * 0.5, tick, tick}, Brand::card);
  y = centre.y + tick + 26;
  p.label(p.L("PAID IN FULL", "お支払い済み"), 0, y, W, 13, FontWeight::bold, Brand::green, TextAlign::center);
  y += 12;
  y += p.text(p.L("$1,558.00", "¥168,300"), {0, y}, W, android ? 42 : 50, FontWeight::bold, Brand::ink,
              TextAlign::center, 1.1);
  p.label(p.L("Sarah Chen · Today, 2:14 PM", "佐藤 由紀 様・本日 14:14"), 0, y + 10, W, 15, FontWeight::medium,
          Brand::inkSoft, TextAlign::center);
  y = (android ? 330 : 390) + 18;

  // Details.
  struct Row {
    const char* symbol;
    const char* en;
    const char* ja;
    const char* valueEn;
    const char* valueJa;
  };
  const Row rows[] = {{"hammer", "Job", "工事", "Bathroom refit", "浴室リフォーム"},
                      {"creditcard.fill", "Paid with", "支払方法", "Visa •••• 4242", "Visa •••• 4242"},
                      {"clock.fill", "Paid", "入金日", "2 days after sending", "送付から2日"},
                      {"banknote", "Payout", "振込予定", "Tomorrow to Business ••91", "明日 事業用口座へ"}};
  const double rowHeight = android ? 48 : 54;
  Rect details{m, y, W - 2 * m, rowHeight * 4};
  p.card(details, 18);
  for (int i = 0; i < 4; ++i) {
    double mid = details.y + rowHeight * (i + 0.5);
    p.symbol(rows[i].symbol, {details.x + 16, mid - 9, 18, 18}, Brand::muted);
    p.label(p.L(rows[i].en, rows[i].ja), details.x + 46, mid, 120, 15, FontWeight::regular, Brand::muted);
    p.label(p.L(rows[i].valueEn, rows[i].valueJa), details.x + 140, mid, details.width - 156, 15, FontWeight::semibold,
            Brand::ink, TextAlign::right);
    if (i < 3) p.fill({details.x + 46, mid + rowHeight / 2, details.width - 46, 0.75}, Brand::hairline);
  }
  y = details.maxY() + 16;

  // History: sent, viewed, paid.
  Rect history{m, y, W - 2 * m, android ? 86.0 : 96.0};
  p.card(history, 18);
  const char* stepsEn[] = {"Sent", "Viewed", "Paid"};
  const char* stepsJa[] = {"送付", "閲覧", "入金"};
  const char* dates[] = {"9/6", "10/6", "11/6"};
  const char* datesEn[] = {"Jun 9", "Jun 10", "Jun 11"};
  double left = history.x + 44, right = history.maxX() - 44;
  double lineY = history.y + 30;
  p.line({left, lineY}, {right, lineY}, Brand::green, 3);
  for (int i = 0; i < 3; ++i) {
    double x = left + (right - left) * i / 2;
    p.circle({x, lineY}, 11, Brand::green);
    p.symbol("checkmark", {x - 6, lineY - 6, 12, 12}, Brand::card);
    p.label(p.L(stepsEn[i], stepsJa[i]), x - 50, lineY + 26, 100, 14, FontWeight::semibold, Brand::ink,
            TextAlign::center);
    p.label(p.japanese() ? dates[i] : datesEn[i], x - 50, lineY + 45, 100, 12.5, FontWeight::regular, Brand::muted,
            TextAlign::center);
  }

  // The next visit, where the screen has room for it.
  y = history.maxY() + 16;
  const double barHeight = android ? 96 : 112;
  const double barTop = p.height() - barHeight;
  if (y + 76 < barTop) {
    Rect next{m, y, W - 2 * m, 76};
    p.card(next, 18);
    Rect icon{next.x + 16, next.midY() - 20, 40, 40};
    p.roundRect(icon, 12, Brand::orangeSoft);
    p.symbol("calendar.badge.plus", icon.insetBy(10, 10), Brand::orange);
    p.label(p.L("Book the yearly check", "年次点検を予約"), icon.maxX() + 14, next.midY() - 10, 220, 15,
            FontWeight::semibold, Brand::ink);
    p.label(p.L("Sarah's boiler is due in June", "給湯器の点検時期は来年6月"), icon.maxX() + 14, next.midY() + 11,
            240, 13, FontWeight::regular, Brand::muted);
    double w = p.measure(p.L("Book", "予約"), 13, FontWeight::semibold) + 28;
    p.chip(p.L("Book", "予約"), {next.maxX() - 16 - w, next.midY() - 15}, Brand::orange, Brand::card, 13, 30);
  }

  // Actions.
  Rect receipt{m, barTop + 14, W - 2 * m, 52};
  p.button(receipt, p.L("Send receipt", "領収書を送る"), Brand::green, Brand::card, "envelope.fill");
  p.homeIndicator(Brand::ink);
}

}  // namespace crewday
