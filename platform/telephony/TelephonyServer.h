// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/base/Value.h"

namespace zorva {

/// What a telephony server operation answers: an error of 0 is success. The domain says whose
/// error number it is, and is only reported.
struct ServerResult {
  std::int32_t domain = 0;
  std::int32_t error = 0;
};

/// Of an operation that was given an empty handle.
inline constexpr ServerResult kNoServerConnection{1, 22};

/// What the server's radio access technologies and selections are called. Compared as whole texts.
namespace rat {
inline constexpr const char* kSelection0 = "selection-0";
inline constexpr const char* kSelection1 = "selection-1";
inline constexpr const char* kSelection2 = "selection-2";
inline constexpr const char* kSelectionUnknown = "selection-unknown";
inline constexpr const char* kGSM = "technology-gsm";
inline constexpr const char* kGSMCompact = "technology-gsm-compact";
inline constexpr const char* kUTRAN = "technology-utran";
inline constexpr const char* kUnknown = "technology-unknown";
}  // namespace rat

/// The telephony server, reached over a connection. The server's replies (such as a state-duration
/// report that was asked for) arrive as messages at the connection's port: they count only once a
/// source of the port is on the run loop and what it receives is handed to handleReply(). The news
/// in them is then delivered by the telephony notification centre (TelephonyNotifications.h).
///
/// Every operation that takes a connection takes an empty one too, and answers it with
/// kNoServerConnection and no values. Operations that ask the modem may take up to two seconds.
class TelephonyServer {
 public:
  virtual ~TelephonyServer() = default;

  /// One client's connection. Dropping it closes it.
  class Connection {
   public:
    virtual ~Connection() = default;
  };
  using PortNumber = std::uint32_t;
  /// One message as it arrived at a port.
  using Message = Value;
  /// Receives what arrives at a port number. Dropping it invalidates it.
  class Port {
   public:
    virtual ~Port() = default;
  };
  /// Lets a port's messages arrive while it is on the run loop. Dropping it takes it off.
  class Source {
   public:
    virtual ~Source() = default;
    virtual void addToRunLoop() = 0;
  };

  /// Called, through the port, for a notification that the server sends on the connection itself.
  using NotificationCallback = std::function<void(std::string_view name)>;
  using MessageCallback = std::function<void(const Message&)>;

  /// A new connection, or none when the server cannot be reached.
  virtual std::unique_ptr<Connection> createConnection(NotificationCallback callback) = 0;
  virtual PortNumber portOfConnection(const Connection& connection) = 0;
  /// A port object for the number, or none.
  virtual std::unique_ptr<Port> makePort(PortNumber number, MessageCallback callback) = 0;
  /// A source for the port, not yet on the run loop, or none. It goes before the port.
  virtual std::unique_ptr<Source> makeSource(Port& port) = 0;
  virtual void handleReply(const Message& message) = 0;

  /// State-duration reporting belongs to the connection: a report can only be had while it is on.
  virtual ServerResult setStateDurationReporting(Connection* connection, bool enabled) = 0;
  /// Asks for a report, which comes as kStateDurationReport.
  virtual ServerResult requestStateDurationReport(Connection* connection) = 0;
  virtual ServerResult dumpBasebandState(Connection* connection, const Value& argument) = 0;

  /// The text that says what the baseband woke the device for.
  virtual ServerResult copyWakeCommand(Connection* connection,
                                       std::optional<std::string>& command) = 0;
  /// The selected radio access technology, one of the texts of namespace rat or any other.
  virtual ServerResult ratSelection(Connection* connection,
                                    std::optional<std::string>& selection) = 0;
  virtual ServerResult copyFirmwareVersion(Connection* connection,
                                           std::optional<std::string>& version) = 0;
  virtual ServerResult copyTraceProperty(Connection* connection, const std::string& trace,
                                         const std::string& property,
                                         std::optional<std::string>& value, bool& found) = 0;
};

}  // namespace zorva
