// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>

#include "core/ZVLogger.h"

namespace zorva {

class AccountDatabase;
class SystemStatistics;

/// Lists every running process with the CPU time that it has used since it started, busiest first:
///
///     11/16/26 14:07:16 [ProcessMonitor] alpha(45)=812; beta(17)=95; demo(211)=3;
///
/// The figure is in whole seconds: user and system time of all threads, including those that have
/// ended. Command names pass safeText. An entry is written at each snapshot and at each
/// battery-level notification. Nothing is kept between entries.
class ZVProcessMonitor : public ZVLogger {
 public:
  static std::unique_ptr<ZVProcessMonitor> logger(const Services& services,
                                                  SystemStatistics& statistics,
                                                  AccountDatabase& accounts);

  /// The maximum number of processes in one entry.
  static constexpr int kMaxProcesses = 999;

  void log() override;

  /// The body of an entry, from a new sample; empty if sampling fails. Uses a whole round of
  /// libtally, so none may be in progress.
  static std::string sampleBody(SystemStatistics& statistics, AccountDatabase& accounts);

 private:
  ZVProcessMonitor(const Services& services, SystemStatistics& statistics,
                   AccountDatabase& accounts);

  SystemStatistics& statistics_;
  AccountDatabase& accounts_;
};

}  // namespace zorva
