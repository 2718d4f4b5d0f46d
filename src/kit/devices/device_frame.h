// The description of a device on a slide: its screen in pixels (`DeviceFrame`), the body around
// that screen in device points (`FrameSpec`), and the two colours of that body (`Finish`).
// Every source of frames (device-type bundles, the built-in table, custom images) makes this one
// record, and the drawing code needs nothing else. All three are plain values, safe to share.
//
//   DeviceFrame bare = frame.screenOnly();          // "iphone-17-pro+screen"
//   DeviceFrame lying = frame.turned();             // "iphone-17-pro+landscape"
//   std::optional<Finish> blue = Finish::named("deep-blue");
#pragma once

#include "kit/model/color.h"
#include "kit/model/enum_names.h"
#include "kit/model/slide_element.h"  // CropRect
#include "kit/model/store_target.h"   // Platform, DeviceFamily

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorno {

/// Which way a device is laid on its side. `DeviceFrame::Turn` and `FrameSpec::landscape` both
/// use it; it lives outside the two records because the spec needs it before the frame exists.
enum class FrameTurn { clockwise, counterclockwise };

/// The body of a device, in device points unless said otherwise, so that one spec serves
/// several screens.
struct FrameSpec {
  /// How the metal band is drawn; an absent edge means `polished`.
  enum class Edge { polished, rounded, flat };

  /// A pill centred at the top of the screen.
  struct Island {
    double width = 0, height = 0, top = 0;
    bool operator==(const Island&) const = default;
  };
  /// A round camera; a negative `top` puts it in the bezel above the screen.
  struct PunchHole {
    double diameter = 0, top = 0;
    std::optional<double> x;  ///< centre's distance from the screen's left edge; absent: centred
    bool operator==(const PunchHole&) const = default;
  };
  /// A side button; `start` and `length` are fractions of the body side it sits on, measured
  /// from the top for left and right, from the left for top.
  struct Button {
    enum class Side { left, right, top };
    Side side = Side::left;
    double start = 0, length = 0;
    bool operator==(const Button&) const = default;
  };
  /// A foldable's hinge on one long side: it widens the body by `thickness`.
  struct Hinge {
    enum class Side { left, right };
    Side side = Side::left;
    double thickness = 0;
    double screenRadius = 0;  ///< radius of the screen's corners on the hinge side
    bool operator==(const Hinge&) const = default;
  };

  double bezel = 0;
  double band = 0;
  std::optional<Island> island;
  std::optional<PunchHole> punchHole;
  std::vector<Button> buttons;
  std::string defaultFinish;
  std::vector<std::string> finishes;
  std::optional<double> bodyRadius;  ///< outer corner radius; absent: follows the screen's
  std::optional<Edge> edge;
  std::optional<Hinge> hinge;
  std::optional<double> fold;  ///< a crease across the screen at this fraction from the top
  std::optional<FrameTurn> landscape;

  bool operator==(const FrameSpec&) const = default;

  /// `finishes` followed by the flat finishes it doesn't list yet: any device can be shown flat.
  std::vector<std::string> allFinishes() const;
};

/// The colours of a body: `light` for the highlights of the band, `dark` for its shade.
struct Finish {
  std::string id;
  RGBColor light;
  RGBColor dark;

  bool operator==(const Finish&) const = default;

  /// The sixteen finishes by id.
  static const std::map<std::string, Finish>& all();
  /// The finish of that id; a missing argument or an unknown id gives nothing.
  static std::optional<Finish> named(const std::optional<std::string>& id);
  /// "flat-black", "flat-white": one silhouette colour, no band, no bezel.
  static const std::vector<std::string>& flat();
  bool isFlat() const;
};

struct DeviceFrame {
  using Turn = FrameTurn;
  enum class Source { xcode, builtin, custom };

  /// A raster frame that replaces the drawn body; the screen is its transparent hole.
  struct Overlay {
    std::string path;
    int imageWidth = 0, imageHeight = 0;
    int screenX = 0;  ///< left edge of the screen in image pixels
    int screenY = 0;  ///< top edge of the screen, from the top of the image
    bool operator==(const Overlay&) const = default;
  };

  std::string id;
  std::string name;
  Platform platform = Platform::ios;
  DeviceFamily family = DeviceFamily::phone;
  int screenWidth = 0;   ///< pixels, portrait: the shorter side
  int screenHeight = 0;  ///< pixels, portrait: the longer side
  double scale = 1;      ///< pixels per device point
  double screenCornerRadius = 0;  ///< pixels
  std::optional<std::string> maskPDFPath;  ///< a PDF whose alpha is the exact screen shape
  FrameSpec spec;
  Source source = Source::builtin;
  std::optional<Overlay> overlay;
  std::optional<CropRect> crop;  ///< the part of the capture the screen shows
  std::optional<RGBColor> outline;  ///< colour of a ring around a bodiless screen
  std::optional<Turn> turn;  ///< drawn in landscape, turned this way

  bool operator==(const DeviceFrame&) const = default;

  /// The frame name a device slot uses for a bare screen.
  static constexpr std::string_view noFrame = "none";
  /// True for a path ending in .png, .webp or .tiff (any case): a custom frame, not a catalogue id.
  static bool isCustomPath(std::string_view text);

  /// Width over height, inverted for a turned frame.
  double screenAspect() const;
  /// The same screen with no body: "+screen", " (no frame)".
  DeviceFrame screenOnly() const;
  /// The landscape form, "+landscape"; a frame already turned, cropped or overlaid stays as it is.
  DeviceFrame turned() const;
  /// A piece of a capture as a small bare screen with proportionate corners, "+crop(...)".
  DeviceFrame detail(const CropRect& crop, int captureWidth, int captureHeight) const;
  /// The same frame with a ring of `color` around it, "+ring(#RRGGBB)".
  DeviceFrame outlined(const RGBColor& color) const;
};

template <>
struct EnumNames<FrameTurn> {
  static constexpr std::string_view typeName = "Turn";
  static constexpr std::array<std::string_view, 2> names{"clockwise", "counterclockwise"};
};
template <>
struct EnumNames<DeviceFrame::Source> {
  static constexpr std::string_view typeName = "Source";
  static constexpr std::array<std::string_view, 3> names{"xcode", "builtin", "custom"};
};
template <>
struct EnumNames<FrameSpec::Edge> {
  static constexpr std::string_view typeName = "Edge";
  static constexpr std::array<std::string_view, 3> names{"polished", "rounded", "flat"};
};
template <>
struct EnumNames<FrameSpec::Button::Side> {
  static constexpr std::string_view typeName = "Side";
  static constexpr std::array<std::string_view, 3> names{"left", "right", "top"};
};
template <>
struct EnumNames<FrameSpec::Hinge::Side> {
  static constexpr std::string_view typeName = "Side";
  static constexpr std::array<std::string_view, 2> names{"left", "right"};
};

}  // namespace vorno
