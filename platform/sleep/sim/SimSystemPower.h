// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/loop/RunLoop.h"
#include "platform/scenario/SimParts.h"
#include "platform/sleep/SystemPower.h"
#include "platform/sleep/sim/SimKernelValues.h"
#include "platform/system/SystemLog.h"

namespace zorva {

/// Sends the messages of sleep and wake to the clients that are registered and have their port's
/// source on the run loop. Nothing else about the handset stands still while it sleeps.
class SimSystemPower : public SystemPower {
 public:
  /// How long a sleep may be held up. The system log reports when that is over.
  static constexpr double kLimitSeconds = 30.0;

  SimSystemPower(SimParts& parts, RunLoop& runLoop, SystemLog& systemLog, SimKernelValues& kernel);

  Registered registerForSystemPower(Handler handler) override;
  void allowPowerChange(std::uint32_t connection, std::intptr_t argument) override;
  void deregisterForSystemPower(std::uint32_t& notifier) override;
  void closeConnection(std::uint32_t connection) override;

  /// Sends one message, with an argument that no other has.
  void send(std::uint32_t type);
  /// Asks whether the handset may sleep, then says that it will.
  void sleep();
  /// Says that the handset has powered on, for that reason; nothing takes the kernel's reason away.
  void wake(const std::optional<std::string>& reason);

  /// From the message that it will sleep to the one that it has powered on, or will not sleep.
  bool isAsleep() const { return asleep_; }

  using Witness = std::function<void(const std::string& operation)>;
  /// From now on reports each operation as it is asked for, with its number: "allow 1", "remove
  /// source", "deregister 1001", "destroy port", "close 1". A change counts as allowed only by the
  /// connection and with the argument that it was sent with.
  void setWitness(Witness witness) { shared_->witness = std::move(witness); }

 private:
  struct Shared {
    Witness witness;
    void report(const std::string& operation) const {
      if (witness) witness(operation);
    }
  };
  struct Listener {
    std::uint32_t connection;
    std::uint32_t notifier;
    Handler handler;
    bool hasSource = false;
    std::set<std::intptr_t> awaited{};  ///< arguments of the messages that it has to allow
  };
  class SimPort;

  ScenarioAction readMessage(const ScenarioNode& node);
  void startLimit();

  RunLoop& runLoop_;
  SystemLog& systemLog_;
  SimKernelValues& kernel_;
  SimFaultPoint registerFault_;
  SimFaultPoint sourceFault_;
  // Shared with the ports, which may outlive this object.
  std::shared_ptr<Shared> shared_ = std::make_shared<Shared>();
  std::vector<std::shared_ptr<Listener>> listeners_;
  std::uint32_t lastConnection_ = 0;
  std::intptr_t lastArgument_ = 0;
  bool asleep_ = false;
  Registration limit_;
};

}  // namespace zorva
