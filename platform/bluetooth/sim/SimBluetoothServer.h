// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <map>
#include <memory>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/bluetooth/BluetoothServer.h"
#include "platform/loop/RunLoop.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The Bluetooth server with one controller: powered and connectable at first, without connections,
/// its other modules off. A session is attached or detached in the next iteration of the run loop;
/// one that is requested while the server is down is attached when it is back.
class SimBluetoothServer : public BluetoothServer {
 public:
  SimBluetoothServer(SimParts& parts, RunLoop& runLoop);

  Status attachSession(const std::string& name, SessionHandler handler,
                       Registration& callbacks) override;
  Status detachSession(Session& session) override;
  Status defaultLocalDevice(Session session, Device& device) override;
  Status addLocalDeviceCallbacks(Device device, Changed changed, Registration& callbacks) override;
  Status registerForPowerUpdates(Device device, Changed changed, Registration& callbacks) override;
  Status modulePower(Device device, Module module, std::uint32_t& state) override;
  Status discoverable(Device device, std::uint32_t& state) override;
  Status connectable(Device device, std::uint32_t& state) override;
  Status connectionStatus(Device device, std::uint32_t& state) override;
  Status readPowerConsumption(Device device, std::uint32_t& value) override;

  /// Stopping the server ends every session.
  void setRunning(bool running);
  /// Whether it has a controller.
  void setPresent(bool present) { present_ = present; }
  /// Sends an event to every session.
  void sendEvent(std::int32_t event);
  /// The functions below notify the observers of the controller.
  void setModulePower(Module module, std::uint32_t state);
  void setDiscoverable(std::uint32_t state);
  void setConnectable(std::uint32_t state);
  void setConnectionStatus(std::uint32_t state);
  /// Adds to the power used since the last reading, and notifies its observers.
  void usePower(std::uint32_t amount);

 private:
  struct Client;

  void replyLater(const std::shared_ptr<Client>& client);
  void answer(const std::shared_ptr<Client>& client);
  std::shared_ptr<Client> clientOf(Session session) const;
  Status refusal(Device device, SimFaultPoint& fault) const;
  Status ask(Device device, SimFaultPoint& fault, std::uint32_t held,
             std::uint32_t& reported) const;
  void set(std::uint32_t& held, std::uint32_t state);

  RunLoop& runLoop_;
  SimFaultPoint attachFault_;
  SimFaultPoint attachedFault_;
  SimFaultPoint detachFault_;
  SimFaultPoint defaultLocalDeviceFault_;
  SimFaultPoint addLocalDeviceCallbacksFault_;
  SimFaultPoint registerForPowerUpdatesFault_;
  SimFaultPoint modulePowerFault_;
  SimFaultPoint discoverableFault_;
  SimFaultPoint connectableFault_;
  SimFaultPoint connectionStatusFault_;
  SimFaultPoint readPowerConsumptionFault_;
  bool running_ = true;
  bool present_ = true;
  std::map<Module, std::uint32_t> modules_{{Module::Controller, kStateOn}};
  std::uint32_t discoverable_ = 0;
  std::uint32_t connectable_ = kStateOn;
  std::uint32_t connectionStatus_ = 0;
  std::uint32_t used_ = 0;
  Session lastSession_ = 0;
  std::vector<std::shared_ptr<Client>> clients_;
  Observers<> deviceObservers_;
  Observers<> powerObservers_;
};

}  // namespace zorva
