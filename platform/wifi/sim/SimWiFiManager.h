// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <optional>

#include "platform/base/Observers.h"
#include "platform/scenario/SimParts.h"
#include "platform/wifi/WiFiManager.h"

namespace zorva {

/// The Wi-Fi manager with one device: initially it is attached, on, and associated with the network
/// "Sim Network"; it supports waking the handset, but that is off.
class SimWiFiManager : public WiFiManager {
 public:
  explicit SimWiFiManager(SimParts& parts);

  std::shared_ptr<WiFiManagerClient> createClient() override;

  /// Each reports a change, if there is one. While no device is attached, the radio's state and the
  /// network are those with which it will return.
  void setAttached(bool attached);
  void setPowered(bool powered);
  void setNetwork(std::optional<WiFiNetwork> network);
  void setWowSupported(bool supported) { state_->wowSupported = supported; }
  void setWow(bool enabled) { state_->wow = enabled; }

 private:
  class Device;
  class Client;
  /// The state that the clients' objects share.
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
