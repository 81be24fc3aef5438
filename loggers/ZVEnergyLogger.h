// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "core/ZVLogger.h"
#include "platform/energy/EnergyCounters.h"

namespace zorva {

/// Logs the energy that each part of the hardware has used since the logger's start, in joules:
///
///     11/16/26 14:07:16 [Energy] package-0=1234.5 J; core=801.0 J; uncore=70.2 J; dram=90.0 J;
///
/// A counter that could not be read so far is "<unavailable>"; one that cannot be read now keeps
/// its figure. A counter that is less than before has passed the end of its range if the power that
/// this implies is possible, and if not all went back together. Else it started anew: what was used
/// since the last entry is unknown and counts as nothing. The entry says so, and also which
/// counters may have passed the end of their range once more than can be seen:
///
///     11/16/26 14:37:16 [Energy] package-0=1240.0 J; dram=92.0 J; at_least=package-0;
///     restarted=dram;
///
/// An entry is written at each snapshot and each news of the battery level. There is no logger
/// where there is no counter.
class ZVEnergyLogger : public ZVLogger {
 public:
  /// The most that one part draws on average between two entries. Through 262 kJ, the range of many
  /// processors, this takes half an hour.
  static constexpr double kMaxWatts = 145.0;

  static std::unique_ptr<ZVEnergyLogger> logger(const Services& services, EnergyCounters& counters);

  void log() override;

 private:
  /// What is known of one counter.
  struct Account {
    std::optional<std::uint64_t> last;  ///< microjoules, as last read
    double awake = 0;                   ///< when, in seconds awake
    std::uint64_t used = 0;             ///< microjoules since the logger's start
  };
  struct News {
    std::vector<std::string> atLeast, restarted;  ///< names of counters
  };

  ZVEnergyLogger(const Services& services, EnergyCounters& counters);
  News take(const EnergyCounters::Reading& reading);

  EnergyCounters& counters_;
  std::map<std::string, Account> accounts_;  ///< by the counters' ids
};

}  // namespace zorva
