// Fill: the paint of backgrounds, shapes and letters. A solid colour, a linear or radial ramp of
// evenly spaced colours, or an image.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enum_names.h"

#include <string>
#include <variant>
#include <vector>

namespace vorno {

// From kit/util/geometry.h, which most readers of the document never need.
struct Rect;
struct Size;

struct ImageFill {
  enum class Fit { cover, contain };

  std::string path;  ///< relative to the package root, or absolute
  Fit fit = Fit::cover;
  double dim = 0;   ///< 0...1, darkens the image
  double blur = 0;  ///< 0...1

  bool operator==(const ImageFill&) const = default;

  /// Where an image of `imageSize` lands in `rect`: scaled to cover or to fit, centred.
  Rect placement(Size imageSize, Rect rect) const;
};

template <>
struct EnumNames<ImageFill::Fit> {
  static constexpr std::string_view typeName = "Fit";
  static constexpr std::array<std::string_view, 2> names = {"cover", "contain"};
};

struct LinearFill {
  std::vector<RGBColor> colors;
  double angle = 180;  ///< degrees; 180 runs top to bottom, 90 left to right
  bool operator==(const LinearFill&) const = default;
};

struct RadialFill {
  std::vector<RGBColor> colors;
  double x = 0.5, y = 0.5;  ///< centre, fractions of the box
  double radius = 0.75;     ///< fraction of the box's longer side
  bool operator==(const RadialFill&) const = default;
};

struct Fill {
  std::variant<RGBColor, LinearFill, RadialFill, ImageFill> value;

  bool operator==(const Fill&) const = default;

  static Fill solid(RGBColor c) { return Fill{c}; }

  const RGBColor* solidColor() const { return std::get_if<RGBColor>(&value); }
  const LinearFill* linear() const { return std::get_if<LinearFill>(&value); }
  const RadialFill* radial() const { return std::get_if<RadialFill>(&value); }
  const ImageFill* image() const { return std::get_if<ImageFill>(&value); }

  /// An image fill with its path made absolute against `root`; any other fill as it is.
  Fill resolved(const std::string& root) const;
  /// The colour at (x, y), fractions of a box of `size`.
  RGBColor sample(double x, double y, Size size) const;
  /// An estimate of the whole fill's colour, for contrast checks.
  RGBColor averageColor() const;

  /// Evenly spaced ramp; red, green and blue only, alpha 1.
  static RGBColor interpolate(const std::vector<RGBColor>& colors, double t);
};

}  // namespace vorno
