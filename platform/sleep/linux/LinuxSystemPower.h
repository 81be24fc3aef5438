// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <vector>

#include "platform/base/Descriptor.h"
#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/sleep/SystemPower.h"

namespace zorva {

/// Sleep and wake as the login manager announces them: PrepareForSleep(true) is WillSleep,
/// PrepareForSleep(false) is HasPoweredOn. The other messages have no source on Linux
/// (docs/linux-sleep.md).
///
/// While anybody is registered a delay lock is held, which gives the listeners the login manager's
/// delay limit for the way down. It is dropped when all of them have allowed the change, and taken
/// again when the system is back, and when the login manager or the bus is. Without it (refused, or
/// given up at the limit) the messages come all the same. Registering works without a bus, and the
/// messages come when there is one.
///
/// An end of sleep that was not announced is not reported. A repeated announcement is not reported
/// before the first one was allowed; later it is a new sleep, of whose predecessor the end was
/// missed. A login manager that comes back and prepares for no sleep ends the one that was
/// announced.
class LinuxSystemPower : public SystemPower {
 public:
  /// What else has to happen around a sleep. Each may be empty.
  struct Hooks {
    /// After all listeners have allowed the change, while the system still waits: must be quick.
    std::function<void()> beforeSleep;
    /// On wake, before any listener is notified. Has to call `proceed` within about a second, at
    /// once or from the loop; the listeners are notified by it. More calls do nothing.
    std::function<void(std::function<void()> proceed)> afterWake;
    /// After the listeners were notified of the wake.
    std::function<void()> wakeTold;
  };

  /// The bus must outlive this.
  explicit LinuxSystemPower(LinuxBus& bus, Hooks hooks = {});
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
  void prepareForSleep(bool sleep);
  void managerChanged();
  void announceSleep();
  void allowWhenNobodyWaits();
  void wake();
  void deliverWake();
  void deliver(PowerMessage message, std::intptr_t argument);
  void remove(std::uint32_t number);

  enum class State {
    Awake,
    Announced,  ///< a listener has not allowed it yet
    Allowed,    ///< on the way down, or asleep
    Waking,     ///< the listeners are not notified yet
  };

  LinuxBus& bus_;
  Hooks hooks_;
  // Shared with the ports; ends with this.
  std::shared_ptr<std::map<std::uint32_t, std::shared_ptr<Listener>>> listeners_;
  std::uint32_t lastNumber_ = 0;
  State state_ = State::Awake;
  std::intptr_t announcement_ = 0;
  Descriptor inhibitor_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
