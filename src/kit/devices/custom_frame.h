// CustomFrame: a device the user brings as an image (PNG, WebP or TIFF) whose screen area is
// transparent. `measure` finds that screen by flood fill from the centre; `load` turns the file
// into a DeviceFrame with an overlay, so the rest of the system treats it like any other frame.
// Made frames are cached by path and modification time: a changed file is measured again.
#pragma once

#include "kit/devices/device_frame.h"

#include <string>

typedef struct _cairo_surface cairo_surface_t;

namespace vorno {

class Image;

namespace CustomFrame {

struct Measurement {
  struct PixelRect {
    int x = 0, y = 0, width = 0, height = 0;  ///< from the image's top left
    bool operator==(const PixelRect&) const = default;
  };
  PixelRect rect;           ///< the transparent screen, extremes included
  double cornerRadius = 0;  ///< pixels
  bool operator==(const Measurement&) const = default;
};

/// Throws VornoError (invalid or io) with the sentence for each way a frame image can be unfit.
Measurement measure(const Image& image);
/// The same for any cairo image surface (tests and callers that already hold one).
Measurement measureSurface(cairo_surface_t* surface);

/// The frame for the image at `path`, named after the file; throws what loading or `measure` throws.
DeviceFrame load(const std::string& path, const std::string& id, Platform platform);

}  // namespace CustomFrame
}  // namespace vorno
