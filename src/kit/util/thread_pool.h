// ThreadPool: one process-wide set of worker threads for loops whose iterations are independent
// (the slides of a contact sheet, the files of an export, the frame batches of a video).
//
//   ThreadPool::parallelFor(slides.size(), [&](size_t i) { tiles[i] = renderTile(i); });
//
// The calling thread works too, so a loop always makes progress even when every worker is busy
// with another caller's loop. A parallelFor started from inside an iteration runs inline on that
// thread: nesting can never wait for a worker that is waiting for it.
#pragma once

#include <cstddef>
#include <functional>

namespace vorno::ThreadPool {

/// Runs `body(i)` for every i in 0..<count, spread over the pool, and returns when all have
/// finished. An exception from an iteration doesn't stop the others; the first one is rethrown
/// after the loop. Results should be placed by index, so output never depends on timing.
void parallelFor(size_t count, const std::function<void(size_t)>& body);

/// Threads that work on one loop at most, the caller included: the hardware threads by default.
size_t concurrency();

/// Changes the number of threads, for benchmarks that compare one core with two. 0 restores the
/// default. Call it only while no loop is running.
void setConcurrency(size_t threads);

}  // namespace vorno::ThreadPool
