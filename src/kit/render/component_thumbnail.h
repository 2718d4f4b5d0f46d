// ComponentThumbnail: a preview of one component (a rating, a badge, a callout...) on the
// theme's background, for pickers and the guide.
#pragma once

#include "kit/image/image.h"
#include "kit/util/geometry.h"

#include <optional>
#include <string>

namespace vorno {

struct ComponentSpec;
struct Theme;

namespace ComponentThumbnail {

/// A `size` picture (points) at `scale` pixels a point: the theme's background, the component
/// laid in the theme's colours (inverted ones when `inverted`), centred with a tenth of the width
/// as margin; a drawing with a card casts a soft shadow. Throws the canvas's allocation error.
Image image(const ComponentSpec& spec, const Theme& theme, bool inverted, const std::string& locale,
            const std::optional<std::string>& root, Size size, double scale);

}  // namespace ComponentThumbnail
}  // namespace vorno
