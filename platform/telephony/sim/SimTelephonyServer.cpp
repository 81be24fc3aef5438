// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/sim/SimTelephonyServer.h"

#include <deque>
#include <utility>

namespace zorva {
namespace {

// The error of a fault that names none, and the domain of all.
constexpr std::int64_t kUsualError = 5;
constexpr std::int32_t kDomain = 1;

// What a message holds: news for the centre, or a notification on one connection.
constexpr const char* kNews = "news";
constexpr const char* kInformation = "information";
constexpr const char* kConnection = "connection";
constexpr const char* kName = "name";

}  // namespace

/// What one port number stands for.
struct SimTelephonyServer::Mailbox {
  std::deque<Message> messages;
  std::shared_ptr<const MessageCallback> port;
  bool onRunLoop = false;  ///< whether a source of the port is
  Registration turn;       ///< the next turn of the run loop, while it is to deliver
};

/// A connection as the server knows it.
struct SimTelephonyServer::Client {
  NotificationCallback callback;
  bool reporting = false;
};

/// What connections, ports and sources share with the server, any of which may go first.
struct SimTelephonyServer::Exchange : std::enable_shared_from_this<Exchange> {
  explicit Exchange(RunLoop& runLoop) : loop(runLoop) {}

  void send(PortNumber number, Message message) {
    const auto box = boxes.find(number);
    if (box == boxes.end()) return;
    box->second->messages.push_back(std::move(message));
    arrange(box->second);
  }

  void arrange(const std::shared_ptr<Mailbox>& box) {
    if (box->turn || !box->onRunLoop || !box->port || box->messages.empty()) return;
    box->turn = loop.startTimer(0.0, [weakThis = weak_from_this(), weakBox = std::weak_ptr(box)] {
      const auto exchange = weakThis.lock();
      const auto mailbox = weakBox.lock();
      if (exchange && mailbox) exchange->deliver(mailbox);
    });
  }

  void deliver(const std::shared_ptr<Mailbox>& box) {
    box->turn.reset();
    const Message message = std::move(box->messages.front());
    box->messages.pop_front();
    const auto port = box->port;  // may be dropped by what it calls
    (*port)(message);
    arrange(box);
  }

  RunLoop& loop;
  std::map<PortNumber, Client> clients;  ///< those that the server has not forgotten
  std::map<PortNumber, std::shared_ptr<Mailbox>> boxes;
};

class SimTelephonyServer::SimConnection : public Connection {
 public:
  SimConnection(std::shared_ptr<Exchange> exchange, PortNumber portNumber)
      : number(portNumber), exchange_(std::move(exchange)) {}
  ~SimConnection() override {
    exchange_->clients.erase(number);
    exchange_->boxes.erase(number);
  }

  const PortNumber number;

 private:
  std::shared_ptr<Exchange> exchange_;
};

class SimTelephonyServer::SimPort : public Port {
 public:
  SimPort(std::shared_ptr<Mailbox> mailbox, MessageCallback callback) : box(std::move(mailbox)) {
    box->port = std::make_shared<const MessageCallback>(std::move(callback));
  }
  ~SimPort() override {
    box->port.reset();
    box->turn.reset();
  }

  const std::shared_ptr<Mailbox> box;
};

class SimTelephonyServer::SimSource : public Source {
 public:
  SimSource(std::shared_ptr<Exchange> exchange, std::shared_ptr<Mailbox> box)
      : exchange_(std::move(exchange)), box_(std::move(box)) {}
  ~SimSource() override {
    box_->onRunLoop = false;
    box_->turn.reset();
  }
  void addToRunLoop() override {
    box_->onRunLoop = true;
    exchange_->arrange(box_);
  }

 private:
  std::shared_ptr<Exchange> exchange_;
  std::shared_ptr<Mailbox> box_;
};

SimTelephonyServer::SimTelephonyServer(SimParts& parts, RunLoop& runLoop,
                                       SimTelephonyNotifications& notifications)
    : notifications_(notifications),
      createConnectionFault_(parts.faults, "telephonyServer.createConnection"),
      makePortFault_(parts.faults, "telephonyServer.makePort"),
      makeSourceFault_(parts.faults, "telephonyServer.makeSource"),
      reportingFault_(parts.faults, "telephonyServer.setStateDurationReporting", kUsualError),
      reportFault_(parts.faults, "telephonyServer.requestStateDurationReport", kUsualError),
      dumpFault_(parts.faults, "telephonyServer.dumpBasebandState", kUsualError),
      wakeCommandFault_(parts.faults, "telephonyServer.copyWakeCommand", kUsualError),
      ratFault_(parts.faults, "telephonyServer.ratSelection", kUsualError),
      firmwareFault_(parts.faults, "telephonyServer.copyFirmwareVersion", kUsualError),
      traceFault_(parts.faults, "telephonyServer.copyTraceProperty", kUsualError),
      exchange_(std::make_shared<Exchange>(runLoop)) {}

std::unique_ptr<TelephonyServer::Connection> SimTelephonyServer::createConnection(
    NotificationCallback callback) {
  if (createConnectionFault_.strikes()) return nullptr;
  const PortNumber number = ++lastNumber_;
  exchange_->clients[number] = {std::move(callback)};
  exchange_->boxes[number] = std::make_shared<Mailbox>();
  return std::make_unique<SimConnection>(exchange_, number);
}

TelephonyServer::PortNumber SimTelephonyServer::portOfConnection(const Connection& connection) {
  return static_cast<const SimConnection&>(connection).number;
}

std::unique_ptr<TelephonyServer::Port> SimTelephonyServer::makePort(PortNumber number,
                                                                    MessageCallback callback) {
  const auto box = exchange_->boxes.find(number);
  if (makePortFault_.strikes() || box == exchange_->boxes.end()) return nullptr;
  return std::make_unique<SimPort>(box->second, std::move(callback));
}

std::unique_ptr<TelephonyServer::Source> SimTelephonyServer::makeSource(Port& port) {
  if (makeSourceFault_.strikes()) return nullptr;
  return std::make_unique<SimSource>(exchange_, static_cast<SimPort&>(port).box);
}

void SimTelephonyServer::handleReply(const Message& message) {
  const Dictionary* content = message.dictionary();
  if (content == nullptr) return;
  if (const auto news = (*content)[kNews].text()) {
    const Dictionary* information = (*content)[kInformation].dictionary();
    notifications_.post(*news, information != nullptr ? *information : Dictionary());
    return;
  }
  const auto client =
      exchange_->clients.find(static_cast<PortNumber>((*content)[kConnection].integer()));
  if (client == exchange_->clients.end()) return;
  const auto callback = client->second.callback;  // may close its connection
  if (callback) callback((*content)[kName].text().value_or(""));
}

SimTelephonyServer::Client* SimTelephonyServer::clientOf(Connection* connection) {
  const auto client = exchange_->clients.find(portOfConnection(*connection));
  return client == exchange_->clients.end() ? nullptr : &client->second;
}

std::optional<ServerResult> SimTelephonyServer::refusal(Connection* connection,
                                                        SimFaultPoint& fault) {
  if (connection == nullptr) return kNoServerConnection;
  if (clientOf(connection) == nullptr) return kConnectionIsGone;
  if (const auto error = fault.struckResult<std::int32_t>()) return ServerResult{kDomain, *error};
  return std::nullopt;
}

ServerResult SimTelephonyServer::setStateDurationReporting(Connection* connection, bool enabled) {
  if (const auto refused = refusal(connection, reportingFault_)) return *refused;
  clientOf(connection)->reporting = enabled;
  return {};
}

ServerResult SimTelephonyServer::requestStateDurationReport(Connection* connection) {
  if (const auto refused = refusal(connection, reportFault_)) return *refused;
  if (!clientOf(connection)->reporting) return kReportingIsOff;
  if (stateDurations_) {
    exchange_->send(
        portOfConnection(*connection),
        Dictionary{{kNews, telephony::kStateDurationReport}, {kInformation, *stateDurations_}});
  }
  return {};
}

ServerResult SimTelephonyServer::dumpBasebandState(Connection* connection, const Value& argument) {
  if (const auto refused = refusal(connection, dumpFault_)) return *refused;
  lastDump_ = argument;
  return {};
}

ServerResult SimTelephonyServer::copyWakeCommand(Connection* connection,
                                                 std::optional<std::string>& command) {
  if (const auto refused = refusal(connection, wakeCommandFault_)) return *refused;
  command = wakeCommand_;
  return {};
}

ServerResult SimTelephonyServer::ratSelection(Connection* connection,
                                              std::optional<std::string>& selection) {
  if (const auto refused = refusal(connection, ratFault_)) return *refused;
  selection = rat_;
  return {};
}

ServerResult SimTelephonyServer::copyFirmwareVersion(Connection* connection,
                                                     std::optional<std::string>& version) {
  if (const auto refused = refusal(connection, firmwareFault_)) return *refused;
  version = firmware_;
  return {};
}

ServerResult SimTelephonyServer::copyTraceProperty(Connection* connection, const std::string& trace,
                                                   const std::string& property,
                                                   std::optional<std::string>& value, bool& found) {
  if (const auto refused = refusal(connection, traceFault_)) return *refused;
  const auto known = traces_.find({trace, property});
  found = known != traces_.end();
  if (found) value = known->second;
  return {};
}

void SimTelephonyServer::restart() {
  exchange_->clients.clear();
  for (const auto& [number, box] : exchange_->boxes) {
    box->messages.clear();
    box->turn.reset();
  }
  notifications_.post(telephony::kDaemonRestart);
}

void SimTelephonyServer::sendOnConnections(const std::string& name) {
  for (const auto& [number, client] : exchange_->clients) {
    exchange_->send(number, Dictionary{{kConnection, std::int64_t{number}}, {kName, name}});
  }
}

void SimTelephonyServer::setTraceProperty(const std::string& trace, const std::string& property,
                                          const std::optional<std::string>& value) {
  if (value) {
    traces_[{trace, property}] = *value;
  } else {
    traces_.erase({trace, property});
  }
}

}  // namespace zorva
