// One Document per call: a librsvg handle or a poppler page is not shared between threads, so
// several layers can rasterise vectors at once.
#include "kit/image/vector_image.h"

#include "kit/image/cairo_util.h"
#include "kit/image/codecs.h"

#include <cairo.h>
#include <glib.h>
#include <librsvg/rsvg.h>
#include <poppler.h>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <filesystem>

namespace vorno::VectorImage {
namespace {

std::string lowerExtension(const std::string& path) {
  std::string extension = std::filesystem::path(path).extension().string();
  if (!extension.empty()) extension.erase(0, 1);
  std::transform(extension.begin(), extension.end(), extension.begin(),
                 [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
  return extension;
}

struct GObjectUnref {
  void operator()(void* object) const {
    if (object) g_object_unref(object);
  }
};

class Document {
 public:
  static std::optional<Document> open(const std::string& path) {
    Document document;
    // An SVG or PDF that is a pipe or a device would hold the reader forever.
    if (!codecs::isRegularFile(path)) return std::nullopt;
    std::string extension = lowerExtension(path);
    if (extension == "svg") {
      GError* error = nullptr;
      RsvgHandle* handle = rsvg_handle_new_from_file(path.c_str(), &error);
      if (error) g_error_free(error);
      if (!handle) return std::nullopt;
      document.svg_.reset(handle);
      auto size = svgSize(handle);
      if (!size) return std::nullopt;
      document.size_ = *size;
    } else if (extension == "pdf") {
      GError* error = nullptr;
      gchar* uri = g_filename_to_uri(std::filesystem::absolute(path).c_str(), nullptr, &error);
      if (error) g_error_free(error), error = nullptr;
      if (!uri) return std::nullopt;
      PopplerDocument* pdf = poppler_document_new_from_file(uri, nullptr, &error);
      g_free(uri);
      if (error) g_error_free(error);
      if (!pdf) return std::nullopt;
      document.pdf_.reset(pdf);
      if (poppler_document_get_n_pages(pdf) < 1) return std::nullopt;
      document.page_.reset(poppler_document_get_page(pdf, 0));
      if (!document.page_) return std::nullopt;
      poppler_page_get_size(static_cast<PopplerPage*>(document.page_.get()), &document.size_.width,
                            &document.size_.height);
    } else {
      return std::nullopt;
    }
    if (!(document.size_.width > 0) || !(document.size_.height > 0) || !std::isfinite(document.size_.width) ||
        !std::isfinite(document.size_.height))
      return std::nullopt;
    return document;
  }

  Size size() const { return size_; }

  /// Draws at natural size with the origin at the current point of the CTM.
  bool render(cairo_t* cr) const {
    if (svg_) {
      RsvgRectangle viewport{0, 0, size_.width, size_.height};
      GError* error = nullptr;
      gboolean ok = rsvg_handle_render_document(static_cast<RsvgHandle*>(svg_.get()), cr, &viewport, &error);
      if (error) g_error_free(error);
      return ok;
    }
    poppler_page_render(static_cast<PopplerPage*>(page_.get()), cr);
    return true;
  }

 private:
  // The intrinsic size in pixels when width and height are given in absolute units; else the
  // viewBox, which is what an SVG sized only in percentages fills.
  static std::optional<Size> svgSize(RsvgHandle* handle) {
    double width = 0, height = 0;
    if (rsvg_handle_get_intrinsic_size_in_pixels(handle, &width, &height) && width > 0 && height > 0)
      return Size{width, height};
    gboolean hasWidth = false, hasHeight = false, hasViewBox = false;
    RsvgLength w{}, h{};
    RsvgRectangle viewBox{};
    rsvg_handle_get_intrinsic_dimensions(handle, &hasWidth, &w, &hasHeight, &h, &hasViewBox, &viewBox);
    if (hasViewBox && viewBox.width > 0 && viewBox.height > 0) return Size{viewBox.width, viewBox.height};
    return std::nullopt;
  }

  std::unique_ptr<void, GObjectUnref> svg_, pdf_, page_;
  Size size_;
};

}  // namespace

bool isVector(const std::string& path) {
  std::string extension = lowerExtension(path);
  return extension == "svg" || extension == "pdf";
}

std::optional<Size> naturalSize(const std::string& path) {
  auto document = Document::open(path);
  if (!document) return std::nullopt;
  return document->size();
}

Image rasterize(const std::string& path, double scale) {
  auto document = Document::open(path);
  if (!document || !(scale > 0)) return {};
  Size natural = document->size();
  // Keep within the limits every decoded image obeys: a 4x raster of a poster-sized PDF would
  // otherwise ask for gigabytes.
  double side = std::max(natural.width, natural.height) * scale;
  if (side > codecs::maximumSide) scale *= codecs::maximumSide / side;
  double pixels = natural.width * natural.height * scale * scale;
  if (pixels > double(codecs::maximumPixels)) scale *= std::sqrt(double(codecs::maximumPixels) / pixels);
  int width = std::max(1, static_cast<int>(std::lround(natural.width * scale)));
  int height = std::max(1, static_cast<int>(std::lround(natural.height * scale)));
  if (!codecs::acceptableSize(uint64_t(width), uint64_t(height))) return {};
  cairo_surface_t* surface = newImageSurface(CAIRO_FORMAT_ARGB32, width, height);
  if (cairo_surface_status(surface) != CAIRO_STATUS_SUCCESS) {
    cairo_surface_destroy(surface);
    return {};
  }
  cairo_t* cr = cairo_create(surface);
  cairo_scale(cr, width / natural.width, height / natural.height);
  bool ok = document->render(cr) && cairo_status(cr) == CAIRO_STATUS_SUCCESS;
  cairo_destroy(cr);
  if (!ok) {
    cairo_surface_destroy(surface);
    return {};
  }
  return Image::adopt(surface);
}

bool draw(const std::string& path, cairo_t* cr, const Rect& rect) {
  if (rect.isEmpty()) return false;
  auto document = Document::open(path);
  if (!document) return false;
  Size natural = document->size();
  cairo_save(cr);
  cairo_translate(cr, rect.x, rect.y);
  cairo_scale(cr, rect.width / natural.width, rect.height / natural.height);
  bool ok = document->render(cr);
  cairo_restore(cr);
  return ok;
}

}  // namespace vorno::VectorImage
