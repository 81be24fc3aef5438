// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"
#include "platform/wifi/WiFiManager.h"

namespace zorva {

/// The Wi-Fi manager with one device: at first it is there, on, and associated with the network
/// "Sim Network"; it can wake the handset, but is not set to.
class SimWiFiManager : public WiFiManager {
 public:
  explicit SimWiFiManager(SimParts& parts);

  std::shared_ptr<WiFiManagerClient> createClient() override;

  /// Each reports its change, where there is one. While there is no device the radio's state and
  /// the network are those that it will come back with.
  void setAttached(bool attached);
  void setPowered(bool powered);
  void setNetwork(std::optional<WiFiNetwork> network);
  void setWowSupported(bool supported) { state_->wowSupported = supported; }
  void setWow(bool enabled) { state_->wow = enabled; }

 private:
  class Device;
  class Client;
  /// What the clients' objects see, too.
  struct State {
    State(SimFaults& faults) : copyDevicesFault(faults, "wifi.copyDevices") {}
    SimFaultPoint copyDevicesFault;
    bool powered = true;
    std::optional<WiFiNetwork> network = WiFiNetwork{"Sim Network"};
    bool wowSupported = true;
    bool wow = false;
    int scheduled = 0;
    std::shared_ptr<Device> device;  ///< none while it is detached
    Observers<const std::shared_ptr<WiFiDevice>&> attachments;
  };

  SimFaultPoint createClientFault_;
  std::shared_ptr<State> state_;
};

}  // namespace zorva
