#include "kit/render/component_thumbnail.h"

#include "kit/image/blur.h"
#include "kit/image/cairo_util.h"
#include "kit/image/canvas.h"
#include "kit/image/fill_painter.h"
#include "kit/layout/component_layout.h"
#include "kit/render/component_painter.h"
#include "kit/model/theme.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>
#include <variant>

namespace vorno::ComponentThumbnail {
namespace {

bool hasCard(const ComponentDrawing& drawing) {
  return std::any_of(drawing.parts.begin(), drawing.parts.end(),
                     [](const ComponentDrawing::Part& part) { return std::holds_alternative<ComponentDrawing::Card>(part); });
}

}  // namespace

Image image(const ComponentSpec& spec, const Theme& theme, bool inverted, const std::string& locale,
            const std::optional<std::string>& root, Size size, double scale) {
  if (!(scale > 0) || !std::isfinite(scale)) scale = 1;
  const int pixelWidth = std::max(1, static_cast<int>(std::lround(size.width * scale)));
  const int pixelHeight = std::max(1, static_cast<int>(std::lround(size.height * scale)));
  Canvas canvas = Canvas::opaque(pixelWidth, pixelHeight);
  cairo_t* cr = canvas.context();
  cairo_scale(cr, scale, scale);

  const Rect bounds{0, 0, size.width, size.height};
  FillPainter::paint(inverted ? theme.invertedBackground : theme.background, cr, bounds);
  const RGBColor fg = inverted ? theme.invertedForeground : theme.foreground;
  ComponentDrawing drawing = ComponentLayout::make(spec, theme, fg, theme.muted, locale, root);

  const double m = size.width * 0.1;
  if (drawing.size.width > 0 && drawing.size.height > 0) {
    const double k = std::min((size.width - 2 * m) / drawing.size.width, (size.height - 2 * m) / drawing.size.height);
    if (k > 0) {
      const double w = drawing.size.width * k, h = drawing.size.height * k;
      const Rect rect{(size.width - w) / 2, (size.height - h) / 2, w, h};
      if (hasCard(drawing)) {
        // The card lifts off the ground: the drawing's alpha, blurred, tinted and dropped 1.2% of
        // its width, under the drawing itself. The blur, like the platform's shadow blur, is
        // about twice the Gaussian's deviation.
        Canvas layer = Canvas::transparent(pixelWidth, pixelHeight);
        cairo_scale(layer.context(), scale, scale);
        ComponentPainter::draw(drawing, rect, layer.context());
        Image drawn = layer.finish();
        Image shadow = blurred(drawn, 0.04 * w * scale / 2);
        CairoSaved saved(cr);
        cairo_identity_matrix(cr);
        if (shadow) {
          cairo_set_source_rgba(cr, 0, 0, 0, 0.18);
          cairo_mask_surface(cr, shadow.surface(), 0, 0.012 * w * scale);
        }
        cairo_set_source_surface(cr, drawn.surface(), 0, 0);
        cairo_paint(cr);
      } else {
        ComponentPainter::draw(drawing, rect, cr);
      }
    }
  }
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Render failed.");
  return canvas.finish();
}

}  // namespace vorno::ComponentThumbnail
