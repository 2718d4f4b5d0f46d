#include "kit/model/paint_coding.h"

#include <algorithm>
#include <cmath>

#include "kit/model/coding.h"

namespace vorno {
namespace {

double clampedUnit(double value) { return std::clamp(value, 0.0, 1.0); }

}  // namespace

RGBColor Coding<RGBColor>::read(const Reader& reader) {
  std::string text = reader.string();
  if (auto color = RGBColor::fromHex(text)) return *color;
  reader.corrupted("Invalid color " + text + ". Use #RRGGBB.");
}

Json Coding<RGBColor>::write(const RGBColor& color) { return color.hex(); }

ImageFill Coding<ImageFill>::read(const Reader& reader) {
  ImageFill fill;
  fill.path = reader.get<std::string>("image");
  fill.fit = reader.getOr<ImageFill::Fit>("fit", ImageFill::Fit::cover);
  fill.dim = clampedUnit(reader.getOr<double>("dim", 0));
  fill.blur = clampedUnit(reader.getOr<double>("blur", 0));
  return fill;
}

Json Coding<ImageFill>::write(const ImageFill& fill) {
  ObjectWriter writer;
  writer.put("image", fill.path);
  if (fill.fit == ImageFill::Fit::contain) writer.put("fit", fill.fit);
  if (fill.dim > 0) writer.put("dim", fill.dim);
  if (fill.blur > 0) writer.put("blur", fill.blur);
  return writer.done();
}

Fill Coding<Fill>::read(const Reader& reader) {
  // A colour string is the common case. Its failure is dropped on purpose: at a fill position a
  // bad string is reported as "not an object", the error of the richer form.
  try {
    return Fill::solid(reader.decode<RGBColor>());
  } catch (const DecodingError&) {
  }
  reader.requireObject();
  const Json& object = reader.json();

  // A key that is present counts even when null, so "radial": null is an error about radial
  // rather than a silent fall through to linear.
  if (object.contains("image")) return Fill{reader.decode<ImageFill>()};

  if (object.contains("radial")) {
    RadialFill fill;
    Reader colors = reader["radial"];
    fill.colors = colors.decode<std::vector<RGBColor>>();
    if (fill.colors.size() < 2) colors.corrupted("A radial fill needs at least 2 colors.");
    if (auto center = reader.optional("center")) {
      auto point = center->decode<std::vector<double>>();
      if (point.size() != 2) center->corrupted("center is [x, y].");
      fill.x = point[0];
      fill.y = point[1];
    }
    fill.radius = std::max(0.01, reader.getOr<double>("radius", 0.75));
    return Fill{fill};
  }

  LinearFill fill;
  Reader colors = reader["linear"];
  fill.colors = colors.decode<std::vector<RGBColor>>();
  if (fill.colors.size() < 2) colors.corrupted("A linear fill needs at least 2 colors.");
  fill.angle = reader.getOr<double>("angle", 180);
  return Fill{fill};
}

Json Coding<Fill>::write(const Fill& fill) {
  if (auto color = fill.solidColor()) return Coding<RGBColor>::write(*color);
  if (auto linear = fill.linear())
    return ObjectWriter().put("linear", linear->colors).put("angle", linear->angle).done();
  if (auto radial = fill.radial())
    return ObjectWriter()
        .put("radial", radial->colors)
        .putJSON("center", Json::array({radial->x, radial->y}))
        .put("radius", radial->radius)
        .done();
  return Coding<ImageFill>::write(*fill.image());
}

}  // namespace vorno
