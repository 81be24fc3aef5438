// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "platform/base/Registration.h"

namespace zorva {

/// The device-wide notification centre: names that any process may post and observe, each with a
/// 64-bit state.
class SystemNotifications {
 public:
  virtual ~SystemNotifications() = default;

  using Callback = std::function<void(std::string_view name)>;

  /// Calls back on the run loop, immediately, for every post of the name. An empty registration
  /// means that the name cannot be observed.
  virtual Registration observe(const std::string& name, Callback callback) = 0;

  /// The state last set for the name (0 if none was set), or nothing if it cannot be read.
  virtual std::optional<std::uint64_t> state(const std::string& name) = 0;
};

}  // namespace zorva
