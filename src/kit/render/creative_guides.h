// CreativeGuides: a preview of a creative with its safe area outlined and everything outside it
// dimmed, the part some devices crop or cover. Never for upload.
#pragma once

#include "kit/image/image.h"

namespace vorno {

struct StoreTarget;

namespace CreativeGuides {

/// The image with the target's safe area drawn over it, at the image's own size (the safe area
/// is scaled from the target's pixels). A target without a safe area gives the image unchanged.
/// Throws io "Couldn't draw the safe area."
Image overlay(const Image& image, const StoreTarget& target);

}  // namespace CreativeGuides
}  // namespace vorno
