// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>

#include "platform/base/Registration.h"

namespace zorva {

/// Messages about the power of the whole system.
enum class PowerMessage : std::uint32_t {
  WillNotSleep = 0xE0000260,
  CanSleep = 0xE0000270,
  WillSleep = 0xE0000280,
  HasPoweredOn = 0xE0000300,
};

/// The power-management service's messages about sleep and wake. After CanSleep and WillSleep the
/// system waits, not for long, until every listener has allowed the change.
class SystemPower {
 public:
  virtual ~SystemPower() = default;

  /// The port at which a registration's messages arrive. Dropping it destroys it.
  class Port {
   public:
    virtual ~Port() = default;
    /// Lets the messages arrive on the run loop until the source is dropped. Empty when there is
    /// none.
    virtual Registration addSourceToRunLoop() = 0;
  };

  /// `type` is a PowerMessage or another number; `argument` is for allowPowerChange().
  using Handler = std::function<void(std::uint32_t type, std::intptr_t argument)>;

  /// Registers for the messages. The handles are for the operations below; connection 0 says that
  /// the service cannot be reached, and everything may be given back all the same.
  struct Registered {
    std::uint32_t connection = 0;
    std::uint32_t notifier = 0;
    std::unique_ptr<Port> port;
  };
  virtual Registered registerForSystemPower(Handler handler) = 0;

  virtual void allowPowerChange(std::uint32_t connection, std::intptr_t argument) = 0;
  /// From here on no message comes.
  virtual void deregisterForSystemPower(std::uint32_t& notifier) = 0;
  virtual void closeConnection(std::uint32_t connection) = 0;
};

}  // namespace zorva
