// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string>
#include <systemd/sd-event.h>

#include "platform/telephony/TelephonyServer.h"
#include "platform/telephony/linux/LinuxTelephonyNotifications.h"
#include "platform/telephony/linux/ModemManagerClient.h"

namespace zorva {

/// The telephony server is ModemManager and the kernel's power accounts of the modem's device
/// (docs/linux-telephony.md). Connections can be had while ModemManager runs; it sends nothing on
/// them, so their notification callbacks are never called.
///
/// Nothing here waits for the modem. An operation that has no source on Linux answers an error of
/// kDomain, as all of them do without a modem.
class LinuxTelephonyServer : public TelephonyServer {
 public:
  /// Errors of this domain are the numbers of errno.h.
  static constexpr std::int32_t kDomain = 1;

  /// `root` stands before "/sys/...". Everything referred to outlives this.
  LinuxTelephonyServer(sd_event* event, ModemManagerClient& client,
                       LinuxTelephonyNotifications& notifications, std::string root = {});
  ~LinuxTelephonyServer() override;

  /// Who knows what woke the device: the wake command's text, or nothing. Without one there is no
  /// wake command.
  using WakeText = std::function<std::optional<std::string>()>;
  void setWakeText(WakeText wakeText) { wakeText_ = std::move(wakeText); }

  std::unique_ptr<Connection> createConnection(NotificationCallback callback) override;
  PortNumber portOfConnection(const Connection& connection) override;
  std::unique_ptr<Port> makePort(PortNumber number, MessageCallback callback) override;
  std::unique_ptr<Source> makeSource(Port& port) override;
  void handleReply(const Message& message) override;
  ServerResult setStateDurationReporting(Connection* connection, bool enabled) override;
  ServerResult requestStateDurationReport(Connection* connection) override;
  ServerResult dumpBasebandState(Connection* connection, const Value& argument) override;
  ServerResult copyWakeCommand(Connection* connection,
                               std::optional<std::string>& command) override;
  ServerResult ratSelection(Connection* connection, std::optional<std::string>& selection) override;
  ServerResult copyFirmwareVersion(Connection* connection,
                                   std::optional<std::string>& version) override;
  ServerResult copyTraceProperty(Connection* connection, const std::string& trace,
                                 const std::string& property, std::optional<std::string>& value,
                                 bool& found) override;

 private:
  class Mailbox;
  class LinuxConnection;
  class LinuxPort;
  class LinuxSource;

  sd_event* event_;
  ModemManagerClient& client_;
  LinuxTelephonyNotifications& notifications_;
  std::string root_;
  WakeText wakeText_;
  PortNumber lastPort_ = 0;
  std::map<PortNumber, std::weak_ptr<Mailbox>> mailboxes_;  ///< of the connections there are
};

/// How long the device at the sysfs path has been in each of its runtime power states since it was
/// made: milliseconds, no more than 2^31 - 1 (24.8 days), by the names of baseband states. Nothing
/// when the kernel keeps no account of it, or the device's driver does not use runtime power
/// management.
std::optional<Dictionary> readBasebandStates(const std::string& device);

}  // namespace zorva
