// SurfacePool: large picture surfaces kept for reuse. A video renders hundreds of frames of one
// size and an export dozens of pictures of a few sizes; each fresh 25 MB surface costs the kernel
// page faults and zeroing on first touch, which was a quarter of a 4K frame's processor time. A
// surface whose last owner lets go comes back here and serves the next canvas of its size.
//
// The pool is small and bounded (a few frames' worth), keeps only large surfaces (small ones cost
// the allocator nothing), and is drained at the end of long jobs so memory goes back when idle.
// Safe from any thread.
#pragma once

#include <cstdint>

typedef struct _cairo_surface cairo_surface_t;

namespace vorno::SurfacePool {

/// Bytes of surfaces the pool keeps at most.
inline constexpr int64_t budget = int64_t{96} << 20;
/// Surfaces smaller than this are never kept.
inline constexpr int64_t smallest = int64_t{1} << 20;

/// A kept image surface of that format (a cairo_format_t) and size, or null. Its pixels are
/// whatever its last user left: the caller clears them.
cairo_surface_t* take(int format, int width, int height);
/// Takes a surface back from its last owner: kept when it is large, unshared and there is room,
/// destroyed otherwise.
void give(cairo_surface_t* surface);
/// Destroys every kept surface.
void drain();
/// Bytes kept now.
int64_t byteCount();

}  // namespace vorno::SurfacePool
