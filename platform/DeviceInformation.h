#pragma once

#include <string>

#include "platform/Value.h"

namespace zorva {

/// The device-information service, which answers questions about the device by key.
class DeviceInformation {
 public:
  virtual ~DeviceInformation() = default;

  /// The answer to the key, or nothing when the service has none.
  ///
  /// "UserAssignedDeviceName" (text): the name its owner gave the device.
  /// "gas-gauge-battery" (boolean): the battery measures its own current and capacity.
  virtual Value answer(const std::string& key) = 0;
};

}  // namespace zorva
