// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>

#include "platform/loop/RunLoop.h"
#include "platform/scenario/SimParts.h"
#include "platform/telephony/TelephonyServer.h"
#include "platform/telephony/sim/SimTelephonyNotifications.h"

namespace zorva {

/// The telephony server. What it has to say is queued at the connection's port number; each turn of
/// the run loop delivers one message of a port whose source is on it. Without port and source the
/// messages wait until they come, or go with the connection.
class SimTelephonyServer : public TelephonyServer {
 public:
  /// Of an operation on a connection that the server has forgotten by a restart.
  static constexpr ServerResult kConnectionIsGone{1, 32};
  /// Of a report asked for while reporting is off.
  static constexpr ServerResult kReportingIsOff{1, 1};

  SimTelephonyServer(SimParts& parts, RunLoop& runLoop, SimTelephonyNotifications& notifications);

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

  /// Forgets every connection and all that was queued, and reports it.
  void restart();
  /// Sends a notification of the name on every connection.
  void sendOnConnections(const std::string& name);

  void setWakeCommand(std::optional<std::string> command) { wakeCommand_ = std::move(command); }
  void setRatSelection(std::optional<std::string> selection) { rat_ = std::move(selection); }
  void setFirmwareVersion(std::optional<std::string> version) { firmware_ = std::move(version); }
  /// Nothing takes the property away.
  void setTraceProperty(const std::string& trace, const std::string& property,
                        const std::optional<std::string>& value);
  /// In milliseconds by whole names, in the order in which a report lists them.
  void setStateDurations(Dictionary durations) { stateDurations_ = std::move(durations); }
  /// From now on no report comes, as from a device without a modem.
  void removeStateDurations() { stateDurations_.reset(); }
  /// The argument of the last dump that succeeded.
  const Value& lastDump() const { return lastDump_; }

 private:
  class SimConnection;
  class SimPort;
  class SimSource;
  struct Mailbox;
  struct Client;
  struct Exchange;

  Client* clientOf(Connection* connection);
  /// What the operation answers when it cannot go on, or nothing.
  std::optional<ServerResult> refusal(Connection* connection, SimFaultPoint& fault);

  SimTelephonyNotifications& notifications_;
  SimFaultPoint createConnectionFault_;
  SimFaultPoint makePortFault_;
  SimFaultPoint makeSourceFault_;
  SimFaultPoint reportingFault_;
  SimFaultPoint reportFault_;
  SimFaultPoint dumpFault_;
  SimFaultPoint wakeCommandFault_;
  SimFaultPoint ratFault_;
  SimFaultPoint firmwareFault_;
  SimFaultPoint traceFault_;
  std::shared_ptr<Exchange> exchange_;
  PortNumber lastNumber_ = 0;
  std::optional<std::string> wakeCommand_;
  std::optional<std::string> rat_;
  std::optional<std::string> firmware_;
  std::map<std::pair<std::string, std::string>, std::string> traces_;
  std::optional<Dictionary> stateDurations_ = Dictionary();
  Value lastDump_;
};

}  // namespace zorva
