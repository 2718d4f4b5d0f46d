// Image: an immutable decoded bitmap, shared by reference. Underneath it is a cairo image
// surface (ARGB32 with premultiplied alpha, or RGB24 for opaque pictures), so any drawing code can
// paint it without a copy. Copies of an Image share the pixels; nobody writes to them after
// creation.
#pragma once

#include <cstdint>
#include <memory>

typedef struct _cairo_surface cairo_surface_t;

namespace vorno {

class Image {
 public:
  Image() = default;
  /// Takes over one reference of an image surface; a null or failed surface gives a null Image.
  static Image adopt(cairo_surface_t* surface);
  /// The same, and when the last copy goes the surface is offered to the SurfacePool for the
  /// next canvas of its size instead of being freed.
  static Image adoptRecyclable(cairo_surface_t* surface);

  explicit operator bool() const { return surface_ != nullptr; }
  int width() const;
  int height() const;
  /// Bytes per row.
  int stride() const;
  bool hasAlpha() const;
  /// Bytes held by the pixels: stride x height, the cost of the image in caches.
  int64_t byteCount() const { return static_cast<int64_t>(stride()) * height(); }
  /// Pixel rows, premultiplied native-endian ARGB32 (or xRGB for opaque images).
  const uint8_t* data() const;
  /// Borrowed; valid while this Image (or a copy) lives. Draw from it, never into it.
  cairo_surface_t* surface() const { return surface_.get(); }
  /// Names these pixels for the life of the process: copies share it, no other image ever has
  /// it (an address can be reused once the pixels are freed, an id can't). 0 for a null Image.
  uint64_t id() const { return id_; }

 private:
  static Image adoptWith(cairo_surface_t* surface, void (*release)(cairo_surface_t*));

  std::shared_ptr<cairo_surface_t> surface_;
  uint64_t id_ = 0;
};

}  // namespace vorno
