// How a layer is drawn. The bitmap covers `layerRect` (the frame grown by the bleed) at the
// scale; the content rectangle sits at (bleed, bleed) in layer units, and the context's matrix
// carries the scale, so drawing code works in canvas pixels.
//
// Opacity uses a group: drawing at reduced alpha piece by piece would let a shape's stroke show
// its fill through, so the content is drawn whole into a group that is painted once at the
// opacity. A shadow needs the finished content, so it gets its own bitmap: the shadow is cast
// from that bitmap's alpha and painted beneath it, and the pair is painted at the opacity. A
// device with the stock shadow and no style draws its own, smaller-resolution shadow instead.
#include "kit/render/layer_renderer.h"

#include "kit/image/blur.h"
#include "kit/image/canvas.h"
#include "kit/image/fill_painter.h"
#include "kit/image/image_cache.h"
#include "kit/render/component_painter.h"
#include "kit/render/image_drawing.h"
#include "kit/render/layer_bounds.h"
#include "kit/render/shadow.h"
#include "kit/render/shape_drawing.h"
#include "kit/render/symbol_drawing.h"
#include "kit/text/text_layout.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno::LayerRenderer {
namespace {

double clampedScale(double scale) {
  if (!(scale >= 0.02)) return 0.02;  // NaN too
  return std::min(scale, 1.0);
}

// Int(scale x length), at least 1; lengths that are not numbers count as nothing.
int pixels(double length) {
  if (!(length >= 1)) return 1;
  if (length > 1e9) return 1'000'000'000;  // the canvas refuses it with its sentence
  return static_cast<int>(length);
}

void drawContent(const ElementLayout& element, const Rect& content, cairo_t* cr) {
  switch (element.kind) {
    case ElementLayout::Kind::text:
      if (const TextSpec* spec = std::get_if<TextSpec>(&element.content)) {
        TextLayout::Fitted fitted = TextLayout::laid(*spec, content.width);
        TextLayout::draw(fitted, cr, content.minX(), content.minY());
      }
      break;
    case ElementLayout::Kind::device:
      if (const DeviceContent* device = std::get_if<DeviceContent>(&element.content)) {
        Image capture;
        if (device->capture) capture = ImageCache::shared().image(*device->capture);
        // The device's own shadow only stands for the stock shadow; a styled one is the layer's.
        device->renderer.draw(cr, content, capture, element.shadow && !element.shadowStyle);
      }
      break;
    case ElementLayout::Kind::image:
      if (const ImageSpec* image = std::get_if<ImageSpec>(&element.content))
        ImageDrawing::drawImage(*image, content, cr);
      break;
    case ElementLayout::Kind::symbol:
      if (const SymbolContent* symbol = std::get_if<SymbolContent>(&element.content))
        SymbolDrawing::drawSymbol(symbol->name, symbol->color, content, cr);
      break;
    case ElementLayout::Kind::shape:
      if (const ShapeSpec* shape = std::get_if<ShapeSpec>(&element.content))
        ShapeDrawing::drawShape(*shape, content, cr);
      break;
    case ElementLayout::Kind::component:
      if (const ComponentDrawing* drawing = std::get_if<ComponentDrawing>(&element.content))
        ComponentPainter::draw(*drawing, content, cr);
      break;
  }
}

double layerBlur(const ElementLayout& element) {
  if (const ImageSpec* image = std::get_if<ImageSpec>(&element.content)) return image->blur;
  if (const ShapeSpec* shape = std::get_if<ShapeSpec>(&element.content)) return shape->blur;
  return 0;
}

void checkStatus(cairo_t* cr) {
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Layer render failed.");
}

}  // namespace

namespace {

Image renderAt(const ElementLayout& element, double scale, double offsetX, double offsetY, int width, int height) {
  const Rect content{element.bleed, element.bleed, element.frame.width, element.frame.height};
  const double opacity = std::isfinite(element.opacity) ? std::clamp(element.opacity, 0.0, 1.0) : 1.0;
  const bool deviceShadow =
      element.shadow && element.kind == ElementLayout::Kind::device && !element.shadowStyle;
  const bool layerShadow = element.shadow && !deviceShadow;

  Canvas canvas = Canvas::transparent(width, height);
  cairo_t* cr = canvas.context();
  if (layerShadow) {
    Canvas group = Canvas::transparent(width, height);
    cairo_translate(group.context(), offsetX, offsetY);
    cairo_scale(group.context(), scale, scale);
    drawContent(element, content, group.context());
    checkStatus(group.context());
    Image drawn = group.finish();
    if (!drawn) throw VornoError::io("Layer render failed.");
    LayerShadow shadow = Shadow::of(element.shadowStyle, element.frame.width, scale);
    if (opacity < 1) cairo_push_group(cr);
    Shadow::paintWithShadow(cr, drawn, shadow);
    if (opacity < 1) {
      cairo_pop_group_to_source(cr);
      cairo_paint_with_alpha(cr, opacity);
    }
  } else {
    cairo_translate(cr, offsetX, offsetY);
    cairo_scale(cr, scale, scale);
    if (opacity < 1) cairo_push_group(cr);
    drawContent(element, content, cr);
    if (opacity < 1) {
      cairo_pop_group_to_source(cr);
      cairo_paint_with_alpha(cr, opacity);
    }
  }
  checkStatus(cr);
  Image image = canvas.finish();
  if (!image) throw VornoError::io("Layer render failed.");

  const double blur = layerBlur(element);
  if (blur > 0 && std::isfinite(blur)) {
    // A blur that runs out of memory leaves the layer sharp rather than failing the render.
    if (Image soft = blurred(image, scale * blur)) image = soft;
  }
  return image;
}

}  // namespace

Image render(const ElementLayout& original, double scale) {
  const std::optional<ElementLayout> clamped = LayerBounds::clamped(original);
  const ElementLayout& element = LayerBounds::drawn(original, clamped);
  scale = clampedScale(scale);
  // A layer past the bound is drawn smaller; whoever places it stretches it to its rectangle.
  scale *= LayerBounds::resolution(element, scale);
  const Rect rect = element.layerRect();
  return renderAt(element, scale, 0, 0, pixels(scale * rect.width), pixels(scale * rect.height));
}

Image render(const ElementLayout& original, double scale, double offsetX, double offsetY) {
  const std::optional<ElementLayout> clamped = LayerBounds::clamped(original);
  const ElementLayout& element = LayerBounds::drawn(original, clamped);
  scale = clampedScale(scale);
  // A reduced layer is stretched into place, never copied onto the pixel grid: it has no phase.
  if (LayerBounds::resolution(element, scale) < 1) return render(element, scale);
  const Rect rect = element.layerRect();
  offsetX = std::isfinite(offsetX) ? std::clamp(offsetX, 0.0, 0.999) : 0;
  offsetY = std::isfinite(offsetY) ? std::clamp(offsetY, 0.0, 0.999) : 0;
  // ceil of a product that should be whole must not gain a pixel from rounding noise.
  auto covering = [](double length) { return pixels(std::ceil(length - 1e-9)); };
  return renderAt(element, scale, offsetX, offsetY, covering(offsetX + scale * rect.width),
                  covering(offsetY + scale * rect.height));
}

bool drawInPlace(const ElementLayout& element, cairo_t* cr) {
  const double opacity = std::isfinite(element.opacity) ? std::clamp(element.opacity, 0.0, 1.0) : 1.0;
  const bool deviceShadow = element.shadow && element.kind == ElementLayout::Kind::device && !element.shadowStyle;
  const double blur = layerBlur(element);
  if (opacity < 1 || (element.shadow && !deviceShadow) || (blur > 0 && std::isfinite(blur))) return false;
  const Rect rect = element.layerRect();
  cairo_save(cr);
  cairo_rectangle(cr, rect.x, rect.y, rect.width, rect.height);
  cairo_clip(cr);
  drawContent(element, element.frame, cr);
  cairo_restore(cr);
  checkStatus(cr);
  return true;
}

void paintBoard(const ComposedSlide& slide, cairo_t* cr) {
  const double w = slide.target.width, h = slide.target.height;
  const size_t count = std::max<size_t>(1, slide.slideIDs.size());
  if (slide.spanningBackground) {
    FillPainter::paint(*slide.spanningBackground, cr, Rect{0, 0, w * double(count), h});
    return;
  }
  for (size_t i = 0; i < slide.sliceBackgrounds.size(); ++i)
    FillPainter::paint(slide.sliceBackgrounds[i], cr, Rect{double(i) * w, 0, w, h});
}

Image background(const ComposedSlide& slide, double scale) {
  scale = clampedScale(scale);
  const size_t count = std::max<size_t>(1, slide.slideIDs.size());
  Canvas canvas = Canvas::opaque(pixels(scale * slide.target.width * double(count)),
                                 pixels(scale * slide.target.height));
  cairo_t* cr = canvas.context();
  cairo_scale(cr, scale, scale);
  paintBoard(slide, cr);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Background render failed.");
  Image image = canvas.finish();
  if (!image) throw VornoError::io("Background render failed.");
  return image;
}

}  // namespace vorno::LayerRenderer
