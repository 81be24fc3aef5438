// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <systemd/sd-event.h>
#include <utility>

#include "platform/base/Observers.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/registry/linux/LinuxRegistryEntry.h"
#include "platform/registry/linux/PowerSourceNews.h"
#include "platform/registry/linux/PowerSupply.h"
#include "platform/registry/linux/SupplyReader.h"

namespace zorva {

/// All batteries of the device as one power source; docs/linux-battery.md has the rules. A battery
/// of a peripheral (scope "Device") and a charger that registers as a battery are none of them.
///
/// The batteries are read at most once in each turn of the event loop, and not at all where an
/// event has brought their state.
class LinuxPowerSource : public LinuxRegistryEntry {
 public:
  static constexpr const char* kClass = "power_supply";

  /// When the batteries are looked at without an event of theirs.
  struct Pace {
    /// Again so long after an event of a charger, which reports changes before the batteries notice
    /// them and in bursts.
    std::chrono::microseconds settled = std::chrono::seconds(5);
    /// Of a silent driver, while the system is awake, and by how much later at most, so that the
    /// processor is awake for other timers too.
    std::chrono::microseconds coarse = std::chrono::minutes(5);
    std::chrono::microseconds slack = std::chrono::minutes(3);
    /// So old are the other batteries' figures at most when one of them sends an event.
    std::chrono::microseconds stale = std::chrono::minutes(1);
    /// Between reports of mere drifts.
    std::chrono::microseconds drifts = PowerSourceNews::kBetweenDrifts;
  };

  /// `classDirectory` is the power_supply class's. The event loop must outlive this, and the bus
  /// too, if there is one: UPower's refreshes are heard on it.
  LinuxPowerSource(sd_event* event, std::string classDirectory, LinuxBus* bus, Pace pace);
  LinuxPowerSource(sd_event* event, std::string classDirectory, LinuxBus* bus)
      : LinuxPowerSource(event, std::move(classDirectory), bus, Pace()) {}

  /// Whether the device has a battery, or the bay of one.
  bool exists();
  /// Whether a battery measures its current and its full charge. Decided by the attributes that are
  /// there, whether or not they can be read now; while every battery is out, by those of the bays.
  bool hasGasGauge();

  /// Lets the watches look at the batteries around a sleep of the system.
  void systemWillSleep() { sleeps_.notify(); }
  void systemDidWake() { sleeps_.notify(); }

  RegistryResult readProperties(Dictionary& properties) override;
  Value readProperty(const std::string& key) override;
  const char* subsystem() const override { return kClass; }
  std::unique_ptr<Watch> watch(sd_event* event, Report report) override;

 private:
  class PowerSourceWatch;
  struct Member {
    SupplyReader reader;
    CurrentSign sign;
  };

  void findMembers();
  void read();
  bool take(const DeviceEvent& event);
  void combine();

  sd_event* event_;
  std::string classDirectory_;
  LinuxBus* bus_;
  Pace pace_;
  Observers<> sleeps_;
  std::map<std::string, Member> members_;  // by name; those that count
  bool present_ = false;                   // at least one battery
  Dictionary properties_;                  // empty while no battery is present
  std::optional<std::uint64_t> turn_;      // of the loop, at the last reading
};

}  // namespace zorva
