// MotionComposer: a laid-out slide moved into one moment of its motion. Each element of the
// slide takes its pose (position, scale, turn, opacity), then the camera moves the whole picture
// about its anchor; what fades out entirely is dropped, and an element lifted for a crossfade is
// drawn just above its equals.
#pragma once

#include "kit/layout/element_layout.h"

namespace vorno {

struct MotionFrame;

namespace MotionComposer {

/// Opacity at or below which an element isn't drawn at all.
inline constexpr double invisible = 0.002;

/// `composed` with the frame's poses and camera applied.
ComposedSlide apply(const MotionFrame& frame, ComposedSlide composed);

}  // namespace MotionComposer
}  // namespace vorno
