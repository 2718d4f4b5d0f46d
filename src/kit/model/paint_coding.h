// The JSON forms of colours and fills: a colour is "#RRGGBB" or "#RRGGBBAA"; a fill is a colour
// string or an object keyed by `linear`, `radial` or `image`. Include this beside
// "kit/model/coding.h" to read and write them with `reader.get<Fill>("background")` and
// `writer.put("accent", color)`.
#pragma once

#include <nlohmann/json_fwd.hpp>

#include "kit/model/fill.h"

namespace vorno {

using Json = nlohmann::json;
class Reader;
template <class T>
struct Coding;

/// Must be a string the colour parser accepts; otherwise "Invalid color <text>. Use #RRGGBB.".
template <>
struct Coding<RGBColor> {
  static RGBColor read(const Reader& reader);
  static Json write(const RGBColor& color);
};

/// Tries a colour first, then an object: `image` wins over `radial`, `radial` over `linear`.
template <>
struct Coding<Fill> {
  static Fill read(const Reader& reader);
  static Json write(const Fill& fill);
};

/// `image` required; `fit` defaults to cover; `dim` and `blur` default to 0 and are clamped to 0...1.
template <>
struct Coding<ImageFill> {
  static ImageFill read(const Reader& reader);
  static Json write(const ImageFill& fill);
};

}  // namespace vorno
