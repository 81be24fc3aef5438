// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace zorva {

/// The effective user of this process.
class ProcessIdentity {
 public:
  virtual ~ProcessIdentity() = default;

  virtual std::uint32_t effectiveUser() = 0;
  /// Returns 0 or the error number; on failure nothing changes.
  virtual int setEffectiveUser(std::uint32_t user) = 0;
};

}  // namespace zorva
