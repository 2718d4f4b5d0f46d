// ImageFillRenderer: paints image fills. It reads the picture (bitmaps through ImageCache, SVG and
// PDF rasterised at 4 times their natural size), blurs it when asked, and places it to cover or
// to fit its rectangle, with black bars for `contain` and black over it for `dim`. Rasters and
// blurs it derives are kept in their own cache of 160 MiB, keyed by path and modification time,
// so a changed file is derived anew and old entries age out.
#pragma once

#include "kit/image/image.h"
#include "kit/model/fill.h"
#include "kit/util/geometry.h"

#include <memory>
#include <string>

typedef struct _cairo cairo_t;

namespace vorno {

class ImageFillRenderer {
 public:
  static constexpr int64_t derivedBytes = 167772160;
  /// Vectors are rasterised at this multiple of their natural size, so they stay sharp when an
  /// image fill scales them up.
  static constexpr double vectorScale = 4;
  /// The grey that stands for an image that can't be read.
  static constexpr double missingGrey[4] = {0.5, 0.5, 0.52, 1};

  static ImageFillRenderer& shared();
  ImageFillRenderer();
  ~ImageFillRenderer();
  ImageFillRenderer(const ImageFillRenderer&) = delete;
  ImageFillRenderer& operator=(const ImageFillRenderer&) = delete;

  /// Paints `fill` into `rect` and nowhere else. Never throws: a picture that can't be read
  /// paints the missing grey, and nothing more.
  void paint(const ImageFill& fill, cairo_t* cr, const Rect& rect);
  /// The picture at `path`; a null Image when it can't be read.
  Image load(const std::string& path);
  /// The blur radius in pixels of the picture for a fill's `blur` (0...1): a fraction of the
  /// picture's longer side, so a fill looks the same blurred at every size it is drawn.
  static double blurRadius(double blur, Size pictureSize);
  void removeAll();

 private:
  Image blurredPicture(const Image& picture, const std::string& path, double blur);

  struct State;
  std::unique_ptr<State> state_;
};

}  // namespace vorno
