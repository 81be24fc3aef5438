#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Clock.h"

namespace zorva {

/// A clock that stands where a test puts it.
class ClockForTest : public Clock {
 public:
  Date now() const override { return Date(std::chrono::seconds(seconds)); }
  std::int64_t seconds = 2'000'000'000;
};

}  // namespace zorva
