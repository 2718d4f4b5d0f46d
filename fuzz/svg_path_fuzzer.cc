// Feeds arbitrary path data to the SVG path parser. It gives a path that draws something, or
// refuses with a sentence; a path it gives has finite bounds.
#include "fuzz/fuzz_support.h"
#include "kit/layout/svg_path.h"
#include "kit/util/vorno_error.h"

#include <cmath>

using namespace vorno;
using vorno::fuzz::fuzzCheck;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  Path path;
  try {
    path = SVGPath::parse(fuzz::asText(data, size));
  } catch (const VornoError& error) {
    fuzzCheck(std::string_view(error.what()).size() > 0, "a refusal without a sentence");
    return 0;
  }
  fuzzCheck(!path.isEmpty(), "a parsed path draws nothing");
  Rect bounds = path.bounds();
  fuzzCheck(std::isfinite(bounds.x) && std::isfinite(bounds.y) && std::isfinite(bounds.width) &&
                std::isfinite(bounds.height),
            "a parsed path has bounds that are not finite");
  return 0;
}
