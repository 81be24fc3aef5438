// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <systemd/sd-bus.h>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/base/Registration.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/kit/loop/LinuxPathWatch.h"

namespace zorva {

struct BusMessageRelease {
  void operator()(sd_bus_message* message) const { sd_bus_message_unref(message); }
};
using BusMessage = std::unique_ptr<sd_bus_message, BusMessageRelease>;

/// The process's one connection to the system bus.
///
/// An absent bus is not a failure: calls return Absent, and the connection is made when the bus
/// appears or reappears. Signal matches and observers persist across connections. Calls have a time
/// limit. After a call that exceeds it, the bus itself is called; if that call times out, too, all
/// calls fail at once until the bus has replied to another one.
class LinuxBus {
 public:
  static constexpr std::chrono::microseconds kTimeLimit = std::chrono::seconds(2);
  /// The delay before reconnecting to a bus that drops its clients or has a full queue; doubled at
  /// each further failure.
  static constexpr std::chrono::microseconds kReconnectDelay = std::chrono::seconds(5);

  /// The address in DBUS_SYSTEM_BUS_ADDRESS, otherwise the well-known one.
  static std::string systemAddress();

  /// Connects immediately if the bus replies within the time limit. The event loop must outlive
  /// this object, which must outlive the owners of its registrations.
  explicit LinuxBus(sd_event* event, std::string address = systemAddress(),
                    std::chrono::microseconds timeLimit = kTimeLimit,
                    std::chrono::microseconds reconnectDelay = kReconnectDelay);
  LinuxBus(const LinuxBus&) = delete;
  LinuxBus& operator=(const LinuxBus&) = delete;
  ~LinuxBus();

  /// Whether there is a connection.
  bool connected() const;

  enum class Outcome {
    Answered,
    Absent,  ///< there is no bus, or no process owns the service's name
    Failed,  ///< the service replied with an error or not in time
  };
  struct Reply {
    Outcome outcome;
    BusMessage message;  ///< only with Answered
  };
  /// Appends the arguments to a call; negative on failure.
  using Arguments = std::function<int(sd_bus_message* call)>;

  /// Calls the method and waits for the reply. Never starts a service that is not running.
  Reply call(const char* service, const char* path, const char* interface, const char* member,
             const Arguments& arguments = {});
  /// Calls the method without waiting; its result is not reported. Never starts a service that is
  /// not running.
  void send(const char* service, const char* path, const char* interface, const char* member,
            const Arguments& arguments = {});

  /// Calls back from the event loop when the connection is made or lost, or replies again after it
  /// had stopped; not for an existing connection. On a new connection the matches are already
  /// installed.
  Registration observeConnection(std::function<void()> changed);

  using SignalHandler = std::function<void(sd_bus_message* signal)>;
  /// Calls back for every signal that the match rule ("type='signal',sender='...'") selects.
  Registration observeSignals(std::string rule, SignalHandler handler);

  /// Calls back when a service of the name appears on the bus, disappears or changes its owner.
  /// Changes that come with the bus itself are reported by observeConnection().
  Registration observeService(const std::string& service, std::function<void()> changed);

  /// From now on, matches are not removed one by one but end with the connection: to be called
  /// before the bus and all its users are destroyed.
  void leaveMatches();

 private:
  struct Match;
  // Shared with the registrations, which may be destroyed after the bus.
  struct Subscriptions;
  struct BusRelease {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  };
  using BusPointer = std::unique_ptr<sd_bus, BusRelease>;

  int start();
  void waitUntilReady();
  void connect();
  void connectLater(std::chrono::microseconds delay);
  void backOff();
  void socketChanged();
  void ended();
  void install(Match& match);
  void checkForHang();
  BusMessage makeCall(const char* service, const char* path, const char* interface,
                      const char* member, const Arguments& arguments);
  static int onReply(sd_bus_message*, void* self, sd_bus_error*);
  static int onConnected(sd_bus_message*, void* self, sd_bus_error*);
  static int onDisconnected(sd_bus_message*, void* self, sd_bus_error*);
  static int onLater(sd_event_source*, std::uint64_t, void* self);

  sd_event* event_;
  std::string address_;
  std::chrono::microseconds timeLimit_;
  std::chrono::microseconds initialReconnectDelay_;
  std::shared_ptr<Subscriptions> subscriptions_;
  Observers<> observers_;  ///< of the connection
  BusPointer bus_;
  bool hangs_ = false;  ///< the last call and the check after it timed out
  CoalescedCall ended_;
  std::optional<LinuxPathWatch> socketWatch_;  ///< while there is no bus to connect to
  EventSource later_;
  int refusals_ = 0;  ///< of the socket since it last changed
  std::optional<std::chrono::steady_clock::time_point> lastEnd_;
  std::optional<std::chrono::steady_clock::time_point> readySince_;
  std::chrono::microseconds reconnectDelay_;  ///< delay before reconnecting to a bus that drops us
};

}  // namespace zorva
