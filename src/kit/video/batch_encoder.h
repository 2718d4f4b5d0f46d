// BatchEncoder: hands rendered frames to a VideoWriter on a thread of its own, a batch at a time,
// so that the next batches render on the pool while this one is converted and encoded. At most
// `depth` batches wait for the encoder, so memory stays bounded by depth + 1 batches; two waiting
// batches smooth out a frame that takes longer to render or to encode than its neighbours.
//
//   BatchEncoder encoder(writer);
//   for (...) encoder.hand(renderBatch());   // waits while a batch is still waiting
//   encoder.close();                         // every frame appended, or the failure rethrown
//   writer.finish();
#pragma once

#include "kit/image/image.h"

#include <atomic>
#include <condition_variable>
#include <exception>
#include <mutex>
#include <deque>
#include <thread>
#include <vector>

namespace vorno {

class VideoWriter;

class BatchEncoder {
 public:
  explicit BatchEncoder(VideoWriter& writer);
  /// Without `close`, frames still waiting are dropped: the video is abandoned.
  ~BatchEncoder();
  BatchEncoder(const BatchEncoder&) = delete;
  BatchEncoder& operator=(const BatchEncoder&) = delete;

  /// Batches that may wait for the encoder.
  static constexpr size_t depth = 2;

  /// Queues a batch in order behind the one being encoded; waits while `depth` batches are
  /// queued already. Throws the encoder's failure, if it has failed.
  void hand(std::vector<Image> batch);
  /// Waits until every frame handed over is appended. Throws the encoder's failure.
  void close();
  /// Frames appended so far.
  int appended() const { return appended_.load(); }

 private:
  void run();
  void stop(bool abandon);

  VideoWriter& writer_;
  std::mutex lock_;
  std::condition_variable changed_;
  std::deque<std::vector<Image>> waiting_;
  bool closing_ = false;
  bool abandoned_ = false;
  std::exception_ptr failure_;
  std::atomic<int> appended_{0};
  std::thread thread_;  // declared last: it starts once everything above is ready
};

}  // namespace vorno
