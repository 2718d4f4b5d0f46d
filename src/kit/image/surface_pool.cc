#include "kit/image/surface_pool.h"

#include <cairo.h>

#include <mutex>
#include <vector>

namespace vorno::SurfacePool {

namespace {

struct Pool {
  std::mutex lock;
  std::vector<cairo_surface_t*> surfaces;  // newest last
  int64_t bytes = 0;
};

// Never destroyed: pictures held by other long-lived objects (the image caches) come back here
// when those are destroyed at exit, which may be after a static pool would have been; and what
// the pool holds at exit stays reachable instead of counting as lost.
Pool& pool() {
  static Pool* shared = new Pool();
  return *shared;
}

int64_t bytesOf(cairo_surface_t* surface) {
  return static_cast<int64_t>(cairo_image_surface_get_stride(surface)) * cairo_image_surface_get_height(surface);
}

}  // namespace

cairo_surface_t* take(int format, int width, int height) {
  Pool& p = pool();
  std::lock_guard guard(p.lock);
  for (auto it = p.surfaces.rbegin(); it != p.surfaces.rend(); ++it) {
    cairo_surface_t* surface = *it;
    if (cairo_image_surface_get_format(surface) != format || cairo_image_surface_get_width(surface) != width ||
        cairo_image_surface_get_height(surface) != height)
      continue;
    p.bytes -= bytesOf(surface);
    p.surfaces.erase(std::next(it).base());
    return surface;
  }
  return nullptr;
}

void give(cairo_surface_t* surface) {
  if (!surface) return;
  const bool keepable = cairo_surface_get_type(surface) == CAIRO_SURFACE_TYPE_IMAGE &&
                        cairo_surface_status(surface) == CAIRO_STATUS_SUCCESS &&
                        cairo_surface_get_reference_count(surface) == 1 && bytesOf(surface) >= smallest;
  if (keepable) {
    Pool& p = pool();
    std::lock_guard guard(p.lock);
    if (p.bytes + bytesOf(surface) <= budget) {
      p.bytes += bytesOf(surface);
      p.surfaces.push_back(surface);
      return;
    }
  }
  cairo_surface_destroy(surface);
}

void drain() {
  std::vector<cairo_surface_t*> surfaces;
  {
    Pool& p = pool();
    std::lock_guard guard(p.lock);
    surfaces.swap(p.surfaces);
    p.bytes = 0;
  }
  for (cairo_surface_t* surface : surfaces) cairo_surface_destroy(surface);
}

int64_t byteCount() {
  Pool& p = pool();
  std::lock_guard guard(p.lock);
  return p.bytes;
}

}  // namespace vorno::SurfacePool
