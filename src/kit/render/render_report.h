// RenderReport: what one rendered picture shows, for the agent and the person who asked for it:
// its size, the device frame, the headline's fitted size, where the device and the headline
// ended up, and every issue the layout found.
#pragma once

#include "kit/model/issue.h"

#include <nlohmann/json_fwd.hpp>

#include <optional>
#include <string>
#include <vector>

namespace vorno {

using Json = nlohmann::json;

/// A rectangle as fractions of one slice of the canvas, from the top left.
struct NormalizedRect {
  double x = 0, y = 0, width = 0, height = 0;

  bool operator==(const NormalizedRect&) const = default;
  /// Keys `x`, `y`, `width`, `height`.
  Json toJSON() const;
};

/// One element of the picture, so that an agent can reason about space without reading pixels:
/// its id, its kind ("text", "device", "image", "symbol", "shape", "component") and its frame in
/// canvas pixels of the slide shown, before rotation, rounded.
struct ReportedElement {
  std::string id;
  std::string kind;
  int x = 0, y = 0, width = 0, height = 0;
  double rotation = 0;  ///< degrees; written only when not 0

  bool operator==(const ReportedElement&) const = default;
  /// Keys `id`, `kind`, `x`, `y`, `width`, `height`, and `rotation` when set.
  Json toJSON() const;
};

struct RenderReport {
  std::string slide;
  std::string target;
  std::string locale;
  int width = 0;   ///< pixels of the picture (not of the target: a preview reports its own size)
  int height = 0;
  std::optional<std::string> frame;  ///< frameID of the main device
  std::optional<double> headlineFontSize;  ///< canvas pixels
  std::optional<NormalizedRect> deviceRect;  ///< the element "device"
  std::optional<NormalizedRect> textRect;    ///< the element "headline", its frame
  std::vector<ReportedElement> elements;  ///< in stacking order, those the picture shows
  std::vector<Issue> issues;

  bool operator==(const RenderReport&) const = default;
  /// Keys the field names; absent optionals are left out, `elements` and `issues` are always there. The JSON
  /// writers sort keys, as everywhere on the wire.
  Json toJSON() const;
};

}  // namespace vorno
