// AssetImage: whether a bitmap an agent adds will draw, answered before asset_add says "Saved".
// The header alone would pass a file the decoder refuses later, in the middle of a render: one
// whose header asks for more pixels than any image may have, or one that is cut short.
#pragma once

#include <string>

#include "kit/util/geometry.h"

namespace vorno::AssetImage {

/// The pixel size of the bitmap at `path` (PNG, JPEG, WebP, TIFF, HEIC), once its header is read,
/// its size is within the decoders' limits and its pixels decode. Throws VornoError::invalid with
/// a sentence about `name` otherwise.
Size check(const std::string& path, const std::string& name);

}  // namespace vorno::AssetImage
