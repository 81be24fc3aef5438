// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>

#include "platform/accessories/AccessoryManager.h"
#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The accessory manager; nothing is connected at first. It must outlive its registrations.
class SimAccessoryManager : public AccessoryManager {
 public:
  explicit SimAccessoryManager(SimParts& parts);

  Registration observeConnected(std::function<void(const Accessory&)> event) override;
  Registration observeDisconnected(std::function<void(const Accessory&)> event) override;
  Registration registerForLocalNotifications() override;
  std::vector<Accessory> connectedAccessories() override;

  /// Connects the accessory, regardless of its `connected` member, and reports it.
  void connect(Accessory accessory);
  /// Disconnects the accessory of the connection and reports it; does nothing if there is none.
  void disconnect(std::uint32_t connectionIdentifier);
  bool registered() const { return registrations_ > 0; }

 private:
  ScenarioAction readConnect(const ScenarioNode& node);
  ScenarioAction readDisconnect(const ScenarioNode& node);

  SimFaultPoint observeFault_;
  SimFaultPoint registerFault_;
  SimFaultPoint connectedAccessoriesFault_;
  int registrations_ = 0;
  std::vector<Accessory> accessories_;
  Observers<const Accessory&> connected_;
  Observers<const Accessory&> disconnected_;
  /// The accessories that will be connected when the step being read is executed.
  std::set<std::uint32_t> planned_;
};

}  // namespace zorva
