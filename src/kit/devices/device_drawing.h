// The steps of drawing a device, shared by DeviceRenderer and its tests: the geometry of a body
// at a given size, the body's edges and marks, the screen with its capture, the cameras, and the
// soft shadow. Everything here draws in cairo's space (y down): "top" is the smallest y.
// Internal to the devices module; the layout and renderers use DeviceRenderer.
#pragma once

#include "kit/devices/device_frame.h"
#include "kit/image/image.h"
#include "kit/util/geometry.h"
#include "kit/util/path.h"

#include <functional>
#include <optional>
#include <vector>

typedef struct _cairo cairo_t;

namespace vorno::DeviceDrawing {

/// Where the parts of a procedural body lie when it fills `body` (untransformed, portrait).
struct Geometry {
  Rect body;      ///< the portrait body the parts are laid in
  double k = 1;   ///< body width over native width: context units per screen pixel
  double px = 1;  ///< context units per device point (`scale`·k)
  double a = 0;   ///< bezel
  double b = 0;   ///< band
  double h = 0;   ///< hinge thickness, 0 without a hinge
  double r = 0;   ///< screen corner radius
  double hr = 0;  ///< screen corner radius on the hinge side (`r` without a hinge)
  double R = 0;   ///< body corner radius
  double H = 0;   ///< body corner radius on the hinge side
  Rect screen;
  std::optional<FrameSpec::Hinge::Side> hinge;

  bool frameless() const { return a == 0 && b == 0; }
  /// The radius on the left and on the right of a shape whose hinge side differs.
  double leftOf(double plain, double hingeSide) const {
    return hinge == FrameSpec::Hinge::Side::left ? hingeSide : plain;
  }
  double rightOf(double plain, double hingeSide) const {
    return hinge == FrameSpec::Hinge::Side::right ? hingeSide : plain;
  }
  Path bodyPath() const;
  Path bezelPath() const;

  /// The geometry of `frame` filling `body`, which is already the portrait rectangle (a turned
  /// frame's caller swaps width and height about the centre first).
  static Geometry make(const DeviceFrame& frame, const Rect& body);
};

/// The rotation that lays a turned device on its side, about `centre`; identity without a turn.
/// Clockwise means the device's top ends up on the right.
AffineTransform turnRotation(std::optional<FrameTurn> turn, Point centre);
/// `rect` with width and height swapped about its centre.
Rect swapped(const Rect& rect);
/// The length of the first column of the context's transform: device pixels per unit.
double pixelScale(cairo_t* cr);

struct Stop {
  double position;
  RGBColor color;
};
/// The colour at `t` along `stops`, mixed channel by channel between the two stops around it.
RGBColor sample(const std::vector<Stop>& stops, double t);

/// The side buttons, drawn before the body so only a sliver shows. Draws nothing and leaves the
/// context as it was for an empty list.
void drawButtons(cairo_t* cr, const std::vector<FrameSpec::Button>& buttons, const Rect& body, double depth,
                 const RGBColor& color);
/// The polished band: a diagonal sheen over the whole body and a thin highlight inside its edge.
void drawPolishedEdge(cairo_t* cr, const Geometry& g, const Finish& finish);
/// A soft, brushed band made of fourteen rings.
void drawRoundedRim(cairo_t* cr, const Rect& body, double band, double radius, const Finish& finish);
/// A flat-sided metal frame: a vertical sheen between a dark outer and a light inner line.
void drawFlatEdge(cairo_t* cr, const Rect& body, double band, double radius, const Finish& finish);
/// The crease of a foldable's hinge.
void drawHingeCrease(cairo_t* cr, const Geometry& g);
/// The silhouette of a flat finish, with a hairline when it is light.
void drawFlatBody(cairo_t* cr, const Geometry& g, const Finish& finish);
/// The two small marks where a fold meets the band.
void drawFoldMarks(cairo_t* cr, const Geometry& g, double fold);

/// The screen: clipped to the frame's mask or a continuous rectangle, showing `capture` (top
/// aligned, a short capture running on in its bottom rows) or the placeholder gradient.
/// Returns the capture's aspect mismatch when above the tolerance.
std::optional<double> drawScreen(cairo_t* cr, const DeviceFrame& frame, const Rect& screen, double radius,
                                 std::optional<double> hingeRadius, const Image& capture, double pixelScale);
/// The island or punch-hole camera; `px` maps device points to context units.
void drawCameras(cairo_t* cr, const FrameSpec& spec, const Rect& screen, double px);

/// Fills or masks the shape whose shadow is wanted; the context's source is already set.
using ShapePainter = std::function<void(cairo_t* cr)>;
enum class ShadowResolution {
  automatic,  ///< reduced when the blur is large and the transform a plain scale
  full,       ///< always at device resolution
};
/// Paints the shadow of `shape`, which lies within `bounds` (user space): black at `alpha`,
/// blurred by `blur` and moved down by `offset` (user units, scaled to pixels by the context's
/// pixel scale; down is down on the final picture, whatever the rotation). Only the shadow is
/// painted, not the shape. Returns the factor the shadow was reduced by: 1 at full resolution,
/// 0 when nothing was painted.
double paintShadow(cairo_t* cr, const ShapePainter& shape, const Rect& bounds, double blur, double offset,
                   double alpha, ShadowResolution resolution = ShadowResolution::automatic);

}  // namespace vorno::DeviceDrawing
