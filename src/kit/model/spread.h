// Spread: adjacent slides that share one picture across their seams.
#pragma once

#include "kit/model/fill.h"
#include "kit/model/slide.h"
#include "kit/model/slide_element.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace vorno {

struct Spread {
  std::string id;
  std::vector<std::string> slides;  ///< member slide ids: adjacent, in slide order
  std::optional<Fill> background;
  /// Drawn behind each member's own content unless their z is above 0.
  std::vector<SlideElement> elements;
  std::map<std::string, SlideOverride> overrides;  ///< keyed by target id

  bool operator==(const Spread&) const = default;
};

}  // namespace vorno
