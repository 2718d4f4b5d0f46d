// DeviceRenderer: paints a device (body, band, bezel, buttons, screen, cameras, shadow) from the
// numbers of its FrameSpec and the two colours of a Finish, at any size. A copyable value: the
// layout keeps one in each device element's record, and many may draw at once.
#pragma once

#include "kit/image/image.h"

#include "kit/devices/device_frame.h"
#include "kit/util/geometry.h"

#include <optional>

typedef struct _cairo cairo_t;

namespace vorno {

class DeviceRenderer {
 public:
  /// What drawing reports back to the layout.
  struct Result {
    Rect screenRect;  ///< the screen in the context's coordinates, turn applied
    /// Relative difference of the capture's aspect from the screen's; present above 0.005.
    std::optional<double> captureAspectMismatch;
    bool operator==(const Result&) const = default;
  };

  /// Without a finish: the spec's default finish, else "black".
  explicit DeviceRenderer(DeviceFrame frame, std::optional<Finish> finish = std::nullopt);

  const DeviceFrame& frame() const { return frame_; }
  const Finish& finish() const { return finish_; }

  /// The body's native size in pixels: the overlay image's, or the screen plus bezel, band and
  /// hinge at the frame's scale; width and height swapped for a turned frame.
  Size nativeBodySize() const;
  /// Width over height of `nativeBodySize`.
  double bodyAspect() const;

  /// Where the screen and its camera (the island or the punch hole) lie when the body fills
  /// `body`, in the same space, turn applied. Layout measures crops with it and draws nothing.
  struct Parts {
    Rect screen;
    std::optional<Rect> camera;  ///< none for a bare screen, a custom frame or a frame without one
    bool operator==(const Parts&) const = default;
  };
  Parts parts(const Rect& body) const;

  /// Paints the device so that it fills `body` (cairo space, y down), with `capture` on its screen
  /// (a placeholder gradient when it is null) and, when `shadow` is set, its own soft shadow.
  Result draw(cairo_t* cr, const Rect& body, const Image& capture, bool shadow) const;

  bool operator==(const DeviceRenderer&) const = default;

 private:
  DeviceFrame frame_;
  Finish finish_;
};

}  // namespace vorno
