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
/// The figure is whole seconds of user and system time of all threads, those that have ended among
/// them. Command names are written fit for a line of text. An entry is written at the snapshot of
/// start-up, at each change of the whole-percent battery level, and at the first battery status
/// change after a long time without one. Nothing is kept between entries.
class ZVProcessMonitor : public ZVLogger {
 public:
  static std::unique_ptr<ZVProcessMonitor> logger(const Services& services,
                                                  SystemStatistics& statistics,
                                                  AccountDatabase& accounts);

  /// Most processes in one entry.
  static constexpr int kMaxProcesses = 999;

  void log() override;

  /// The body of an entry: a fresh sample, empty when none can be had. Takes the whole of a round
  /// of libtally, so none may be under way.
  static std::string sampleBody(SystemStatistics& statistics, AccountDatabase& accounts);

 private:
  ZVProcessMonitor(const Services& services, SystemStatistics& statistics,
                   AccountDatabase& accounts);

  SystemStatistics& statistics_;
  AccountDatabase& accounts_;
};

}  // namespace zorva
