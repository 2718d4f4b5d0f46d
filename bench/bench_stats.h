// What every benchmark reports: the median of its runs and the process's peak resident memory.
#pragma once

#include <sys/resource.h>

#include <algorithm>
#include <vector>

namespace vorno::bench {

/// The middle value (the mean of the two middle ones for an even count).
inline double median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const size_t n = values.size();
  if (n == 0) return 0;
  return n % 2 ? values[n / 2] : (values[n / 2 - 1] + values[n / 2]) / 2;
}

/// The most memory the process has held resident so far, in MiB.
inline double peakMiB() {
  rusage usage{};
  ::getrusage(RUSAGE_SELF, &usage);
  return usage.ru_maxrss / 1024.0;
}

}  // namespace vorno::bench
