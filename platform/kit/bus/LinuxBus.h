// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <sys/types.h>
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

/// The process's one connection to the system bus, or to the bus of one user.
///
/// An absent bus is no failure: calls answer that what they want is absent, and the connection is
/// made when the bus appears, or appears again. Signal matches and observers last over all of that.
/// No call takes longer than the time limit. One that does is followed by a question to the bus
/// itself; if that is not answered in time either, no call waits any more until it is.
class LinuxBus {
 public:
  static constexpr std::chrono::microseconds kTimeLimit = std::chrono::seconds(2);
  /// A bus that drops its callers, or has no room for one more, is not called more often than this,
  /// and each time less often until it is hardly ever.
  static constexpr std::chrono::microseconds kBetweenEnds = std::chrono::seconds(5);

  /// The address in the environment's DBUS_SYSTEM_BUS_ADDRESS, else the well-known one.
  static std::string systemAddress();

  /// Connects at once if the bus answers within the time limit. The event loop must outlive the
  /// bus, and the bus its registrations' owners.
  explicit LinuxBus(sd_event* event, std::string address = systemAddress(),
                    std::chrono::microseconds timeLimit = kTimeLimit,
                    std::chrono::microseconds betweenEnds = kBetweenEnds);

  struct User {
    uid_t id;
  };
  /// The bus of a user, at the path of its socket. It is connected to as that user, which root may:
  /// such a bus refuses others. A socket of another owner, or a link to one, is no bus. What the
  /// user controls may never reply, so the constructor does not wait, and neither should callers:
  /// see ask() and settle(). File descriptors are not accepted from it.
  LinuxBus(sd_event* event, User user, const std::string& socket,
           std::chrono::microseconds timeLimit = kTimeLimit,
           std::chrono::microseconds betweenEnds = kBetweenEnds);
  LinuxBus(const LinuxBus&) = delete;
  LinuxBus& operator=(const LinuxBus&) = delete;
  ~LinuxBus();

  /// Whether calls can be made.
  bool connected() const;
  /// Whether a connection is being made.
  bool connecting() const;

  enum class Outcome {
    Answered,
    Absent,  ///< there is no bus, or no process on it owns the service's name
    Failed,  ///< the service answered with an error or not in time
  };
  struct Reply {
    Outcome outcome;
    BusMessage message;  ///< of Answered only
  };
  /// Appends the arguments to a call; negative when that fails.
  using Arguments = std::function<int(sd_bus_message* call)>;

  /// Calls the method and waits for its answer. Never starts a service that does not run.
  Reply call(const char* service, const char* path, const char* interface, const char* member,
             const Arguments& arguments = {});
  /// Calls the method and does not wait; whether it did anything is not reported. Never starts a
  /// service that does not run.
  void send(const char* service, const char* path, const char* interface, const char* member,
            const Arguments& arguments = {});

  using Answered = std::function<void(Reply)>;
  /// Calls the method and calls back with its answer, once and never from in here, unless the
  /// registration is dropped before or the connection ends; without a connection the registration
  /// is empty. Never starts a service that does not run.
  Registration ask(const char* service, const char* path, const char* interface, const char* member,
                   Answered answered, const Arguments& arguments = {});

  /// Before the loop runs, so that a first snapshot sees the buses: delivers what comes from them
  /// until the condition holds, or for the time limit.
  static void settle(std::span<LinuxBus* const> buses, const std::function<bool()>& condition,
                     std::chrono::microseconds timeLimit);

  /// Calls back from the event loop whenever the connection was made or lost, or answers again
  /// after it did not; not for a connection that stands already. On a new one the matches are in
  /// force by then.
  Registration observeConnection(std::function<void()> changed);

  using SignalHandler = std::function<void(sd_bus_message* signal)>;
  /// Calls back for every signal that the match rule ("type='signal',sender='...'") selects.
  Registration observeSignals(std::string rule, SignalHandler handler);

  /// Calls back when a service of the name appears on the bus, vanishes from it or changes hands.
  /// What happens together with the bus itself is reported by observeConnection().
  Registration observeService(const std::string& service, std::function<void()> changed);

  /// From here on matches that are dropped end with the connection, and not by a call for each: for
  /// those who are about to destroy the bus and all that use it.
  void leaveMatches();

 private:
  struct Match;
  struct Question;
  // Shared with the registrations, which may be dropped after the bus.
  struct Subscriptions;
  struct BusRelease {
    void operator()(sd_bus* bus) const { sd_bus_close_unref(bus); }
  };
  using BusPointer = std::unique_ptr<sd_bus, BusRelease>;

  int start();
  int startAsUser(sd_bus* bus);
  void connect();
  void connectLater(std::chrono::microseconds delay);
  void backOff();
  void socketChanged();
  bool watchSocket();
  void watchMounts();
  void ended();
  void install(Match& match);
  void checkForHang();
  BusMessage makeCall(const char* service, const char* path, const char* interface,
                      const char* member, const Arguments& arguments);
  static int onAnswer(sd_bus_message*, void* self, sd_bus_error*);
  static int onConnected(sd_bus_message*, void* self, sd_bus_error*);
  static int onDisconnected(sd_bus_message*, void* self, sd_bus_error*);
  static int onLater(sd_event_source*, std::uint64_t, void* self);
  static int onMount(sd_event_source*, int, std::uint32_t, void* self);

  sd_event* event_;
  std::string address_;
  std::optional<User> user_;
  std::chrono::microseconds timeLimit_;
  std::chrono::microseconds firstBetweenEnds_;
  std::shared_ptr<Subscriptions> subscriptions_;
  Observers<> observers_;  ///< of the connection
  BusPointer bus_;
  bool hangs_ = false;  ///< has left the last call and the last question unanswered
  CoalescedCall ended_;
  std::optional<LinuxPathWatch> socketWatch_;  ///< while there is no bus to connect to
  EventSource mounts_;                         ///< as long as that, of a user's bus
  EventSource later_;
  int refusals_ = 0;  ///< of the socket since it last changed
  std::optional<std::chrono::steady_clock::time_point> lastEnd_;
  std::optional<std::chrono::steady_clock::time_point> readySince_;
  std::chrono::microseconds betweenEnds_;  ///< how long to leave a bus alone that drops us
};

}  // namespace zorva
