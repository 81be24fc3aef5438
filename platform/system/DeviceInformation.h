// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// The device-information service, which returns information on the device by key.
class DeviceInformation {
 public:
  virtual ~DeviceInformation() = default;

  /// The value of the key, or nothing if the service has none.
  ///
  /// "UserAssignedDeviceName" (text): the name its owner gave the device.
  /// "BuildVersion" (text): the build of the system's software.
  /// "HWModelStr" (text): the model of the hardware.
  /// "InverseDeviceID" (text): a key by which crash reports of the same device can be recognised.
  /// It does not identify the device. "gas-gauge-battery" (boolean): the battery measures its own
  /// current and capacity.
  virtual Value answer(const std::string& key) = 0;
};

}  // namespace zorva
