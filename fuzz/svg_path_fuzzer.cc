// Feeds arbitrary path data to the SVG path parser. It gives a path that draws something, or
// refuses with a sentence; every point of a path it gives is finite, so fitting it to a frame
// gives numbers.
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
  for (const Path::Element& element : path.elements()) {
    for (const Point& p : element.points) {
      fuzzCheck(std::isfinite(p.x) && std::isfinite(p.y), "a parsed path has a point that is not finite");
    }
  }
  Rect bounds = path.bounds();
  fuzzCheck(std::isfinite(bounds.width) && std::isfinite(bounds.height), "a parsed path has endless bounds");
  return 0;
}
