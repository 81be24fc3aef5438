// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <string>

#include "platform/system/DeviceInformation.h"

namespace zorva {

/// Device information from where Linux keeps it, read anew for each question.
///
/// "UserAssignedDeviceName": the pretty host name of "/etc/machine-info", else the host name. It
/// becomes part of a file name, so "/" is replaced by "-", control characters are escaped, and it
/// ends after at most 200 bytes.
/// "BuildVersion": the name and build in os-release, and the kernel's release.
/// "HWModelStr": "HARDWARE_MODEL" of "/etc/machine-info" (led by its "HARDWARE_VENDOR"), else the
/// device tree's model, else vendor and product as the firmware names them.
/// "InverseDeviceID": 32 hexadecimal digits, a keyed hash of the machine's id made for Zorva alone;
/// nothing where the machine has no id. Always of the running machine.
/// "gas-gauge-battery": what the battery's service says, nothing without one.
class LinuxDeviceInformation : public DeviceInformation {
 public:
  /// `root` is put in front of "/etc", "/usr" and "/sys".
  explicit LinuxDeviceInformation(std::function<Value()> gasGaugeBattery = nullptr,
                                  std::string root = {})
      : gasGaugeBattery_(std::move(gasGaugeBattery)), root_(std::move(root)) {}

  Value answer(const std::string& key) override;

 private:
  std::function<Value()> gasGaugeBattery_;
  std::string root_;
};

}  // namespace zorva
