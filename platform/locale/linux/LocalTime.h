#pragma once

#include <ctime>

#include "platform/base/Date.h"

namespace zorva {

/// The date in local time, by the C library, after reading the zone's file again if that was
/// replaced. All zeroes for a year that the C library cannot count to.
inline std::tm localTime(Date date) {
  tzset();
  const std::time_t seconds = secondsSinceEpoch(date);
  std::tm local{};
  localtime_r(&seconds, &local);
  return local;
}

}  // namespace zorva
