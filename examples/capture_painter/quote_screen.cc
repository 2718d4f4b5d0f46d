// The quote builder: a client, the line items priced from the catalogue, the totals, and the
// button that sends the PDF.
#include "examples/capture_painter/screen_painter.h"

namespace crewday {

namespace {

struct Item {
  const char* symbol;
  const RGBColor* tint;
  const char* en;
  const char* ja;
  const char* detailEn;
  const char* detailJa;
  const char* amountEn;
  const char* amountJa;
};

const Item items[] = {
    {"wrench", &Brand::orange, "Labour · electrician", "電気工事 作業費", "6 h × $85.00", "6時間 × ¥8,500", "$510.00",
     "¥51,000"},
    {"powerplug.fill", &Brand::blue, "Double power outlet", "コンセント(2口)", "8 × $24.00", "8 × ¥2,400", "$192.00",
     "¥19,200"},
    {"lightbulb.fill", &Brand::amber, "LED downlight", "LEDダウンライト", "12 × $18.00", "12 × ¥1,800", "$216.00",
     "¥21,600"},
    {"bolt.fill", &Brand::violet, "Consumer unit upgrade", "分電盤の交換", "1 × $640.00", "1 × ¥64,000", "$640.00",
     "¥64,000"},
};

/// The navigation bar of a pushed screen: back, title, and an action. Returns its bottom.
double navigationBar(ScreenPainter& p, double top, std::string_view title, std::string_view back,
                     std::string_view action) {
  const double W = p.width();
  if (p.android()) {
    p.symbol("arrow.left", {16, top + 16, 24, 24}, Brand::ink);
    p.label(title, 64, top + 28, W - 140, 22, FontWeight::medium, Brand::ink);
    p.label(action, W - 120, top + 28, 104, 15, FontWeight::semibold, Brand::orange, TextAlign::right);
    return top + 60;
  }
  p.symbol("chevron.left", {12, top + 11, 22, 22}, Brand::orange);
  p.label(back, 36, top + 22, 120, 17, FontWeight::regular, Brand::orange);
  p.label(title, W / 2 - 100, top + 22, 200, 17, FontWeight::semibold, Brand::ink, TextAlign::center);
  p.label(action, W - 136, top + 22, 120, 17, FontWeight::semibold, Brand::orange, TextAlign::right);
  return top + 48;
}

}  // namespace

void paintQuote(ScreenPainter& p) {
  const double W = p.width();
  const bool android = p.android();
  const double m = android ? 16 : 20;
  p.fill(p.bounds(), Brand::canvas);
  double y = p.statusBar(Brand::ink);
  y = navigationBar(p, y, p.L("New quote", "新しい見積もり"), p.L("Quotes", "見積もり"), p.L("Save", "保存"));

  // Quote number and status.
  y += 6;
  p.label(p.L("Q-2087", "見積番号 Q-2087"), m, y + 13, 200, 13, FontWeight::semibold, Brand::muted);
  double chipWidth = p.measure(p.L("Draft", "下書き"), 12, FontWeight::semibold) + 24;
  p.chip(p.L("Draft", "下書き"), {W - m - chipWidth, y}, Brand::orangeSoft, Brand::orange, 12, 26);
  y += android ? 34 : 38;

  // The client.
  Rect client{m, y, W - 2 * m, android ? 104.0 : 112.0};
  p.card(client, 18);
  p.avatar({client.x + 38, client.y + 38}, 22, p.L("MR", "山田"), Brand::teal);
  p.label(p.L("Maria Rossi", "山田 美咲 様"), client.x + 72, client.y + 28, client.width - 120, 17,
          FontWeight::semibold, Brand::ink);
  p.label(p.L("24 Elm Street, Portland", "世田谷区桜丘 2-14"), client.x + 72, client.y + 50, client.width - 90, 14,
          FontWeight::regular, Brand::muted);
  p.symbol("chevron.right", {client.maxX() - 30, client.y + 28, 16, 16}, Brand::muted);
  const double jobY = client.maxY() - 24;
  p.fill({client.x + 16, jobY - 18, client.width - 32, 0.75}, Brand::hairline);
  p.symbol("briefcase.fill", {client.x + 18, jobY - 8, 16, 16}, Brand::orange);
  p.label(p.L("Kitchen rewiring · Wed 11 June", "キッチンの配線工事・6月11日(水)"), client.x + 42, jobY,
          client.width - 60, 14, FontWeight::medium, Brand::inkSoft);
  y = client.maxY() + (android ? 22 : 26);

  // Line items.
  p.label(p.L("LINE ITEMS", "明細"), m + 4, y, 200, 12.5, FontWeight::bold, Brand::muted);
  p.label(p.L("From catalogue", "カタログから"), W - m - 160, y, 156, 12.5, FontWeight::semibold, Brand::orange,
          TextAlign::right);
  y += 14;
  // On the shorter Android screen the catalogue row gives way to the totals.
  const double row = android ? 58 : 66;
  const int rows = android ? 4 : 5;
  Rect list{m, y, W - 2 * m, row * rows};
  p.card(list, 18);
  for (int i = 0; i < 4; ++i) {
    const Item& item = items[i];
    double top = list.y + row * i;
    Rect icon{list.x + 14, top + row / 2 - 19, 38, 38};
    p.roundRect(icon, 11, item.tint->mixed(Brand::card, 0.84));
    p.symbol(item.symbol, icon.insetBy(10, 10), *item.tint);
    double textX = icon.maxX() + 12;
    // The name takes what the amount leaves of the row, with a gap before it.
    const double amountLeft = list.maxX() - 14 - p.measure(p.L(item.amountEn, item.amountJa), 15, FontWeight::semibold);
    p.label(p.L(item.en, item.ja), textX, top + row / 2 - 10, amountLeft - 12 - textX, 15, FontWeight::semibold,
            Brand::ink);
    p.label(p.L(item.detailEn, item.detailJa), textX, top + row / 2 + 11, 200, 13, FontWeight::regular, Brand::muted);
    p.label(p.L(item.amountEn, item.amountJa), list.maxX() - 112, top + row / 2 - 10, 98, 15, FontWeight::semibold,
            Brand::ink, TextAlign::right);
    if (i + 1 < rows) p.fill({textX, top + row - 0.75, list.maxX() - textX, 0.75}, Brand::hairline);
  }
  double addTop = list.y + row * 4;
  if (!android) {
  p.symbol("plus.circle.fill", {list.x + 22, addTop + row / 2 - 11, 22, 22}, Brand::orange);
  p.label(p.L("Add from catalogue", "カタログから追加"), list.x + 64, addTop + row / 2, 220, 15, FontWeight::semibold,
          Brand::orange);
  }
  y = list.maxY() + (android ? 14 : 18);

  // Totals.
  Rect totals{m, y, W - 2 * m, 132};
  p.card(totals, 18);
  auto line = [&](double at, std::string_view name, std::string_view value) {
    p.label(name, totals.x + 18, at, 200, 15, FontWeight::regular, Brand::inkSoft);
    p.label(value, totals.maxX() - 178, at, 160, 15, FontWeight::medium, Brand::inkSoft, TextAlign::right);
  };
  line(totals.y + 24, p.L("Subtotal", "小計"), p.L("$1,558.00", "¥155,800"));
  line(totals.y + 50, p.L("Tax 8%", "消費税(10%)"), p.L("$124.64", "¥15,580"));
  p.fill({totals.x + 18, totals.y + 70, totals.width - 36, 0.75}, Brand::hairline);
  p.label(p.L("Total", "合計"), totals.x + 18, totals.y + 100, 160, 17, FontWeight::bold, Brand::ink);
  p.label(p.L("$1,682.64", "¥171,380"), totals.maxX() - 238, totals.y + 100, 220, 28, FontWeight::bold, Brand::ink,
          TextAlign::right);

  // The action bar above the home indicator.
  const double barHeight = android ? 96 : 112;
  const double barTop = p.height() - barHeight;
  p.fill({0, barTop, W, barHeight}, Brand::hex("#FBF9F6"));
  p.fill({0, barTop, W, 0.75}, Brand::hairline);
  const double gap = 12;
  const double half = (W - 2 * m - gap) / 2;
  Rect preview{m, barTop + 14, half * 0.8, 52};
  p.roundRect(preview, android ? 26 : 14, Brand::card);
  p.strokeRoundRect(preview, android ? 26 : 14, Brand::hairline, 1.5);
  p.label(p.L("Preview", "プレビュー"), preview.x, preview.midY(), preview.width, 16, FontWeight::semibold, Brand::ink,
          TextAlign::center);
  Rect send{preview.maxX() + gap, barTop + 14, W - m - preview.maxX() - gap, 52};
  p.button(send, p.L("Send quote", "見積もりを送信"), Brand::orange, Brand::card, "paperplane.fill");
  p.homeIndicator(Brand::ink);
}

}  // namespace crewday
