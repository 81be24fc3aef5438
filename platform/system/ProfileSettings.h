// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// The settings in force, whether set by the user or by a profile.
class ProfileSettings {
 public:
  virtual ~ProfileSettings() = default;

  /// The value in force, or nothing if the setting has none.
  virtual Value effectiveValue(const std::string& setting) = 0;
};

/// Integer: seconds of inactivity until the device locks itself.
inline constexpr const char* kAutoLockTime = "auto-lock-time";

}  // namespace zorva
