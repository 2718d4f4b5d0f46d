// LRUCache: a bounded map that drops its least recently used entries, by count and by cost
// (usually bytes of pixels). It has no lock of its own; the caches that own one hold theirs.
//
// How it works: every touch appends (key, stamp) to `queue` instead of moving an entry, so a
// touch costs the same however big the cache is. An item remembers the stamp of its last touch;
// a queue entry whose stamp no longer matches its item is stale and skipped. Eviction reads the
// queue from `head`, the oldest live position. When stale entries pile up (one key touched
// thousands of times), the queue is rebuilt from the items in stamp order.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <utility>
#include <vector>

namespace vorno {

template <class Key, class Value>
class LRUCache {
 public:
  static constexpr int64_t unlimited = std::numeric_limits<int64_t>::max();

  /// A negative cost limit counts as 0 (then only the newest item stays).
  LRUCache(int64_t countLimit, int64_t costLimit)
      : countLimit_(std::max<int64_t>(countLimit, 0)), costLimit_(std::max<int64_t>(costLimit, 0)) {}

  /// The value, which becomes the newest entry; nothing on a miss.
  std::optional<Value> value(const Key& key) {
    auto found = items_.find(key);
    if (found == items_.end()) return std::nullopt;
    found->second.stamp = ++clock_;
    queue_.emplace_back(key, clock_);
    compactIfNeeded();
    return found->second.value;
  }

  /// Inserts or replaces; a negative cost counts as 0. May evict older entries, never this one.
  void setValue(Value value, const Key& key, int64_t cost) {
    cost = std::max<int64_t>(cost, 0);
    auto found = items_.find(key);
    if (found != items_.end()) {
      totalCost_ -= found->second.cost;
      items_.erase(found);
    }
    ++clock_;
    items_.emplace(key, Item{std::move(value), cost, clock_});
    queue_.emplace_back(key, clock_);
    totalCost_ += cost;
    evict();
    compactIfNeeded();
  }

  void removeValue(const Key& key) {
    auto found = items_.find(key);
    if (found == items_.end()) return;
    totalCost_ -= found->second.cost;
    items_.erase(found);
  }

  void removeAll() {
    items_.clear();
    queue_.clear();
    head_ = 0;
    totalCost_ = 0;
  }

  /// A new cost limit (negative counts as 0); older entries leave at once if it is exceeded.
  void setCostLimit(int64_t costLimit) {
    costLimit_ = std::max<int64_t>(costLimit, 0);
    evict();
    compactIfNeeded();
  }
  int64_t costLimit() const { return costLimit_; }

  size_t count() const { return items_.size(); }
  int64_t totalCost() const { return totalCost_; }
  /// Queue entries from `head` on, stale ones included: what compaction keeps bounded.
  size_t queueLength() const { return queue_.size() - head_; }
  bool contains(const Key& key) const { return items_.count(key) != 0; }

 private:
  struct Item {
    Value value;
    int64_t cost = 0;
    uint64_t stamp = 0;
  };

  bool overLimit() const { return static_cast<int64_t>(items_.size()) > countLimit_ || totalCost_ > costLimit_; }

  // The last item is never evicted, so one image larger than the whole budget still stays.
  void evict() {
    while (items_.size() >= 2 && overLimit() && head_ < queue_.size()) {
      const auto& [key, stamp] = queue_[head_++];
      auto found = items_.find(key);
      if (found != items_.end() && found->second.stamp == stamp) {
        totalCost_ -= found->second.cost;
        items_.erase(found);
      }
    }
  }

  void compactIfNeeded() {
    size_t live = queue_.size() - head_;
    if (live <= 4096 && live <= items_.size() * 4 + 64) {
      // The entries before `head` are dead; drop them once they are the larger part, so the
      // vector doesn't grow without bound between rebuilds.
      if (head_ > 64 && head_ * 2 > queue_.size()) {
        queue_.erase(queue_.begin(), queue_.begin() + static_cast<std::ptrdiff_t>(head_));
        head_ = 0;
      }
      return;
    }
    std::vector<std::pair<uint64_t, const Key*>> order;
    order.reserve(items_.size());
    for (const auto& [key, item] : items_) order.emplace_back(item.stamp, &key);
    std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) { return a.first < b.first; });
    std::vector<std::pair<Key, uint64_t>> rebuilt;
    rebuilt.reserve(order.size());
    for (const auto& [stamp, key] : order) rebuilt.emplace_back(*key, stamp);
    queue_ = std::move(rebuilt);
    head_ = 0;
  }

  std::map<Key, Item> items_;
  std::vector<std::pair<Key, uint64_t>> queue_;
  size_t head_ = 0;
  uint64_t clock_ = 0;
  int64_t countLimit_;
  int64_t costLimit_;
  int64_t totalCost_ = 0;
};

}  // namespace vorno
