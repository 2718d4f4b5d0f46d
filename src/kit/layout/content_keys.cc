#include "kit/layout/content_keys.h"

#include "kit/util/format.h"

namespace vorno::ContentKeys {

std::string number(double value) { return formatted("%.4g", value); }

std::string number(const std::optional<double>& value) { return value ? number(*value) : "-"; }

std::string color(const std::optional<RGBColor>& c) { return c ? c->hex() : "-"; }

std::string fill(const std::optional<Fill>& fill) {
  if (!fill) return "-";
  if (auto c = fill->solidColor()) return "solid:" + c->hex();
  std::string key;
  if (auto l = fill->linear()) {
    key = "linear:" + number(l->angle);
    for (const auto& c : l->colors) key += ":" + c.hex();
  } else if (auto r = fill->radial()) {
    key = "radial:" + number(r->x) + ":" + number(r->y) + ":" + number(r->radius);
    for (const auto& c : r->colors) key += ":" + c.hex();
  } else if (auto i = fill->image()) {
    key = "image:" + i->path + ":" + (i->fit == ImageFill::Fit::cover ? "cover" : "contain") + ":" + number(i->dim) +
          ":" + number(i->blur);
  }
  return key;
}

}  // namespace vorno::ContentKeys
