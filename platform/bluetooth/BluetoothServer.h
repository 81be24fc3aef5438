// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "platform/base/Registration.h"

namespace zorva {

/// The Bluetooth server. Operations answer 0 or the server's error status. Handles are the
/// server's: 0 is none, which every operation takes and answers with kNoHandle.
class BluetoothServer {
 public:
  virtual ~BluetoothServer() = default;

  using Status = std::int32_t;
  using Session = std::uint32_t;
  using Device = std::uint32_t;

  static constexpr Status kNoHandle = 103;
  static constexpr Status kNoDevice = 104;    ///< the server has no controller
  static constexpr Status kNotCounted = 105;  ///< what is asked for is not counted
  static constexpr std::int32_t kSessionAttached = 0;
  static constexpr std::int32_t kSessionTerminated = 2;
  /// A module or a mode that is on or yes; every other state is off or no.
  static constexpr std::uint32_t kStateOn = 0xFFFFFFFF;
  enum class Module : std::int32_t { Controller = 1, Runvo = 2, FM = 3 };

  /// Events of a session: kSessionAttached with its handle and a result, kSessionTerminated, or
  /// another number.
  using SessionHandler = std::function<void(Session session, std::int32_t event, Status result)>;
  using Changed = std::function<void()>;

  /// Asks for a session; the answer is an event on the run loop. The handler is called until the
  /// registration is dropped.
  virtual Status attachSession(const std::string& name, SessionHandler handler,
                               Registration& callbacks) = 0;
  /// Asks to end the session and clears the handle.
  virtual Status detachSession(Session& session) = 0;

  virtual Status defaultLocalDevice(Session session, Device& device) = 0;
  /// Calls back when the device's modes or its connections change.
  virtual Status addLocalDeviceCallbacks(Device device, Changed changed,
                                         Registration& callbacks) = 0;
  /// Calls back when the device has used power worth reporting.
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
