#include "kit/render/layer_bounds.h"

#include "kit/util/format.h"

#include <algorithm>
#include <cmath>
#include <string>

namespace vorno::LayerBounds {
namespace {

// What a layer rectangle of `width` x `height` pixels must be scaled by to fit: 1 when it does.
double fitting(double width, double height) {
  if (!std::isfinite(width) || !std::isfinite(height) || width <= 0 || height <= 0) return 1;
  double factor = std::min({1.0, maxSide / width, maxSide / height});
  const double pixels = width * height * factor * factor;
  if (pixels > static_cast<double>(maxPixels)) factor *= std::sqrt(static_cast<double>(maxPixels) / pixels);
  return factor;
}

bool fits(const ElementLayout& element) {
  const Rect rect = element.layerRect();
  return fitting(rect.width, rect.height) >= 1;
}

// The blur of an image's or a shape's own content, in pixels.
double contentBlur(const ElementLayout& element) {
  double blur = 0;
  if (const ImageSpec* image = std::get_if<ImageSpec>(&element.content)) blur = image->blur;
  if (const ShapeSpec* shape = std::get_if<ShapeSpec>(&element.content)) blur = shape->blur;
  return std::isfinite(blur) ? std::max(blur, 0.0) : 0.0;
}

double limited(double value) { return std::clamp(value, -maxShadowReach, maxShadowReach); }

// The element's words for a message: its label, and its id when the label doesn't say it.
std::string named(const ElementLayout& element) {
  std::string lower = element.label;
  std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return std::tolower(c); });
  return lower == element.id ? element.label : element.label + " \"" + element.id + "\"";
}

}  // namespace

std::optional<ElementLayout> clamped(const ElementLayout& element) {
  if (fits(element) || !element.shadowStyle) return std::nullopt;
  const ShadowStyle& style = *element.shadowStyle;
  ElementLayout bounded = element;
  ShadowStyle& limitedStyle = *bounded.shadowStyle;
  if (style.blur) limitedStyle.blur = std::min(std::isfinite(*style.blur) ? *style.blur : 0.0, maxShadowReach);
  if (style.x) limitedStyle.x = std::isfinite(*style.x) ? limited(*style.x) : 0.0;
  if (style.y) limitedStyle.y = std::isfinite(*style.y) ? limited(*style.y) : 0.0;
  // The bleed the limited shadow needs, measured as the layout measures it: a blur reaches two
  // and a half blurs out, an offset as far as it goes, and a blur of the content three times its
  // radius.
  const ShadowStyle& now = *bounded.shadowStyle;
  const double w = element.frame.width;
  const double reach = now.blur ? 2.5 * *now.blur : 0.15;
  const double offset = std::max(std::abs(now.y.value_or(0.025)), std::abs(now.x.value_or(0)));
  double needed = 2 + 3 * contentBlur(element) + w * (reach + offset);
  if (element.shadow) needed = std::max(needed, 0.15 * std::max(w, element.frame.height));
  if (std::isfinite(needed) && !(bounded.bleed <= needed)) bounded.bleed = needed;
  if (bounded == element) return std::nullopt;
  return bounded;
}

double resolution(const ElementLayout& element, double scale) {
  const Rect rect = element.layerRect();
  return fitting(scale * rect.width, scale * rect.height);
}

void reportReductions(const ElementLayout& original, IssueSink& sink) {
  const std::optional<ElementLayout> limited = clamped(original);
  const ElementLayout& element = drawn(original, limited);
  if (limited) {
    sink.warning("layer.reduced",
                 named(element) + " has a shadow too large to draw; its blur and offset were limited to one " +
                     "element width. Keep shadowStyle's blur, x and y under 1.",
                 element.uid());
  }
  const double share = resolution(element, 1.0);
  if (share < 1) {
    const Rect rect = element.layerRect();
    sink.warning("layer.reduced",
                 formatted("%s needs a %.0f×%.0f layer, more than a layer may have (%d pixels a side, %lld in all); "
                           "it was drawn at %.0f%% resolution. Make it smaller.",
                           named(element).c_str(), std::ceil(rect.width), std::ceil(rect.height), maxSide,
                           static_cast<long long>(maxPixels), std::max(1.0, std::floor(share * 100))),
                 element.uid());
  }
}

namespace {

// The board's size in pixels at `scale`: every slice side by side.
Size boardSize(const ComposedSlide& composed, double scale) {
  const double count = static_cast<double>(std::max<size_t>(composed.slideIDs.size(), 1));
  return {scale * composed.target.width * count, scale * composed.target.height};
}

}  // namespace

double boardResolution(const ComposedSlide& composed, double scale) {
  const Size size = boardSize(composed, scale);
  return fitting(size.width, size.height);
}

void reportBoardReduction(const ComposedSlide& composed, double scale, IssueSink& sink) {
  const double share = boardResolution(composed, scale);
  if (share >= 1) return;
  const Size size = boardSize(composed, scale);
  const std::string name = composed.spreadID ? "The spread \"" + *composed.spreadID + "\"" : std::string("The board");
  sink.warning("spread.reduced",
               formatted("%s needs a %.0f×%.0f picture of its %zu slides, more than a picture may have (%d pixels a "
                         "side, %lld in all); it was drawn at %.2g%% of that size. Look at fewer slides at once.",
                         name.c_str(), std::ceil(size.width), std::ceil(size.height), composed.slideIDs.size(),
                         maxSide, static_cast<long long>(maxPixels), share * 100));
}

}  // namespace vorno::LayerBounds
