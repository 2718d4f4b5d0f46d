// Pieces of the content keys of layers: the words by which the layer cache tells two layers
// that draw the same pixels from two that don't. Numbers keep four significant digits, far finer
// than a pixel at any canvas size, which keeps keys short.
#pragma once

#include "kit/model/color.h"
#include "kit/model/enum_names.h"
#include "kit/model/fill.h"

#include <optional>
#include <string>

namespace vorno::ContentKeys {

std::string number(double value);
std::string number(const std::optional<double>& value);
std::string color(const std::optional<RGBColor>& color);
std::string fill(const std::optional<Fill>& fill);
/// An enum by its raw value, as the document writes it.
template <class E>
std::string name(E value) {
  return std::string(rawValue(value));
}

}  // namespace vorno::ContentKeys
