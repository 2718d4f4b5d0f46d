// ScreenPainter: the small drawing vocabulary of the Crewday app screens that the example package
// shows in its devices. One painter draws one screen into one cairo context, in the app's own
// logical units (points on iOS, dp on Android), so the screens are written once and come out at
// each phone's exact pixel size.
//
//   ScreenPainter p(cr, Phone::iPhone(), "ja-JP");
//   p.fill(p.bounds(), Brand::canvas);
//   p.text(p.L("This week", "今週"), {20, 80}, 300, 34, FontWeight::bold, Brand::ink);
//
// The capture painter is a program of the example, not of the library: it uses the library's text
// engine and symbol set so that the screens set type exactly as the slides around them do.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enums.h"
#include "kit/util/geometry.h"

#include <string>
#include <string_view>
#include <vector>

typedef struct _cairo cairo_t;

namespace crewday {

using vorno::FontWeight;
using vorno::Point;
using vorno::Rect;
using vorno::RGBColor;
using vorno::TextAlign;

/// A phone the screens are drawn for: its pixel size and its density.
struct Phone {
  std::string suffix;  ///< "" for iOS, "-android" for Android: part of the file name
  bool android = false;
  int pixelWidth = 0, pixelHeight = 0;
  double scale = 1;  ///< pixels per logical unit

  double width() const { return pixelWidth / scale; }
  double height() const { return pixelHeight / scale; }

  /// iPhone 17 Pro Max: 1320 x 2868 at 3x, 440 x 956 points.
  static Phone iPhone() { return {"", false, 1320, 2868, 3}; }
  /// A 6.2-inch Android phone: 1080 x 2340 at 3x, 360 x 780 dp.
  static Phone androidPhone() { return {"-android", true, 1080, 2340, 3}; }
};

/// The brand's colours, shared by every screen.
namespace Brand {
RGBColor hex(std::string_view text);
extern const RGBColor ink, inkSoft, muted, hairline, canvas, card, orange, orangeSoft, green, greenSoft, blue,
    amber, violet, teal, red, navy;
}  // namespace Brand

class ScreenPainter {
 public:
  ScreenPainter(cairo_t* cr, const Phone& phone, std::string locale);

  cairo_t* context() const { return cr_; }
  const Phone& phone() const { return phone_; }
  bool android() const { return phone_.android; }
  bool japanese() const { return locale_ == "ja-JP"; }
  double width() const { return phone_.width(); }
  double height() const { return phone_.height(); }
  Rect bounds() const { return {0, 0, width(), height()}; }

  /// The English or the Japanese of a text, by the painter's locale.
  std::string L(std::string_view en, std::string_view ja) const { return std::string(japanese() ? ja : en); }

  // Shapes.
  void fill(const Rect& r, const RGBColor& color);
  void roundRect(const Rect& r, double radius, const RGBColor& color);
  void strokeRoundRect(const Rect& r, double radius, const RGBColor& color, double lineWidth);
  void circle(Point centre, double radius, const RGBColor& color);
  void strokeCircle(Point centre, double radius, const RGBColor& color, double lineWidth);
  void line(Point a, Point b, const RGBColor& color, double lineWidth);
  void polyline(const std::vector<Point>& points, const RGBColor& color, double lineWidth, bool dashed = false);
  void polygon(const std::vector<Point>& points, const RGBColor& color);
  /// A soft drop shadow under a card, drawn as a few widening translucent rings.
  void cardShadow(const Rect& r, double radius, double strength = 1);
  /// A white card with a soft shadow.
  void card(const Rect& r, double radius = 16);

  // Type. `top` is the top of the text block; returns the block's height.
  double text(std::string_view copy, Point topLeft, double width, double size, FontWeight weight,
              const RGBColor& color, TextAlign align = TextAlign::left, double lineHeight = 1.2);
  /// One line of text centred vertically on `midY`.
  double label(std::string_view copy, double x, double midY, double width, double size, FontWeight weight,
               const RGBColor& color, TextAlign align = TextAlign::left);
  /// The width a single line of text takes.
  double measure(std::string_view copy, double size, FontWeight weight);

  /// A symbol of the icon set, fitted in `box` and painted in `color`.
  void symbol(std::string_view name, const Rect& box, const RGBColor& color);
  /// Initials on a coloured disc.
  void avatar(Point centre, double radius, std::string_view initials, const RGBColor& color);
  /// A small rounded label.
  double chip(std::string_view copy, Point topLeft, const RGBColor& background, const RGBColor& color,
              double size = 12, double height = 26);

  // Platform chrome.
  /// The status bar: time, signal, Wi-Fi and battery, in `color`. Returns its height.
  double statusBar(const RGBColor& color);
  /// The bottom bar of the app's sections, with `selected` highlighted. Returns its top.
  double tabBar(int selected);
  /// The system's home indicator or gesture bar.
  void homeIndicator(const RGBColor& color);
  /// A primary button of the brand.
  void button(const Rect& r, std::string_view copy, const RGBColor& background, const RGBColor& color,
              std::string_view symbolName = {});

 private:
  cairo_t* cr_;
  Phone phone_;
  std::string locale_;
};

/// The screens of the app, each in its own file.
void paintWeek(ScreenPainter& p);
void paintQuote(ScreenPainter& p);
void paintMap(ScreenPainter& p);
void paintPaid(ScreenPainter& p);
void paintTeam(ScreenPainter& p);
/// The app's icon, on a square painter.
void paintAppIcon(ScreenPainter& p);

}  // namespace crewday
