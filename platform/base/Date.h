// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>

namespace zorva {

/// A wall-clock time: microseconds since 1970-01-01 00:00:00 UTC.
using Date = std::chrono::sys_time<std::chrono::microseconds>;

/// Seconds from one time to another, negative if `to` is the earlier one.
inline double secondsBetween(Date from, Date to) {
  return std::chrono::duration<double>(to - from).count();
}

/// Whole seconds since 1970-01-01 UTC, rounded down.
inline std::int64_t secondsSinceEpoch(Date date) {
  return std::chrono::floor<std::chrono::seconds>(date).time_since_epoch().count();
}

}  // namespace zorva
