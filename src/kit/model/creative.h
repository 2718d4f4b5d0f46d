// Creative: App Store art (a header or search-results image) laid out as a slide on its own
// canvas, still or in motion.
#pragma once

#include "kit/model/fill.h"
#include "kit/model/motion.h"
#include "kit/model/slide.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>

namespace vorno {

struct StoreTarget;

struct Creative {
  std::string canvas;  ///< a canvas id of the store catalogue
  Slide slide;
  std::optional<Motion> motion;

  bool operator==(const Creative&) const = default;

  const std::string& id() const { return slide.id; }
  /// The canvas, or nothing when its id is unknown.
  const StoreTarget* target() const;
  /// Known canvas with a video slot: every canvas but the universal one.
  bool canMove() const;
  /// The canvas's safe area as fractions of its size.
  std::optional<Rect> unitSafeArea() const;
};

}  // namespace vorno
