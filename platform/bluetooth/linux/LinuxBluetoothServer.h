// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <systemd/sd-event.h>
#include <vector>

#include "platform/base/Observers.h"
#include "platform/bluetooth/BluetoothServer.h"
#include "platform/bluetooth/linux/BluezObjects.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/loop/EventSources.h"

namespace zorva {

/// The Bluetooth server represents BlueZ (docs/linux-bluetooth-audio.md). Its state is updated by
/// BlueZ's signals, so that queries need no call. It has one device, the first controller by path.
///
/// Every request for a session is accepted; the session is attached as soon as BlueZ is on the bus.
/// It ends when that BlueZ leaves the bus or is replaced.
///
/// A callback for a controller that does not exist yet returns an error, but is kept for the time
/// when it does: BlueZ starts before its controllers appear.
class LinuxBluetoothServer : public BluetoothServer {
 public:
  /// Both must outlive this object.
  LinuxBluetoothServer(sd_event* event, LinuxBus& bus);
  LinuxBluetoothServer(const LinuxBluetoothServer&) = delete;
  LinuxBluetoothServer& operator=(const LinuxBluetoothServer&) = delete;

  Status attachSession(const std::string& name, SessionHandler handler,
                       Registration& callbacks) override;
  Status detachSession(Session& session) override;
  Status defaultLocalDevice(Session session, Device& device) override;
  Status addLocalDeviceCallbacks(Device device, Changed changed, Registration& callbacks) override;
  /// Called when the controller's power changes; BlueZ does not report its energy use.
  Status registerForPowerUpdates(Device device, Changed changed, Registration& callbacks) override;
  /// Only the controller is a module here; all others are off.
  Status modulePower(Device device, Module module, std::uint32_t& state) override;
  Status discoverable(Device device, std::uint32_t& state) override;
  Status connectable(Device device, std::uint32_t& state) override;
  Status connectionStatus(Device device, std::uint32_t& state) override;
  /// Always kNotCounted.
  Status readPowerConsumption(Device device, std::uint32_t& value) override;

 private:
  struct Client {
    Session session = 0;  ///< 0 until it is attached
    bool detached = false;
    Observers<Session, std::int32_t, Status> events;
  };
  using Clients = std::vector<std::shared_ptr<Client>>;

  Status refusal(Device device) const;
  Status ask(Device device, bool held, std::uint32_t& reported) const;
  void readAll();
  void update();
  void endSessions(bool all);

  LinuxBus& bus_;
  std::string owner_;         ///< BlueZ's unique name on the bus; empty while it is absent
  bool ownerChanged_ = true;  ///< since the objects were read
  bool restarted_ = false;    ///< since the sessions were attached
  BluezObjects objects_;
  BluezController controller_;
  Session lastSession_ = 0;
  Clients clients_;
  Observers<> deviceObservers_;
  Observers<> powerObservers_;
  CoalescedCall update_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
