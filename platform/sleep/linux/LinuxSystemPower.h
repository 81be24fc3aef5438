// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/loop/ClockJumps.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/sleep/SystemPower.h"
#include "platform/sleep/linux/SleepRecord.h"

namespace zorva {

/// Sleep and wake as the login manager announces them and as the kernel records them.
///
/// PrepareForSleep(true) is WillSleep. The end is reported once, by what comes first: the kernel's
/// clocks, which show that the system has slept, announced or not, or PrepareForSleep(false). It is
/// HasPoweredOn, or WillNotSleep if the kernel's records show that the system has not slept.
/// CanSleep has no source on Linux (docs/linux-sleep.md).
///
/// While anybody is registered a delay lock is held, which gives the listeners the login manager's
/// delay limit for the way down. It is dropped when all of them have allowed the change, and taken
/// again when the system is back, and when the login manager or the bus is. One that is refused is
/// asked for again a few times, each time later, and after the next end of a sleep. Without it
/// (refused, or given up at the limit) the messages come all the same. Registering works without a
/// bus, and the messages come when there is one.
///
/// An end of sleep that was neither announced nor recorded is not reported. A repeated announcement
/// is not reported before the first one was allowed; later it is a new sleep, of whose predecessor
/// the end was missed. A login manager that comes back and prepares for no sleep ends the one that
/// was announced. An announcement that is received only after the sleep, because the daemon could
/// not run before it, is not reported.
class LinuxSystemPower : public SystemPower {
 public:
  /// What else has to happen around a sleep. Each may be empty.
  struct Hooks {
    /// After all listeners have allowed the change, while the system still waits: must be quick.
    std::function<void()> beforeSleep;
    /// The system has slept: called before anything that may block, for what is soon lost.
    /// `prepared`: beforeSleep was called for this sleep.
    std::function<void(bool prepared)> resumed;
    /// Then, before any listener is notified. Has to call `proceed` within about a second, at once
    /// or from the loop; the listeners are notified by it. More calls do nothing.
    std::function<void(std::function<void()> proceed)> afterWake;
    /// After the listeners were notified of the wake, and before they are that the system has not
    /// slept.
    std::function<void()> sleepOver;
  };

  /// Where the kernel's records are, and the limits; each is for tests.
  struct Sources {
    std::string sysfs = "/sys";
    std::function<std::int64_t()> timeSlept = zorva::timeSlept;
    std::chrono::microseconds firstRetry = std::chrono::seconds(1);  ///< of a refused lock
  };

  /// The event loop and the bus must outlive this.
  LinuxSystemPower(sd_event* event, LinuxBus& bus, Hooks hooks, Sources sources);
  LinuxSystemPower(sd_event* event, LinuxBus& bus, Hooks hooks = {});
  LinuxSystemPower(const LinuxSystemPower&) = delete;
  LinuxSystemPower& operator=(const LinuxSystemPower&) = delete;
  ~LinuxSystemPower() override;

  Registered registerForSystemPower(Handler handler) override;
  /// The change is allowed when every listener that was notified has said so for this announcement;
  /// an argument of an earlier one does nothing.
  void allowPowerChange(std::uint32_t connection, std::intptr_t argument) override;
  void deregisterForSystemPower(std::uint32_t& notifier) override;
  void closeConnection(std::uint32_t connection) override;

 private:
  class LinuxPort;
  struct Listener;

  void takeInhibitor();
  void tryInhibitor();
  static int onRetry(sd_event_source*, std::uint64_t, void* self);
  static int onRecount(sd_event_source*, std::uint64_t, void* self);
  SleepRecord record() const;
  bool managerPrepares() const;
  void prepareForSleep(bool sleep);
  void managerChanged();
  void clockJumped();
  void announceSleep();
  void allowWhenNobodyWaits();
  void sleepEnded();
  void wake(const SleepRecord& after);
  void deliverWake();
  void stayAwake(const SleepRecord& after);
  void endAnnouncement(const SleepRecord& after);
  void deliver(PowerMessage message, std::intptr_t argument);
  void remove(std::uint32_t number);

  enum class State {
    Awake,
    Announced,  ///< a listener has not allowed it yet
    Allowed,    ///< on the way down, or asleep
    Waking,     ///< the listeners are not notified yet
  };

  sd_event* event_;
  LinuxBus& bus_;
  Hooks hooks_;
  Sources sources_;
  // Shared with the ports; ends with this.
  std::shared_ptr<std::map<std::uint32_t, std::shared_ptr<Listener>>> listeners_;
  std::uint32_t lastNumber_ = 0;
  State state_ = State::Awake;
  EventSource recount_;
  bool unannounced_ = false;  ///< the last sleep was, so far
  std::intptr_t announcement_ = 0;
  SleepRecord before_;  ///< when the last sleep was announced or ended
  Descriptor inhibitor_;
  int refusals_ = 0;   ///< of the inhibitor since it was last asked for anew
  EventSource retry_;  ///< while a refused one is to be asked for again
  std::unique_ptr<ClockJumpWatch> clockJumps_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
