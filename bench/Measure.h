// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>
#include <sys/resource.h>

namespace zorva::bench {

/// CPU time of this process so far, user and system, in milliseconds.
inline double cpuMilliseconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto milliseconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return milliseconds(usage.ru_utime) + milliseconds(usage.ru_stime);
}

/// Does the work once, as a daemon would have before, and then the given number of times more.
/// Prints the CPU milliseconds of one repetition on standard error.
template <typename Work>
void repeat(const char* times, Work work) {
  work();
  const int count = times != nullptr ? std::atoi(times) : 0;
  if (count < 1) return;
  const double before = cpuMilliseconds();
  for (int i = 0; i < count; ++i) work();
  std::fprintf(stderr, "%.4f\n", (cpuMilliseconds() - before) / count);
}

}  // namespace zorva::bench
