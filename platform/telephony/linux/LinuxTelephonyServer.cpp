// SPDX-License-Identifier: Apache-2.0
#include "platform/telephony/linux/LinuxTelephonyServer.h"

#include <algorithm>
#include <cerrno>
#include <cstdint>
#include <deque>
#include <limits>
#include <utility>

#include "platform/kit/files/SysfsAttributes.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {
namespace {

constexpr const char* kReport = "state-duration-report";
constexpr ServerResult kDone{};

ServerResult failed(std::int32_t error) {
  return {LinuxTelephonyServer::kDomain, error};
}

}  // namespace

std::optional<Dictionary> readBasebandStates(const std::string& device) {
  // The entry has 32 bits for each figure: held there, rather than wrapped to another one.
  constexpr std::int64_t kMaximum = std::numeric_limits<std::int32_t>::max();
  const std::string power = device + "/power/";
  const auto status = readAttribute(power + "runtime_status");
  if (!status || status->empty() || status == "unsupported") return std::nullopt;
  Dictionary states;
  for (const auto& [file, name] : {std::pair("runtime_active_time", "Active"),
                                   std::pair("runtime_suspended_time", "Suspended")}) {
    const auto milliseconds = readNumber(power + file);
    if (!milliseconds) return std::nullopt;
    states.set(std::string(telephony::kBasebandStatePrefix) + name,
               std::clamp<std::int64_t>(*milliseconds, 0, kMaximum));
  }
  return states;
}

/// What was sent to a port and not received yet. It lasts as long as its connection, and what
/// receives from it.
class LinuxTelephonyServer::Mailbox {
 public:
  void send(Message message) {
    messages_.push_back(std::move(message));
    if (arrived_) arrived_();
  }
  /// Called when there is a message, and at once if there is one already.
  void setArrived(std::function<void()> arrived) {
    arrived_ = std::move(arrived);
    if (arrived_ && !messages_.empty()) arrived_();
  }
  /// The connection has gone: no further port can be made.
  void close() { closed_ = true; }
  bool closed() const { return closed_; }
  void setReceiver(MessageCallback receiver) { receiver_ = std::move(receiver); }

  void deliver() {
    // A receiver may drop the source or the port: what is left then stays.
    while (!messages_.empty() && arrived_ && receiver_) {
      const Message message = std::move(messages_.front());
      messages_.pop_front();
      const auto receiver = receiver_;
      receiver(message);
    }
  }

 private:
  std::deque<Message> messages_;
  MessageCallback receiver_;
  std::function<void()> arrived_;
  bool closed_ = false;
};

class LinuxTelephonyServer::LinuxConnection : public Connection {
 public:
  explicit LinuxConnection(PortNumber number) : port(number) {}
  ~LinuxConnection() override { mailbox->close(); }
  const PortNumber port;
  const std::shared_ptr<Mailbox> mailbox = std::make_shared<Mailbox>();
  bool reporting = false;
};

class LinuxTelephonyServer::LinuxPort : public Port {
 public:
  LinuxPort(std::shared_ptr<Mailbox> box, MessageCallback callback) : mailbox(std::move(box)) {
    mailbox->setReceiver(std::move(callback));
  }
  ~LinuxPort() override { mailbox->setReceiver({}); }
  const std::shared_ptr<Mailbox> mailbox;
};

class LinuxTelephonyServer::LinuxSource : public Source {
 public:
  LinuxSource(sd_event* event, const std::shared_ptr<Mailbox>& mailbox)
      : mailbox_(mailbox), delivery_(event, [mailbox] { mailbox->deliver(); }) {}
  ~LinuxSource() override { mailbox_->setArrived({}); }
  void addToRunLoop() override {
    mailbox_->setArrived([this] { delivery_.request(); });
  }

 private:
  std::shared_ptr<Mailbox> mailbox_;
  CoalescedCall delivery_;
};

LinuxTelephonyServer::LinuxTelephonyServer(sd_event* event, ModemManagerClient& client,
                                           LinuxTelephonyNotifications& notifications,
                                           std::string root)
    : event_(event), client_(client), notifications_(notifications), root_(std::move(root)) {}

LinuxTelephonyServer::~LinuxTelephonyServer() = default;

std::unique_ptr<TelephonyServer::Connection> LinuxTelephonyServer::createConnection(
    NotificationCallback) {
  if (!client_.running()) return nullptr;
  std::erase_if(mailboxes_, [](const auto& entry) { return entry.second.expired(); });
  auto connection = std::make_unique<LinuxConnection>(++lastPort_);
  mailboxes_[connection->port] = connection->mailbox;
  return connection;
}

TelephonyServer::PortNumber LinuxTelephonyServer::portOfConnection(const Connection& connection) {
  return static_cast<const LinuxConnection&>(connection).port;
}

std::unique_ptr<TelephonyServer::Port> LinuxTelephonyServer::makePort(PortNumber number,
                                                                      MessageCallback callback) {
  const auto found = mailboxes_.find(number);
  auto mailbox = found == mailboxes_.end() ? nullptr : found->second.lock();
  if (!mailbox || mailbox->closed()) return nullptr;
  return std::make_unique<LinuxPort>(std::move(mailbox), std::move(callback));
}

std::unique_ptr<TelephonyServer::Source> LinuxTelephonyServer::makeSource(Port& port) {
  return std::make_unique<LinuxSource>(event_, static_cast<LinuxPort&>(port).mailbox);
}

void LinuxTelephonyServer::handleReply(const Message& message) {
  const Dictionary* reply = message.dictionary();
  if (!reply) return;
  if (const Dictionary* report = (*reply)[kReport].dictionary()) {
    notifications_.post(telephony::kStateDurationReport, *report);
  }
}

ServerResult LinuxTelephonyServer::setStateDurationReporting(Connection* connection, bool enabled) {
  if (!connection) return kNoServerConnection;
  static_cast<LinuxConnection*>(connection)->reporting = enabled;
  return kDone;
}

ServerResult LinuxTelephonyServer::requestStateDurationReport(Connection* connection) {
  if (!connection) return kNoServerConnection;
  const auto* asking = static_cast<LinuxConnection*>(connection);
  if (!asking->reporting) return failed(EPERM);
  if (client_.modem().path.empty()) return failed(ENODEV);
  if (client_.modem().device.empty()) return failed(ENODATA);
  auto states = readBasebandStates(root_ + client_.modem().device);
  if (!states) return failed(ENODATA);
  asking->mailbox->send(Dictionary{{kReport, Value(std::move(*states))}});
  return kDone;
}

ServerResult LinuxTelephonyServer::dumpBasebandState(Connection* connection, const Value&) {
  return connection ? failed(EOPNOTSUPP) : kNoServerConnection;
}

ServerResult LinuxTelephonyServer::copyWakeCommand(Connection* connection,
                                                   std::optional<std::string>& command) {
  if (!connection) return kNoServerConnection;
  if (wakeText_) command = wakeText_();
  return command ? kDone : failed(ENODATA);
}

ServerResult LinuxTelephonyServer::ratSelection(Connection* connection,
                                                std::optional<std::string>& selection) {
  if (!connection) return kNoServerConnection;
  if (client_.modem().path.empty()) return failed(ENODEV);
  selection = client_.modem().technology;
  return kDone;
}

ServerResult LinuxTelephonyServer::copyFirmwareVersion(Connection* connection,
                                                       std::optional<std::string>& version) {
  if (!connection) return kNoServerConnection;
  if (client_.modem().path.empty()) return failed(ENODEV);
  version = client_.modem().firmware;
  return version ? kDone : failed(ENODATA);
}

ServerResult LinuxTelephonyServer::copyTraceProperty(Connection* connection, const std::string&,
                                                     const std::string&,
                                                     std::optional<std::string>&, bool& found) {
  if (!connection) return kNoServerConnection;
  found = false;
  return kDone;
}

}  // namespace zorva
