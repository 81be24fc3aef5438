// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "platform/thermal/linux/ThermalEvents.h"

namespace zorva {

/// How far the cooling devices throttle the machine for its heat, as it was last read from the
/// kernel's thermal class or said by its events. A phone has a hundred zones, each with some
/// devices and points: to read them all takes thousands of system calls, so an event changes only
/// what it names.
class Throttling {
 public:
  /// The directory of the thermal class. Knows nothing before readAll().
  explicit Throttling(std::string directory) : directory_(std::move(directory)) {}

  void readAll();
  /// Not for changes of anything: those want readAll().
  void apply(const ThermalChanges& changes);
  /// Whether there is a device that could throttle.
  bool possible() const { return !devices_.empty(); }

  /// 0 to 100: of the device that is throttled most, in percent of what it can be, rounded up.
  std::int32_t level() const;

 private:
  struct Device {
    std::int64_t state = 0;
    std::int64_t most = 0;
  };
  using Devices = std::map<std::string, Device>;

  std::string directory_;
  Devices devices_;  ///< that throttle, by their name in the class ("cooling_device3")
  /// Where a zone's devices are, and which they are, by the zone's number.
  std::map<std::int32_t, std::vector<std::pair<std::string, Devices::iterator>>> zones_;
};

}  // namespace zorva
