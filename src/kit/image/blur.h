// A Gaussian blur of premultiplied ARGB pixels: three box blurs in each direction, which come
// within a few percent of the true curve at a cost that doesn't grow with the radius. Outside the
// image counts as transparent, and the result is cropped to the source, so edges soften into
// transparency the way a blurred layer does.
#pragma once

#include "kit/image/image.h"

#include <cstdint>

namespace vorno {

/// Blurs in place. `pixels` are native-endian premultiplied ARGB32 words, `stride` bytes a row;
/// `radius` is the standard deviation in pixels. Below 0.1 nothing changes. Returns false when
/// scratch memory can't be had (the pixels are then left as they were).
bool blurARGB32(uint8_t* pixels, int width, int height, int stride, double radius);

/// The same blur of one 8-bit channel (an A8 coverage bitmap), bit for bit what blurARGB32 does
/// to the alpha of the same pixels when it blurs at full size. No reduction for wide radii: the
/// caller shrinks first if it wants to.
bool blurA8(uint8_t* pixels, int width, int height, int stride, double radius);

/// Samples the box passes have read since the program started, all blurs together: the work of a
/// blur, which stays about six per pixel whatever the radius. Tests compare it across radii where
/// timing would depend on the machine.
uint64_t blurSamplesRead();

/// A blurred copy of `image` (always ARGB32, since the edges become transparent); the image
/// itself for a radius below 0.1, and a null Image when memory runs out.
Image blurred(const Image& image, double radius);

}  // namespace vorno
