#include "kit/devices/device_renderer.h"

#include <utility>

namespace vorno {

DeviceRenderer::DeviceRenderer(DeviceFrame frame, std::optional<Finish> finish) : frame_(std::move(frame)) {
  if (!finish) finish = Finish::named(frame_.spec.defaultFinish);
  if (!finish) finish = Finish::named("black");
  finish_ = *finish;
}

Size DeviceRenderer::nativeBodySize() const {
  Size size;
  if (frame_.overlay) {
    size = {static_cast<double>(frame_.overlay->imageWidth), static_cast<double>(frame_.overlay->imageHeight)};
  } else {
    const FrameSpec& spec = frame_.spec;
    double s = frame_.scale;
    double rim = 2 * s * (spec.bezel + spec.band);
    double hinge = spec.hinge ? s * spec.hinge->thickness : 0;
    size = {rim + frame_.screenWidth + hinge, rim + frame_.screenHeight};
  }
  if (frame_.turn) std::swap(size.width, size.height);
  return size;
}

double DeviceRenderer::bodyAspect() const {
  Size size = nativeBodySize();
  return size.height > 0 ? size.width / size.height : 1;
}

}  // namespace vorno
