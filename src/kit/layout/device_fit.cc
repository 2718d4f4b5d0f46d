#include "kit/layout/device_fit.h"

namespace vorno {

namespace {

constexpr double accidentalBleed = 0.12;  ///< of the body's height: less than this is a clipped corner
constexpr double mostBleed = 0.25;        ///< more than this hides too much of the screen
constexpr double keptBleed = 0.2;         ///< what a long bleed is cut back to

// The body `height` tall, centred in x, its top at `top`.
Rect resized(const Rect& body, double top, double height, double W) {
  const double aspect = body.height > 0 ? body.width / body.height : 1;
  const double width = height * aspect;
  return {(W - width) * 0.5, top, width, height};
}

}  // namespace

Rect keepDeviceInView(const Rect& body, Archetype archetype, double W, double H) {
  if (body.isEmpty()) return body;
  const double margin = 0.035 * H;  // as the gap between the words and the device
  switch (archetype) {
    case Archetype::hero: {
      const double bleed = body.maxY() - H;
      if (bleed > 0 && bleed < accidentalBleed * body.height && H - margin > body.minY())
        return resized(body, body.minY(), H - margin - body.minY(), W);
      if (bleed > mostBleed * body.height) return resized(body, body.minY(), (H - body.minY()) / (1 - keptBleed), W);
      return body;
    }
    case Archetype::deviceTop: {
      if (body.minY() >= 0 || body.maxY() <= margin) return body;
      const double height = body.maxY() - margin;
      return resized(body, margin, height, W);
    }
    case Archetype::textOnly:
      return body;
  }
  return body;
}

}  // namespace vorno
