// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {

/// What one supply of the kernel's power_supply class reports, at a bounded cost: gauges behind
/// firmware answer each attribute with a request of their own, and some take seconds or hang.
class SupplyReader {
 public:
  using Time = std::chrono::steady_clock::time_point;
  using Clock = std::function<Time()>;

  /// A reading that took longer is not repeated for kRest times as long.
  static constexpr std::chrono::milliseconds kSlow{500};
  static constexpr int kRest = 10;

  /// `directory` is the supply's own, without an ending "/".
  explicit SupplyReader(std::string directory, Clock clock = std::chrono::steady_clock::now);

  /// A supply that can be the gauge of a battery: it has an attribute for the level, even if that
  /// cannot be read now. Charger chips that register as batteries have none.
  bool hasLevel() const;
  /// It has attributes for a current and for a measured full charge, even if they cannot be read
  /// now.
  bool hasGasGauge() const;
  /// False for the bay of a battery that is out.
  bool present() const;

  /// Reads the state, all attributes at once. Of a gauge that was slow the last state stays.
  void read();
  /// Takes the state from an event's variables instead: `variable` answers those named
  /// POWER_SUPPLY_... without that beginning. False, and nothing changes, if it has no state.
  bool take(const SysfsAttributes& variable);
  /// When the state was read or taken; nothing before the first time.
  std::optional<Time> readAt() const { return readAt_; }

  /// An attribute of the state by its name in sysfs.
  std::optional<std::string> operator()(const std::string& name) const;

 private:
  using State = std::map<std::string, std::string, std::less<>>;

  bool has(const char* attribute) const;
  State readOneByOne(Time begun) const;
  void keep(State state);

  std::string directory_;
  Clock clock_;
  State state_;
  std::optional<Time> readAt_;
  std::optional<Time> restsUntil_;
};

}  // namespace zorva
