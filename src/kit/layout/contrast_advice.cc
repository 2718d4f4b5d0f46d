// The grid is 5 × 3 points: text runs wide, and the ends of a line are where a gradient or a
// photo most often turns against it. Each suggestion is checked as the hex it will be written as,
// since rounding a channel to 8 bits can move a ratio by a few hundredths, enough to bring back
// the warning that applying it was meant to clear.
#include "kit/layout/contrast_advice.h"

#include <algorithm>

namespace vorno::ContrastAdvice {

std::vector<RGBColor> behind(const Fill& fill, const Rect& box, const Size& canvas, const Size& board, double offsetX) {
  constexpr double columns[] = {0.05, 0.275, 0.5, 0.725, 0.95};
  constexpr double rows[] = {0.2, 0.5, 0.8};
  std::vector<RGBColor> colors;
  colors.reserve(std::size(columns) * std::size(rows));
  for (double fy : rows)
    for (double fx : columns) {
      const double x = std::clamp(box.minX() + box.width * fx, 0.0, canvas.width);
      const double y = std::clamp(box.minY() + box.height * fy, 0.0, canvas.height);
      colors.push_back(fill.sample((x + offsetX) / board.width, y / board.height, board));
    }
  return colors;
}

double worstContrast(const RGBColor& color, const std::vector<RGBColor>& behind) {
  double worst = 21;
  for (const RGBColor& c : behind) worst = std::min(worst, color.contrast(c));
  return worst;
}

std::optional<RGBColor> suggestion(const RGBColor& color, const std::vector<RGBColor>& behind, double target) {
  std::optional<RGBColor> best;
  int bestStep = 101;
  for (const RGBColor& pole : {RGBColor::black(), RGBColor::white()}) {
    for (int step = 0; step <= 100 && step < bestStep; ++step) {
      RGBColor mix = color.mixed(pole, step / 100.0);
      mix.a = 1;
      const RGBColor written = RGBColor::fromHex(mix.hex()).value_or(mix);
      if (worstContrast(written, behind) >= target) {
        best = written;
        bestStep = step;
        break;
      }
    }
  }
  return best;
}

}  // namespace vorno::ContrastAdvice
