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

std::string LayerCache::phasedKey(const ElementLayout& element, double scale, int phaseX, int phaseY) {
  return key(element, scale) + "|@" + std::to_string(phaseX) + "," + std::to_string(phaseY);
}

void LayerCache::expect(const std::string& layerKey) {
  std::lock_guard guard(lock_);
  planned_ = true;
  ++remaining_[layerKey];
  ++plannedUses_[layerKey];
}

bool LayerCache::worthKeeping(const std::string& layerKey) const {
  std::lock_guard guard(lock_);
  if (!planned_) return true;
  auto found = plannedUses_.find(layerKey);
  return found != plannedUses_.end() && found->second > 1;
}

Image LayerCache::layer(const ElementLayout& element, double scale, int phaseX, int phaseY) {
  const std::string layerKey = phasedKey(element, scale, phaseX, phaseY);
  return fetch(layerKey, [&] {
    if (customRenderer_) return renderer_(element, scale);
    return LayerRenderer::render(element, scale, phaseX / 8.0, phaseY / 8.0);
  });
}

// Counts one use of a planned key; after its last use the layer leaves the cache (the caller
// keeps its own reference for the picture it is drawing). Called under the lock.
bool LayerCache::used(const std::string& layerKey) {
  if (!planned_) return true;
  auto found = remaining_.find(layerKey);
  if (found == remaining_.end()) return true;  // not foreseen: kept by the LRU's rules
  if (--found->second > 0) return true;
  remaining_.erase(found);
  layers_.removeValue(layerKey);
  return false;
}

Image LayerCache::fetch(const std::string& layerKey, const std::function<Image()>& draw) {
  {
    std::unique_lock guard(lock_);
    for (;;) {
      if (auto found = layers_.value(layerKey)) {
        used(layerKey);
        return *found;
      }
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
    if (used(layerKey)) layers_.setValue(image, layerKey, image ? image.byteCount() : 0);
  }
  condition_.notify_all();
  return image;
}

size_t LayerCache::count() const {
  std::lock_guard guard(lock_);
  return layers_.count();
}

int64_t LayerCache::byteCount() const {
  std::lock_guard guard(lock_);
  return layers_.totalCost();
}

bool LayerCache::isDrawing(const std::string& key) const {
  std::lock_guard guard(lock_);
  return drawing_.count(key) != 0;
}

}  // namespace vorno
