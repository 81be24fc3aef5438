#pragma once

#include "platform/BluetoothServer.h"

namespace zorva {

class LinuxBluetoothServer : public BluetoothServer {
 public:
  Status attachSession(const std::string&, SessionHandler, Registration&) override {
    return kNoHandle;
  }
  Status detachSession(Session&) override { return kNoHandle; }
  Status defaultLocalDevice(Session, Device&) override { return kNoHandle; }
  Status addLocalDeviceCallbacks(Device, Changed, Registration&) override { return kNoHandle; }
  Status registerForPowerUpdates(Device, Changed, Registration&) override { return kNoHandle; }
  Status modulePower(Device, Module, std::uint32_t&) override { return kNoHandle; }
  Status discoverable(Device, std::uint32_t&) override { return kNoHandle; }
  Status connectable(Device, std::uint32_t&) override { return kNoHandle; }
  Status connectionStatus(Device, std::uint32_t&) override { return kNoHandle; }
  Status readPowerConsumption(Device, std::uint32_t&) override { return kNoHandle; }
};

}  // namespace zorva
