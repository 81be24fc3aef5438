// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "core/ZVLogger.h"
#include "platform/work/WorkUnits.h"

namespace zorva {

/// Lists the units in which services and applications run with the CPU seconds that they have used
/// since they were started, busiest first:
///
///     11/16/26 14:07:16 [Work] app-firefox@2100=812.4; system-backup.service=91.0; -.slice=40.2;
///
/// The figure of a unit has that of every process it ever had, however short. What a unit that has
/// gone had used is in the figure of the one around it. Units that have used less than a tenth of a
/// second are left out. An entry is written at each snapshot and each news of the battery level.
/// There is no logger where the system does not run things in units.
class ZVWorkLogger : public ZVLogger {
 public:
  /// Most units in one entry.
  static constexpr std::size_t kMaxUnits = 100;

  static std::unique_ptr<ZVWorkLogger> logger(const Services& services, WorkUnits& units);

  void log() override;

  /// The body of an entry.
  static std::string bodyOf(std::vector<WorkUnits::Unit> units);

 private:
  ZVWorkLogger(const Services& services, WorkUnits& units);

  WorkUnits& units_;
};

}  // namespace zorva
