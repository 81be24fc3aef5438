// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/base/Value.h"

namespace zorva {

/// The device-information service, which answers questions about the device by key.
class DeviceInformation {
 public:
  virtual ~DeviceInformation() = default;

  /// The answer to the key, or nothing when the service has none.
  ///
  /// "UserAssignedDeviceName" (text): the name its owner gave the device.
  /// "BuildVersion" (text): the build of the system's software.
  /// "HWModelStr" (text): the model of the hardware.
  /// "InverseDeviceID" (text): a key by which crash reports of one device are known as such. It
  /// does not identify the device.
  /// "gas-gauge-battery" (boolean): the battery measures its own current and capacity.
  virtual Value answer(const std::string& key) = 0;
};

}  // namespace zorva
