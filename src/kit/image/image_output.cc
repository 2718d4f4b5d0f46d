// Images::downscale, encode and write: what turns a finished picture into a preview or a file.
//
// Downscaling draws through cairo's GOOD filter, which below a scale of about 0.75 is a
// separable box-weighted convolution in pixman (every source pixel contributes), fast and
// free of the aliasing a bilinear sample would give on text and device outlines. Measured on a
// 1320 x 2868 slide down to a longest side of 1200 (bench/png_bench.cc, BM_Downscale): GOOD
// 33 ms, BEST (Lanczos) 238 ms, with no difference to see at preview size.
//
// An opaque picture (every rendered slide) goes through our own box resampler instead, which
// averages the same areas as GOOD's box kernel (within a level): 8 ms where GOOD takes 33 on the
// same bench. A contact sheet shrinks every slide it shows.
#include "kit/image/box_resampler.h"
#include "kit/image/canvas.h"
#include "kit/image/images.h"
#include "kit/image/jpeg_writer.h"
#include "kit/image/png_writer.h"
#include "kit/util/atomic_write.h"
#include "kit/util/write_paths.h"
#include "kit/util/vorno_error.h"

#include <cairo.h>

#include <algorithm>
#include <string_view>

namespace vorno::Images {

Image downscale(const Image& image, int maxDimension) {
  if (!image || maxDimension < 1) throw VornoError::io("Downscale failed.");
  const int width = image.width(), height = image.height();
  const int longer = std::max(width, height);
  if (longer <= maxDimension) return image;
  const double factor = double(maxDimension) / longer;
  // The longer side is the asked size exactly: 2607 × (2000 / 2607) comes out a hair under 2000
  // in floating point and would truncate to 1999.
  const int targetWidth = width == longer ? maxDimension : std::max(1, static_cast<int>(width * factor));
  const int targetHeight = height == longer ? maxDimension : std::max(1, static_cast<int>(height * factor));
  if (!image.hasAlpha()) {
    ResampleGrid grid{0, 0, width, height, double(targetWidth) / width, double(targetHeight) / height, 0, 0,
                      targetWidth, targetHeight};
    if (Image small = BoxResampler::resample(image, grid)) return small;
  }
  Canvas canvas = [&] {
    try {
      return Canvas::opaque(targetWidth, targetHeight);
    } catch (const VornoError&) {
      throw VornoError::io("Downscale failed.");
    }
  }();
  cairo_t* cr = canvas.context();
  cairo_scale(cr, double(targetWidth) / width, double(targetHeight) / height);
  cairo_set_source_surface(cr, image.surface(), 0, 0);
  cairo_pattern_t* source = cairo_get_source(cr);
  cairo_pattern_set_filter(source, CAIRO_FILTER_GOOD);
  // Edge pixels take their own colour from outside, not black, so the border doesn't darken.
  cairo_pattern_set_extend(source, CAIRO_EXTEND_PAD);
  cairo_paint(cr);
  if (cairo_status(cr) != CAIRO_STATUS_SUCCESS) throw VornoError::io("Downscale failed.");
  Image result = canvas.finish();
  if (!result) throw VornoError::io("Downscale failed.");
  return result;
}

std::vector<uint8_t> encode(const Image& image, ImageType type, double quality) {
  std::optional<std::vector<uint8_t>> bytes;
  if (type == ImageType::png)
    bytes = PNGWriter::encode(image);
  else
    bytes = JPEGWriter::encode(image, quality);
  if (!bytes) throw VornoError::io("Image encoding failed.");
  return std::move(*bytes);
}

void write(const Image& image, const std::string& path, ImageType type, double quality) {
  std::vector<uint8_t> bytes = encode(image, type, quality);
  // Pictures are made again by the next render or export, so they skip the flush to disk that
  // documents get; readers and killed processes still see the old file or the new one.
  atomicWrite(path, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
              Durability::rebuildable);
}

void writeBelow(const Image& image, const std::filesystem::path& base, const std::filesystem::path& relative,
                ImageType type, double quality) {
  std::vector<uint8_t> bytes = encode(image, type, quality);
  writeFileBelow(base, relative, std::string_view(reinterpret_cast<const char*>(bytes.data()), bytes.size()),
                 Durability::rebuildable);
}

}  // namespace vorno::Images
