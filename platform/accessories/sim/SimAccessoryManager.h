// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <set>

#include "platform/accessories/AccessoryManager.h"
#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The accessory manager, with nothing connected at first. It must outlive its registrations.
class SimAccessoryManager : public AccessoryManager {
 public:
  explicit SimAccessoryManager(SimParts& parts);

  Registration observeConnected(std::function<void(const Accessory&)> event) override;
  Registration observeDisconnected(std::function<void(const Accessory&)> event) override;
  Registration registerForLocalNotifications() override;
  std::vector<Accessory> connectedAccessories() override;

  /// Connects the accessory, whatever its own state says, and reports it.
  void connect(Accessory accessory);
  /// Takes the accessory of the connection away and reports it; does nothing when there is none.
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
  /// What will be connected when the step that is being read happens.
  std::set<std::uint32_t> planned_;
};

}  // namespace zorva
