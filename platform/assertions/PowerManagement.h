// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>
#include <sys/types.h>
#include <vector>

#include "platform/base/Value.h"

namespace zorva {

/// The system notification that every change of the assertions posts.
inline constexpr const char* kAssertionsChanged = "com.vennor.system.powermanagement.assertions";

/// The power-management service: who keeps the device awake.
class PowerManagement {
 public:
  virtual ~PowerManagement() = default;

  struct ProcessAssertions {
    pid_t pid;                        ///< process id
    std::vector<Dictionary> records;  ///< each with at least "AssertPID" (number), "AssertName"
                                      ///< (text) and "AssertStartWhen" (date)
  };

  /// The assertions held now, by process; an empty list when there are none, nothing when the
  /// query fails. Every change posts kAssertionsChanged.
  virtual std::optional<std::vector<ProcessAssertions>> copyAssertionsByProcess() = 0;
};

}  // namespace zorva
