#pragma once

#include "platform/TelephonyServer.h"

namespace zorva {

class SimTelephonyServer : public TelephonyServer {
 public:
  std::unique_ptr<Connection> createConnection(NotificationCallback) override { return nullptr; }
  PortNumber portOfConnection(const Connection&) override { return 0; }
  std::unique_ptr<Port> makePort(PortNumber, MessageCallback) override { return nullptr; }
  std::unique_ptr<Source> makeSource(Port&) override { return nullptr; }
  void handleReply(const Message&) override {}
  ServerResult setStateDurationReporting(Connection*, bool) override { return kNoServerConnection; }
  ServerResult requestStateDurationReport(Connection*) override { return kNoServerConnection; }
  ServerResult dumpBasebandState(Connection*, const Value&) override { return kNoServerConnection; }
  ServerResult copyWakeCommand(Connection*, std::optional<std::string>&) override {
    return kNoServerConnection;
  }
  ServerResult ratSelection(Connection*, std::optional<std::string>&) override {
    return kNoServerConnection;
  }
  ServerResult copyFirmwareVersion(Connection*, std::optional<std::string>&) override {
    return kNoServerConnection;
  }
  ServerResult copyTraceProperty(Connection*, const std::string&, const std::string&,
                                 std::optional<std::string>&, bool&) override {
    return kNoServerConnection;
  }
};

}  // namespace zorva
