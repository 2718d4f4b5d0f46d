// Drawing a fitted text into cairo, y down: mark boxes or stickers first, then the hard shadow
// and the outline (recoloured copies of the glyph outlines), then the letters themselves, in
// their own colours or painted with a fill through a clip of their outlines.
//
// Lines are drawn one by one at the origins LaidText computed, each sheared about its own
// baseline by the style's slant, the way a text matrix slants type.
#include "kit/text/text_draw.h"

#include "kit/image/cairo_util.h"
#include "kit/image/fill_painter.h"
#include "kit/text/laid_text.h"
#include "kit/text/text_layout.h"
#include "kit/text/text_marks.h"

#include <cairo.h>

#include <cmath>

namespace vorno {
namespace TextDraw {

double strokeFraction(const TextEffect& effect) {
  if (!effect.outline) return 0;
  return effect.outlineWidth ? *effect.outlineWidth * 2 : 0.2;
}

}  // namespace TextDraw

namespace {

double radians(double degrees) { return degrees * M_PI / 180; }

double shearOf(const TextLayout::Style& style) {
  double shear = std::tan(radians(style.slant));
  return std::isfinite(shear) ? shear : 0;
}

void roundedRect(cairo_t* cr, const Rect& r, double radius) {
  Path path;
  path.addRoundedRect(r, radius);
  appendPath(cr, path);
}

/// Turns the context about `centre` by `radians`, clockwise as seen for a positive angle.
void rotateAbout(cairo_t* cr, Point centre, double angle) {
  cairo_translate(cr, centre.x, centre.y);
  cairo_rotate(cr, angle);
  cairo_translate(cr, -centre.x, -centre.y);
}

double lineFontSize(const LaidText& text, const LaidLine& line, double fallback) {
  const TextLayout::TextRun* run = text.runAt(line.start);
  return run ? run->fontSize : fallback;
}

void drawEmphasisMarks(cairo_t* cr, const std::vector<TextLayout::MarkBox>& boxes, const RGBColor& color) {
  for (const auto& mark : boxes) {
    cairo_save(cr);
    // A box's angle turns it counter-clockwise on a y-up page; as seen, that is clockwise here for
    // the negative rotation it is drawn with there.
    if (mark.angle != 0) rotateAbout(cr, mark.box.center(), mark.angle);
    cairo_new_path(cr);
    roundedRect(cr, mark.box, mark.radius);
    setColor(cr, color);
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    cairo_fill(cr);
    cairo_restore(cr);
  }
}

void drawStickers(cairo_t* cr, const LaidText& text, const TextLayout::Fitted& fitted, const Rect& frame) {
  const TextLayout::Style& style = fitted.style;
  MarkStyle mark = style.mark.value_or(MarkStyle{});
  double shear = shearOf(style);
  for (const StickerBox& sticker : TextMarks::stickerBoxes(text, style, fitted.fontSize, frame)) {
    const LaidLine& line = text.lines()[static_cast<size_t>(sticker.line)];
    double s = lineFontSize(text, line, fitted.fontSize);
    cairo_save(cr);
    // Positive degrees lean counter-clockwise as seen; cairo turns clockwise for positive angles.
    rotateAbout(cr, sticker.box.center(), -radians(sticker.degrees));
    if (style.effect && style.effect->shadow) {
      Rect shadow = sticker.box.offsetBy(s * style.effect->shadowX.value_or(0.08), s * style.effect->shadowY.value_or(0.08));
      cairo_new_path(cr);
      roundedRect(cr, shadow, sticker.radius);
      setColor(cr, *style.effect->shadow);
      cairo_fill(cr);
    }
    RGBColor paper = sticker.emphasised ? mark.color.value_or(style.emphasis) : mark.paper.value_or(RGBColor::white());
    paper.a = mark.opacity ? std::clamp(std::isnan(*mark.opacity) ? 0.0 : *mark.opacity, 0.0, 1.0) : 1.0;
    cairo_new_path(cr);
    roundedRect(cr, sticker.box, sticker.radius);
    setColor(cr, paper);
    cairo_fill(cr);
    text.showLine(cr, line, frame.minX(), frame.minY(), shear);
    cairo_new_path(cr);
    cairo_restore(cr);
  }
}

/// The glyph outlines in one colour, with a stroke of `strokeFraction` of each line's size.
void drawCopy(cairo_t* cr, const LaidText& text, const Rect& frame, double shear, const RGBColor& color,
              double strokeFraction, double fallbackSize) {
  setColor(cr, color);
  cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
  cairo_set_line_join(cr, CAIRO_LINE_JOIN_ROUND);
  cairo_set_line_cap(cr, CAIRO_LINE_CAP_ROUND);
  for (const LaidLine& line : text.lines()) {
    cairo_new_path(cr);
    text.appendLinePath(cr, line, frame.minX(), frame.minY(), shear);
    if (strokeFraction > 0) {
      cairo_fill_preserve(cr);
      cairo_set_line_width(cr, strokeFraction * lineFontSize(text, line, fallbackSize));
      cairo_stroke(cr);
    } else {
      cairo_fill(cr);
    }
  }
}

void appendGlyphs(cairo_t* cr, const LaidText& text, const Rect& frame, double shear) {
  cairo_new_path(cr);
  for (const LaidLine& line : text.lines()) text.appendLinePath(cr, line, frame.minX(), frame.minY(), shear);
}

}  // namespace

namespace TextLayout {

Path glyphPath(const Fitted& fitted, const Rect& frame) {
  LaidText text(fitted.attributed, fitted.size.width);
  cairo_surface_t* surface = cairo_image_surface_create(CAIRO_FORMAT_A8, 1, 1);
  cairo_t* cr = cairo_create(surface);
  appendGlyphs(cr, text, frame, shearOf(fitted.style));
  cairo_path_t* data = cairo_copy_path(cr);
  Path path;
  if (data && data->status == CAIRO_STATUS_SUCCESS) {
    for (int i = 0; i < data->num_data; i += data->data[i].header.length) {
      const cairo_path_data_t* d = &data->data[i];
      switch (d->header.type) {
        case CAIRO_PATH_MOVE_TO: {
          // Moves that start nothing (each line's placement, the one cairo adds after a close)
          // would count in the path's bounds: keep only those a segment follows.
          int next = i + d->header.length;
          if (next < data->num_data && data->data[next].header.type != CAIRO_PATH_MOVE_TO) {
            path.moveTo({d[1].point.x, d[1].point.y});
          }
          break;
        }
        case CAIRO_PATH_LINE_TO: path.lineTo({d[1].point.x, d[1].point.y}); break;
        case CAIRO_PATH_CURVE_TO:
          path.curveTo({d[1].point.x, d[1].point.y}, {d[2].point.x, d[2].point.y}, {d[3].point.x, d[3].point.y});
          break;
        case CAIRO_PATH_CLOSE_PATH: path.close(); break;
      }
    }
  }
  if (data) cairo_path_destroy(data);
  cairo_destroy(cr);
  cairo_surface_destroy(surface);
  return path;
}

void draw(const Fitted& fitted, cairo_t* cr, double x, double top) {
  if (!cr || cairo_status(cr) != CAIRO_STATUS_SUCCESS) return;
  const Style& style = fitted.style;
  LaidText text(fitted.attributed, fitted.size.width);
  Rect frame{x, top, fitted.size.width, fitted.size.height + fitted.fontSize};
  double shear = shearOf(style);

  cairo_save(cr);
  if (style.emphasisStyle == EmphasisStyle::sticker && !style.block) {
    drawStickers(cr, text, fitted, frame);
    cairo_restore(cr);
    return;
  }
  if (style.emphasisStyle != EmphasisStyle::color || style.block) {
    drawEmphasisMarks(cr, TextMarks::markBoxes(text, style, fitted.fontSize, frame), TextMarks::markColor(style));
  }
  if (style.effect) {
    const TextEffect& effect = *style.effect;
    double stroke = TextDraw::strokeFraction(effect);
    if (effect.shadow) {
      cairo_save(cr);
      cairo_translate(cr, fitted.fontSize * effect.shadowX.value_or(0.07), fitted.fontSize * effect.shadowY.value_or(0.07));
      drawCopy(cr, text, frame, shear, *effect.shadow, stroke, fitted.fontSize);
      cairo_restore(cr);
    }
    if (effect.outline) drawCopy(cr, text, frame, shear, *effect.outline, stroke, fitted.fontSize);
  }
  if (style.fill) {
    appendGlyphs(cr, text, frame, shear);
    double x0, y0, x1, y1;
    cairo_path_extents(cr, &x0, &y0, &x1, &y1);
    bool hasOutlines = x1 > x0 && y1 > y0;
    cairo_set_fill_rule(cr, CAIRO_FILL_RULE_WINDING);
    cairo_clip(cr);
    // Taller than the text by 0.3 of the size, so a gradient spans the descenders.
    Rect paint{frame.minX(), top, fitted.size.width, fitted.size.height + 0.3 * fitted.fontSize};
    if (hasOutlines) FillPainter::paint(*style.fill, cr, paint);
  } else {
    for (const LaidLine& line : text.lines()) text.showLine(cr, line, frame.minX(), frame.minY(), shear);
  }
  cairo_new_path(cr);
  cairo_restore(cr);
}

}  // namespace TextLayout
}  // namespace vorno
