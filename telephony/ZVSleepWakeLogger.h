// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "platform/processes/ProcessInformation.h"
#include "platform/sleep/KernelValues.h"
#include "platform/sleep/SystemPower.h"
#include "telephony/ZVTelephonyConnectedLogger.h"
#include "wake/ZVPacketTracker.h"

namespace zorva {

/// Logs when the system goes to sleep and why it wakes, and for a wake by the baseband what arrived
/// and for which process.
///
///     11/16/26 23:07:16 [Sleep] event=can_sleep;
///     11/16/26 23:07:16 [Sleep] event=will_sleep;
///     11/17/26 02:41:09 [Wake] reason=baseband; info=Dlci 3 [pdp_0]: 45 00 00 3c;
///
/// Posts "ZVDeviceWillSleepNotification" before the entry of a sleep, and
/// "ZVDeviceDidWakeNotification" after those of a wake. It posts both, and allows the sleep, even
/// while it is disabled: the system waits for that.
class ZVSleepWakeLogger : public ZVTelephonyConnectedLogger {
 public:
  struct Sources {
    SystemPower& power;
    KernelValues& kernel;
    ProcessInformation& processes;
  };

  static std::unique_ptr<ZVSleepWakeLogger> loggerWithConnection(
      const Services& services, TelephonyNotifications& notifications, const Connection& connection,
      const Sources& sources);
  ~ZVSleepWakeLogger() override;

  /// Writes nothing: sleep and wake have no state that a snapshot could show.
  void log() override {}
  /// Writes the entries of a wake.
  void logWake();

  /// The kernel's reason for the last wake, at most 256 bytes; "<unknown>", with an error entry, if
  /// it reports none.
  std::string wakeReason();
  /// Whether the reason names the baseband.
  static bool isBasebandWakeup(const std::string& reason);

  std::uint32_t rootDomainConnect() const { return rootDomainConnect_; }
  void setRootDomainConnect(std::uint32_t connection) { rootDomainConnect_ = connection; }

 private:
  ZVSleepWakeLogger(const Services& services, TelephonyNotifications& notifications,
                    const Connection& connection, const Sources& sources);

  void handlePowerMessage(std::uint32_t type, std::intptr_t argument);

  Sources sources_;
  std::uint32_t rootDomainConnect_ = 0;
  std::uint32_t pmNotifier_ = 0;
  std::unique_ptr<SystemPower::Port> systemPowerPortRef_;
  Registration pmSource_;
  std::unique_ptr<ZVPacketTracker> packetTracker_;
};

}  // namespace zorva
