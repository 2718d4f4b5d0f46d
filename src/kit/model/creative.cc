#include "kit/model/creative.h"

#include "kit/model/codings.h"
#include "kit/model/store_target.h"

namespace vorno {

const StoreTarget* Creative::target() const { return StoreTarget::canvas(canvas); }

bool Creative::canMove() const {
  const StoreTarget* t = target();
  return t != nullptr && t->id != StoreTarget::appStoreUniversal().id;
}

std::optional<Rect> Creative::unitSafeArea() const {
  const StoreTarget* t = target();
  if (t == nullptr || !t->safeArea || t->width <= 0 || t->height <= 0) return std::nullopt;
  const Rect& px = *t->safeArea;
  double w = t->width, h = t->height;
  return Rect{px.x / w, px.y / h, px.width / w, px.height / h};
}

Creative Coding<Creative>::read(const Reader& r) {
  // The slide's keys sit flat beside `canvas` and `motion`, so both readers see one object.
  Creative c;
  c.canvas = r.get<std::string>("canvas");
  c.slide = readSlide(r, false);
  c.motion = r.getIfPresent<Motion>("motion");
  return c;
}

Json Coding<Creative>::write(const Creative& c) {
  return ObjectWriter()
      .merge(writeSlide(c.slide, false))
      .put("canvas", c.canvas)
      .putIfPresent("motion", c.motion)
      .done();
}

}  // namespace vorno
