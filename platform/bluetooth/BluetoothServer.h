// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/base/Registration.h"

namespace zorva {

/// The Bluetooth server. Operations return 0 or the server's error status. Handles are assigned by
/// the server; 0 means none, for which every operation returns kNoHandle.
class BluetoothServer {
 public:
  virtual ~BluetoothServer() = default;

  using Status = std::int32_t;
  using Session = std::uint32_t;
  using Device = std::uint32_t;

  static constexpr Status kNoHandle = 103;
  static constexpr Status kNoDevice = 104;    ///< the server has no controller
  static constexpr Status kNotCounted = 105;  ///< the requested figure is not counted
  static constexpr std::int32_t kSessionAttached = 0;
  static constexpr std::int32_t kSessionTerminated = 2;
  /// The state of a module or mode that is on or yes; every other state is off or no.
  static constexpr std::uint32_t kStateOn = 0xFFFFFFFF;
  enum class Module : std::int32_t { Controller = 1, Runvo = 2, FM = 3 };

  /// Events of a session: kSessionAttached with its handle and a result, kSessionTerminated, or
  /// another number.
  using SessionHandler = std::function<void(Session session, std::int32_t event, Status result)>;
  using Changed = std::function<void()>;

  /// Requests a session; the reply is an event on the run loop. The handler is called until the
  /// registration is destroyed.
  virtual Status attachSession(const std::string& name, SessionHandler handler,
                               Registration& callbacks) = 0;
  /// Requests the end of the session and clears the handle.
  virtual Status detachSession(Session& session) = 0;

  virtual Status defaultLocalDevice(Session session, Device& device) = 0;
  /// Calls back when the device's modes or connections change.
  virtual Status addLocalDeviceCallbacks(Device device, Changed changed,
                                         Registration& callbacks) = 0;
  /// Calls back when the server reports the device's power use.
  virtual Status registerForPowerUpdates(Device device, Changed changed,
                                         Registration& callbacks) = 0;

  virtual Status modulePower(Device device, Module module, std::uint32_t& state) = 0;
  virtual Status discoverable(Device device, std::uint32_t& state) = 0;
  virtual Status connectable(Device device, std::uint32_t& state) = 0;
  virtual Status connectionStatus(Device device, std::uint32_t& state) = 0;
  /// The power used since the last reading, in the server's own unit.
  virtual Status readPowerConsumption(Device device, std::uint32_t& value) = 0;
};

}  // namespace zorva
