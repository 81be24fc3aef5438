// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "platform/system/DeviceInformation.h"

namespace zorva {

/// Device information from the files of a Linux system, read at each call.
///
/// "UserAssignedDeviceName": the pretty host name of "/etc/machine-info", otherwise the host name.
/// It becomes part of a file name, so "/" is replaced by "-", control characters are escaped, and
/// it is cut after 200 bytes.
/// "BuildVersion": the name and build in os-release, and the kernel's release.
/// "HWModelStr": "HARDWARE_MODEL" of "/etc/machine-info" (after its "HARDWARE_VENDOR"), otherwise
/// the device tree's model, otherwise the firmware's vendor and product.
/// "InverseDeviceID": 32 hexadecimal digits, a keyed hash of the machine's id made for Zorva alone;
/// nothing if the machine has no id. Always of the running machine.
/// "gas-gauge-battery": as the battery's service reports, nothing without one.
class LinuxDeviceInformation : public DeviceInformation {
 public:
  /// `root` is prepended to "/etc", "/usr" and "/sys".
  explicit LinuxDeviceInformation(std::function<Value()> gasGaugeBattery = nullptr,
                                  std::string root = {})
      : gasGaugeBattery_(std::move(gasGaugeBattery)), root_(std::move(root)) {}

  Value answer(const std::string& key) override;

 private:
  std::function<Value()> gasGaugeBattery_;
  std::string root_;
};

}  // namespace zorva
