#include "kit/image/cairo_util.h"

#include "kit/util/huge_pages.h"

#include <cairo.h>

#include <algorithm>
#include <cmath>

namespace vorno {

void appendPath(cairo_t* cr, const Path& path) {
  for (const Path::Element& element : path.elements()) {
    const Point* p = element.points;
    switch (element.verb) {
      case Path::Verb::move: cairo_move_to(cr, p[0].x, p[0].y); break;
      case Path::Verb::line: cairo_line_to(cr, p[0].x, p[0].y); break;
      case Path::Verb::curve: cairo_curve_to(cr, p[0].x, p[0].y, p[1].x, p[1].y, p[2].x, p[2].y); break;
      case Path::Verb::close: cairo_close_path(cr); break;
    }
  }
}

namespace {

// The pixels of a surface made by newImageSurface, given back when cairo destroys it.
struct MappedPixels {
  void* block;
  size_t bytes;
};

const cairo_user_data_key_t mappedPixelsKey{};

void unmapPixels(void* data) {
  auto* pixels = static_cast<MappedPixels*>(data);
  HugePages::unmap(pixels->block, pixels->bytes);
  delete pixels;
}

}  // namespace

cairo_surface_t* newImageSurface(int format, int width, int height) {
  const auto cairoFormat = static_cast<cairo_format_t>(format);
  const int stride = cairo_format_stride_for_width(cairoFormat, width);
  const size_t bytes = stride > 0 && height > 0 ? static_cast<size_t>(stride) * height : 0;
  // Small surfaces, and sizes cairo refuses (for its own error status), are cairo's to make.
  if (bytes < HugePages::size || width > 32767 || height > 32767)
    return cairo_image_surface_create(cairoFormat, width, height);
  void* block = HugePages::map(bytes);
  if (!block) return cairo_image_surface_create(cairoFormat, width, height);  // cairo reports the failure
  cairo_surface_t* surface =
      cairo_image_surface_create_for_data(static_cast<unsigned char*>(block), cairoFormat, width, height, stride);
  auto* pixels = new MappedPixels{block, bytes};
  if (cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
      cairo_surface_set_user_data(surface, &mappedPixelsKey, pixels, &unmapPixels) == CAIRO_STATUS_SUCCESS)
    return surface;
  cairo_surface_destroy(surface);
  unmapPixels(pixels);
  return cairo_image_surface_create(cairoFormat, width, height);
}

std::optional<DirectPixels> directPixels(cairo_t* cr) {
  cairo_surface_t* surface = cairo_get_target(cr);
  if (cairo_get_group_target(cr) != surface || cairo_surface_get_type(surface) != CAIRO_SURFACE_TYPE_IMAGE)
    return std::nullopt;
  const cairo_format_t format = cairo_image_surface_get_format(surface);
  if (format != CAIRO_FORMAT_ARGB32 && format != CAIRO_FORMAT_RGB24) return std::nullopt;
  double offsetX = 0, offsetY = 0, scaleX = 1, scaleY = 1;
  cairo_surface_get_device_offset(surface, &offsetX, &offsetY);
  cairo_surface_get_device_scale(surface, &scaleX, &scaleY);
  if (offsetX != 0 || offsetY != 0 || scaleX != 1 || scaleY != 1) return std::nullopt;
  DirectPixels pixels;
  pixels.width = cairo_image_surface_get_width(surface);
  pixels.height = cairo_image_surface_get_height(surface);
  pixels.opaque = format == CAIRO_FORMAT_RGB24;

  // The clip in device pixels: under the identity matrix cairo lists it in device space.
  cairo_save(cr);
  cairo_identity_matrix(cr);
  cairo_rectangle_list_t* clips = cairo_copy_clip_rectangle_list(cr);
  cairo_restore(cr);
  auto whole = [](double v) { return v == std::floor(v) && std::fabs(v) < 1e6; };
  bool usable = clips->status == CAIRO_STATUS_SUCCESS && clips->num_rectangles <= 1;
  if (usable && clips->num_rectangles == 1) {
    const cairo_rectangle_t& c = clips->rectangles[0];
    usable = whole(c.x) && whole(c.y) && whole(c.width) && whole(c.height);
    pixels.clipLeft = std::max(0, int(c.x)), pixels.clipTop = std::max(0, int(c.y));
    pixels.clipRight = std::min(pixels.width, int(c.x + c.width));
    pixels.clipBottom = std::min(pixels.height, int(c.y + c.height));
  }
  cairo_rectangle_list_destroy(clips);
  if (!usable) return std::nullopt;
  cairo_surface_flush(surface);
  pixels.data = cairo_image_surface_get_data(surface);
  pixels.stride = cairo_image_surface_get_stride(surface);
  if (!pixels.data) return std::nullopt;
  return pixels;
}

void setColor(cairo_t* cr, RGBColor color) { cairo_set_source_rgba(cr, color.r, color.g, color.b, color.a); }

void addRect(cairo_t* cr, const Rect& rect) { cairo_rectangle(cr, rect.x, rect.y, rect.width, rect.height); }

void CairoRelease::operator()(cairo_t* cr) const { cairo_destroy(cr); }
void CairoRelease::operator()(cairo_surface_t* surface) const { cairo_surface_destroy(surface); }
void CairoRelease::operator()(cairo_pattern_t* pattern) const { cairo_pattern_destroy(pattern); }

CairoSaved::CairoSaved(cairo_t* cr) : cr_(cr) { cairo_save(cr_); }
CairoSaved::~CairoSaved() { cairo_restore(cr_); }

}  // namespace vorno
