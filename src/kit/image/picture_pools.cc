#include "kit/image/picture_pools.h"

#include "kit/image/scratch_buffers.h"
#include "kit/image/surface_pool.h"

#include <malloc.h>

namespace vorno::PicturePools {

void drain() {
  SurfacePool::drain();
  ScratchBuffers::drain();
  // Freed blocks below the allocator's mapping threshold stay in its heap; give those pages back
  // too, or a server that rendered once keeps its peak for good.
  malloc_trim(0);
}

int64_t byteCount() { return SurfacePool::byteCount() + ScratchBuffers::byteCount(); }

}  // namespace vorno::PicturePools
