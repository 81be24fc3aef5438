// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <gtest/gtest.h>
#include <string>
#include <sys/timerfd.h>

namespace zorva {

/// Makes the timers by which this process waits for a jump of the clock, which are those that never
/// fire by themselves, ready for the loop.
inline void jumpClock() {
  int found = 0;
  for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd")) {
    const int number = std::stoi(entry.path().filename().string());
    itimerspec left{};
    constexpr time_t kCentury = 100LL * 365 * 24 * 3600;
    if (timerfd_gettime(number, &left) != 0 || left.it_value.tv_sec < kCentury) continue;
    const itimerspec now{{0, 0}, {0, 1}};
    if (timerfd_settime(number, 0, &now, nullptr) == 0) ++found;
  }
  ASSERT_GT(found, 0);
}

}  // namespace zorva
