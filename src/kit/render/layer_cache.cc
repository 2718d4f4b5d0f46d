#include "kit/render/layer_cache.h"

#include "kit/layout/element_layout.h"
#include "kit/render/layer_renderer.h"
#include "kit/util/json_output.h"

namespace vorno {

LayerCache::LayerCache(int64_t byteLimit, Renderer renderer)
    : customRenderer_(static_cast<bool>(renderer)),
      renderer_(renderer ? std::move(renderer) : Renderer(static_cast<Image (*)(const ElementLayout&, double)>(&LayerRenderer::render))),
      layers_(LRUCache<std::string, Image>::unlimited, byteLimit) {}

std::string LayerCache::key(const ElementLayout& element, double scale) {
  return element.contentKey + "|" + formatNumber(scale);
}

Image LayerCache::layer(const ElementLayout& element, double scale) {
  return fetch(key(element, scale), [&] { return renderer_(element, scale); });
}

Image LayerCache::layer(const ElementLayout& element, double scale, int phaseX, int phaseY) {
  const std::string layerKey = key(element, scale) + "|@" + std::to_string(phaseX) + "," + std::to_string(phaseY);
  return fetch(layerKey, [&] {
    if (customRenderer_) return renderer_(element, scale);
    return LayerRenderer::render(element, scale, phaseX / 8.0, phaseY / 8.0);
  });
}

Image LayerCache::fetch(const std::string& layerKey, const std::function<Image()>& draw) {
  {
    std::unique_lock guard(lock_);
    for (;;) {
      if (auto found = layers_.value(layerKey)) return *found;
      if (!drawing_.count(layerKey)) break;
      // Someone else is drawing it: wait for their result (or their failure, then draw it here).
      condition_.wait(guard);
    }
    drawing_.insert(layerKey);
  }

  Image image;
  try {
    image = draw();
  } catch (...) {
    {
      std::lock_guard guard(lock_);
      drawing_.erase(layerKey);
    }
    condition_.notify_all();
    throw;
  }
  {
    std::lock_guard guard(lock_);
    drawing_.erase(layerKey);
    layers_.setValue(image, layerKey, image ? image.byteCount() : 0);
  }
  condition_.notify_all();
  return image;
}

size_t LayerCache::count() const {
  std::lock_guard guard(lock_);
  return layers_.count();
}

bool LayerCache::isDrawing(const std::string& key) const {
  std::lock_guard guard(lock_);
  return drawing_.count(key) != 0;
}

}  // namespace vorno
