// BatchEncoder: hands rendered frames to a VideoWriter on a thread of its own, a batch at a time,
// so that the next batch renders on the pool while this one is converted and encoded. At most one
// batch waits for the encoder, so memory stays bounded by two batches.
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
#include <optional>
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

  /// Queues a batch in order behind the one being encoded; waits while another batch is still
  /// queued. Throws the encoder's failure, if it has failed.
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
  std::optional<std::vector<Image>> waiting_;
  bool closing_ = false;
  bool abandoned_ = false;
  std::exception_ptr failure_;
  std::atomic<int> appended_{0};
  std::thread thread_;  // declared last: it starts once everything above is ready
};

}  // namespace vorno
