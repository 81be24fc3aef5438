// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// The settings in force, whether the user chose them or a profile demands them.
class ProfileSettings {
 public:
  virtual ~ProfileSettings() = default;

  /// The value in force, or nothing when the setting has none.
  virtual Value effectiveValue(const std::string& setting) = 0;
};

/// Integer: seconds without use until the device locks itself.
inline constexpr const char* kAutoLockTime = "auto-lock-time";

}  // namespace zorva
