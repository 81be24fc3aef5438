// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace zorva {

/// In whose name this process acts.
class ProcessIdentity {
 public:
  virtual ~ProcessIdentity() = default;

  virtual std::uint32_t effectiveUser() = 0;
  /// Answers 0 or the error number; a user who is refused changes nothing.
  virtual int setEffectiveUser(std::uint32_t user) = 0;
};

}  // namespace zorva
