// Seam markers: thin marks where one slice of a spread's board ends and the next begins, so an
// agent looking at the whole board can tell what each exported screenshot will cut off. Only the
// spread's own render carries them; exported slices never do.
#pragma once

#include "kit/image/image.h"

namespace vorno {

/// The board with a marker at each of the `slices` − 1 seams, at the board's own size. A board of
/// one slice (or none) comes back as it is. Throws io "Couldn't draw the seams." when drawing fails.
Image markSeams(const Image& board, int slices);

}  // namespace vorno
