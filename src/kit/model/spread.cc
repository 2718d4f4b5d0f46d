#include "kit/model/spread.h"

#include "kit/model/codings.h"

namespace vorno {

Spread Coding<Spread>::read(const Reader& r) {
  Spread s;
  s.id = r.get<std::string>("id");
  s.slides = r.get<std::vector<std::string>>("slides");
  s.background = r.getIfPresent<Fill>("background");
  s.elements = r.getOr<std::vector<SlideElement>>("elements", {});
  s.overrides = r.getOr<std::map<std::string, SlideOverride>>("overrides", {});
  return s;
}

Json Coding<Spread>::write(const Spread& s) {
  return ObjectWriter()
      .put("id", s.id)
      .put("slides", s.slides)
      .putIfPresent("background", s.background)
      .putIfNotEmpty("elements", s.elements)
      .putIfNotEmpty("overrides", s.overrides)
      .done();
}

}  // namespace vorno
