// LayerCache: element layers kept between pictures, by content and scale, so that an element
// that only moves (motion frames, an export over many slides sharing a look) is drawn once.
//
//   LayerCache cache(256 << 20);
//   Image layer = cache.layer(element, scale);   // drawn, or waited for, or found
//
// Safe to share between threads. A key being drawn is in `drawing`; a second thread that needs it
// waits for the first instead of drawing it again. The lock is never held while drawing.
//
// A caller that knows every picture it will draw (an export) can plan the cache first: `expect`
// each key once per use. A planned cache keeps only layers used more than once, and lets each go
// after its last planned use; a layer used once is better drawn straight into its picture
// (`worthKeeping` says false), which costs no layer of its own and holds no memory.
#pragma once

#include "kit/image/image.h"
#include "kit/util/lru_cache.h"

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <mutex>
#include <set>
#include <string>

namespace vorno {

struct ElementLayout;

class LayerCache {
 public:
  /// Draws one layer; LayerRenderer::render unless a test counts or fails renders.
  using Renderer = std::function<Image(const ElementLayout&, double)>;

  explicit LayerCache(int64_t byteLimit, Renderer renderer = {});
  LayerCache(const LayerCache&) = delete;
  LayerCache& operator=(const LayerCache&) = delete;

  /// The element's layer at `scale`. Throws what drawing throws; a failure caches nothing and
  /// lets the next caller try again.
  Image layer(const ElementLayout& element, double scale);

  /// The element's layer drawn `phaseX`/8 and `phaseY`/8 of a pixel into its first pixel, so that
  /// it can be copied whole at a whole-pixel position: the picture stays as sharp as one drawn in
  /// place. Phases 0...7; a layer at one phase is drawn once and served to every position with it.
  Image layer(const ElementLayout& element, double scale, int phaseX, int phaseY);

  /// `contentKey` + "|" + scale: everything that changes the pixels, and no position.
  static std::string key(const ElementLayout& element, double scale);

  /// Plans one more use of `layerKey` (as `key` or the phased key `layer` asks for).
  void expect(const std::string& layerKey);
  /// Whether a layer is worth drawing into the cache: always without a plan; with one, when the
  /// key is planned for more than one use.
  bool worthKeeping(const std::string& layerKey) const;
  /// The key the phased `layer` uses.
  static std::string phasedKey(const ElementLayout& element, double scale, int phaseX, int phaseY);

  size_t count() const;
  /// Bytes of the layers held now.
  int64_t byteCount() const;
  bool isDrawing(const std::string& key) const;

 private:
  Image fetch(const std::string& layerKey, const std::function<Image()>& draw);
  bool used(const std::string& layerKey);

  bool customRenderer_ = false;  // declared first: set before `renderer_` takes the function over
  Renderer renderer_;
  mutable std::mutex lock_;
  std::condition_variable condition_;
  LRUCache<std::string, Image> layers_;
  std::set<std::string> drawing_;
  std::map<std::string, int> plannedUses_;  // every planned use, by key
  std::map<std::string, int> remaining_;    // planned uses still to come
  bool planned_ = false;
};

}  // namespace vorno
