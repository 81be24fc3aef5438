// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "platform/base/Registration.h"
#include "platform/system/SystemLog.h"
#include "platform/telephony/Telephony.h"
#include "platform/telephony/TelephonyNotifications.h"
#include "platform/telephony/TelephonyServer.h"

namespace zorva {

/// The one shared handle on the telephony server. It exists as long as the program runs, in every
/// mode, and connects when a query first needs it. A restart of the server, or a request that it
/// refuses, tears the connection down; the next query reconnects.
///
/// Its failures are reported to the system log, never as entries.
class ZVTelephonyConnection {
 public:
  struct Sources {
    TelephonyServer& server;
    Telephony& telephony;
    TelephonyNotifications& notifications;
    SystemLog& systemLog;
  };

  explicit ZVTelephonyConnection(const Sources& sources);
  ZVTelephonyConnection(const ZVTelephonyConnection&) = delete;
  ZVTelephonyConnection& operator=(const ZVTelephonyConnection&) = delete;
  ~ZVTelephonyConnection();

  /// The connection; if there is none, connects first. Returns nothing if that fails; the parts
  /// created until then are kept, and count as connected until the next teardown.
  TelephonyServer::Connection* connection();
  void teardownConnection();
  void daemonRestartNotification() { teardownConnection(); }

  /// Always "<unknown>", because the server does not report it.
  std::string activeBand() const { return "<unknown>"; }
  /// The human-readable name of the selected radio access technology, or nothing.
  std::optional<std::string> currentRAT();
  static std::string humanReadableRATName(const std::optional<std::string>& value);

  std::int32_t numberOfActiveCalls() { return sources_.telephony.currentCallCount(); }
  bool callActive() { return numberOfActiveCalls() > 0; }
  /// "Inactive", "Multiple", or the status of the only call.
  std::string currentCallStatus();
  static std::string humanReadableCallStatus(std::int32_t status);

  /// In dBm, percent and bars; -1 for unknown values.
  void getSignalStrengthAsPercentageWithBars(std::int32_t& raw, std::int32_t& percentage,
                                             std::int32_t& bars);

  std::optional<std::string> basebandFirmwareVersion();
  /// The baseband's text that describes what woke the device, without surrounding blanks and line
  /// ends.
  std::optional<std::string> wakeCommand();

  /// The report arrives later, as a telephony notification.
  void requestBasebandStateDurationReport();
  void requestBasebandStateDump(const Value& argument);

  std::optional<std::string> getPropertyForTrace(const std::string& property,
                                                 const std::string& trace);
  bool probecraftEnabled() { return traceEnabled("Probecraft"); }
  bool heliantLoggingEnabled() { return traceEnabled("Heliant"); }

 private:
  bool traceEnabled(const std::string& trace);

  Sources sources_;
  std::unique_ptr<TelephonyServer::Connection> connection_;
  std::unique_ptr<TelephonyServer::Port> ctServerPort_;
  std::unique_ptr<TelephonyServer::Source> ctServerSource_;
  Registration daemonRestart_;
};

}  // namespace zorva
