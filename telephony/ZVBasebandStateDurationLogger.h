// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>

#include "telephony/ZVTelephonyConnectedLogger.h"

namespace zorva {

/// Logs how long the baseband has spent in each of its power states. A snapshot, a wake, a
/// battery-level notification or a change of the radio's transmitter only requests a report; the
/// entry is written when the report arrives.
///
///     11/16/26 14:07:16 [Baseband State Durations] Sleep=3540000 ms; Idle=45000 ms;
class ZVBasebandStateDurationLogger : public ZVTelephonyConnectedLogger {
 public:
  static std::unique_ptr<ZVBasebandStateDurationLogger> loggerWithConnection(
      const Services& services, TelephonyNotifications& notifications,
      const Connection& connection);

  /// Requests a report.
  void log() override;

  /// Writes the entry: milliseconds per state, in the report's order.
  void logReport(const Dictionary& report);

 private:
  ZVBasebandStateDurationLogger(const Services& services, TelephonyNotifications& notifications,
                                const Connection& connection);
};

}  // namespace zorva
