#include "kit/video/batch_encoder.h"

#include "kit/video/video_writer.h"

namespace vorno {

BatchEncoder::BatchEncoder(VideoWriter& writer) : writer_(writer), thread_([this] { run(); }) {}

BatchEncoder::~BatchEncoder() { stop(true); }

void BatchEncoder::hand(std::vector<Image> batch) {
  std::unique_lock guard(lock_);
  changed_.wait(guard, [&] { return waiting_.size() < depth || failure_; });
  if (failure_) std::rethrow_exception(failure_);
  waiting_.push_back(std::move(batch));
  changed_.notify_all();
}

void BatchEncoder::close() {
  stop(false);
  if (failure_) std::rethrow_exception(failure_);
}

void BatchEncoder::stop(bool abandon) {
  {
    std::lock_guard guard(lock_);
    closing_ = true;
    abandoned_ = abandoned_ || abandon;
    changed_.notify_all();
  }
  if (thread_.joinable()) thread_.join();
}

void BatchEncoder::run() {
  for (;;) {
    std::vector<Image> batch;
    {
      std::unique_lock guard(lock_);
      changed_.wait(guard, [&] { return !waiting_.empty() || closing_; });
      if (abandoned_ || waiting_.empty()) return;
      batch = std::move(waiting_.front());
      waiting_.pop_front();
      changed_.notify_all();
    }
    try {
      for (Image& frame : batch) {
        writer_.append(frame);
        frame = Image();  // its pixels go as soon as the encoder has them
        ++appended_;
      }
    } catch (...) {
      std::lock_guard guard(lock_);
      failure_ = std::current_exception();
      changed_.notify_all();
      return;
    }
  }
}

}  // namespace vorno
