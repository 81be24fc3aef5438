// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/energy/EnergyCounters.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// The zones of the power-capping class, and the energy sensors of the hardware-monitoring class
/// (docs/linux-energy.md).
class LinuxEnergyCounters : public EnergyCounters {
 public:
  static constexpr const char* kPowercap = "/sys/class/powercap";
  static constexpr const char* kHwmon = "/sys/class/hwmon";

  /// The system log outlives this. It gets one line when the kernel keeps counters from this user.
  explicit LinuxEnergyCounters(SystemLog& systemLog, std::string powercap = kPowercap,
                               std::string hwmon = kHwmon);

  Reading read() override;

 private:
  struct Found;
  void readZones(std::vector<Found>& found);
  void readSensors(std::vector<Found>& found);
  bool readInto(Counter& counter, const std::string& path);

  SystemLog& systemLog_;
  std::string powercap_;
  std::string hwmon_;
  bool refusalReported_ = false;
};

}  // namespace zorva
