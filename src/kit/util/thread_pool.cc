// How it works: a loop is a Job with an atomic counter of the next index. The caller pushes the
// job on a queue, wakes the workers and then takes indices itself; each worker takes the job at
// the front of the queue and does the same. Whoever finds the counter past the end leaves the
// job, and the caller waits until every index it handed out has finished. Workers and the caller
// (while inside its loop) are marked by a thread-local flag; a loop started by a marked thread
// runs inline, which is what keeps nested loops from deadlocking.
#include "kit/util/thread_pool.h"

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace vorno::ThreadPool {
namespace {

thread_local bool insideLoop = false;

struct Job {
  const std::function<void(size_t)>* body = nullptr;
  size_t count = 0;
  std::atomic<size_t> next{0};
  std::mutex lock;
  std::condition_variable finishedCondition;
  size_t finished = 0;  // guarded by `lock`
  std::exception_ptr error;  // the first one, guarded by `lock`

  // Takes indices until none are left. Returns when this thread can take no more.
  void work() {
    for (;;) {
      size_t index = next.fetch_add(1, std::memory_order_relaxed);
      if (index >= count) return;
      std::exception_ptr failure;
      try {
        (*body)(index);
      } catch (...) {
        failure = std::current_exception();
      }
      std::lock_guard guard(lock);
      if (failure && !error) error = failure;
      if (++finished == count) finishedCondition.notify_all();
    }
  }

  bool exhausted() const { return next.load(std::memory_order_relaxed) >= count; }
};

class Pool {
 public:
  static Pool& shared() {
    // Never destroyed: workers may still be parked when static destructors run at exit.
    static Pool* pool = new Pool();
    return *pool;
  }

  size_t concurrency() {
    std::lock_guard guard(lock_);
    return concurrency_;
  }

  void setConcurrency(size_t threads) {
    if (threads == 0) threads = defaultConcurrency();
    std::vector<std::jthread> old;
    {
      std::lock_guard guard(lock_);
      if (threads == concurrency_) return;
      concurrency_ = threads;
      old.swap(workers_);
      stopping_ = true;
    }
    wake_.notify_all();
    old.clear();  // joins
    std::lock_guard guard(lock_);
    stopping_ = false;
    started_ = false;
  }

  void run(size_t count, const std::function<void(size_t)>& body) {
    auto job = std::make_shared<Job>();
    job->body = &body;
    job->count = count;
    {
      std::lock_guard guard(lock_);
      startWorkersIfNeeded();
      queue_.push_back(job);
    }
    wake_.notify_all();

    insideLoop = true;
    job->work();
    insideLoop = false;

    std::unique_lock jobLock(job->lock);
    job->finishedCondition.wait(jobLock, [&] { return job->finished == job->count; });
    if (job->error) std::rethrow_exception(job->error);
  }

 private:
  Pool() : concurrency_(defaultConcurrency()) {}

  static size_t defaultConcurrency() { return std::max(1u, std::thread::hardware_concurrency()); }

  // Workers start on the first loop, so a run that never loops never makes threads.
  void startWorkersIfNeeded() {
    if (started_) return;
    started_ = true;
    for (size_t i = 1; i < concurrency_; ++i) workers_.emplace_back([this] { workerLoop(); });
  }

  void workerLoop() {
    insideLoop = true;
    for (;;) {
      std::shared_ptr<Job> job;
      {
        std::unique_lock guard(lock_);
        wake_.wait(guard, [&] {
          dropExhausted();
          return stopping_ || !queue_.empty();
        });
        if (stopping_) return;
        job = queue_.front();
      }
      job->work();
    }
  }

  // Called under `lock_`: jobs whose indices are all handed out leave the queue.
  void dropExhausted() {
    while (!queue_.empty() && queue_.front()->exhausted()) queue_.pop_front();
  }

  std::mutex lock_;
  std::condition_variable wake_;
  std::deque<std::shared_ptr<Job>> queue_;
  std::vector<std::jthread> workers_;
  size_t concurrency_;
  bool started_ = false;
  bool stopping_ = false;
};

}  // namespace

void parallelFor(size_t count, const std::function<void(size_t)>& body) {
  if (count == 0) return;
  Pool& pool = Pool::shared();
  if (count == 1 || insideLoop || pool.concurrency() <= 1) {
    // Inline, with the same contract: every iteration runs, the first failure is rethrown.
    std::exception_ptr error;
    for (size_t i = 0; i < count; ++i) {
      try {
        body(i);
      } catch (...) {
        if (!error) error = std::current_exception();
      }
    }
    if (error) std::rethrow_exception(error);
    return;
  }
  pool.run(count, body);
}

size_t concurrency() { return Pool::shared().concurrency(); }

void setConcurrency(size_t threads) { Pool::shared().setConcurrency(threads); }

}  // namespace vorno::ThreadPool
