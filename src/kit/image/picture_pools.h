// PicturePools: the memory kept for reuse by the pictures' surfaces (SurfacePool) and the
// encoders' buffers (ScratchBuffers), given back in one call when a long job ends or the server
// has been idle, along with the allocator's free pages.
#pragma once

#include <cstdint>

namespace vorno::PicturePools {

/// Frees everything both pools keep and returns the allocator's free memory to the system.
void drain();
/// Bytes both pools keep now.
int64_t byteCount();

}  // namespace vorno::PicturePools
