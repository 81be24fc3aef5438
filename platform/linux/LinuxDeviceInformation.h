#pragma once

#include <functional>
#include <string>

#include "platform/DeviceInformation.h"

namespace zorva {

/// Device information from where Linux keeps it, read anew for each question.
///
/// "UserAssignedDeviceName": the pretty host name of "/etc/machine-info", else the host name. It
/// becomes part of a file name, so "/" is replaced by "-", control characters are escaped, and it
/// ends after at most 200 bytes.
/// "gas-gauge-battery": what the battery's service says, nothing without one.
class LinuxDeviceInformation : public DeviceInformation {
 public:
  /// `root` is put in front of "/etc".
  explicit LinuxDeviceInformation(std::function<Value()> gasGaugeBattery = nullptr,
                                  std::string root = {})
      : gasGaugeBattery_(std::move(gasGaugeBattery)), root_(std::move(root)) {}

  Value answer(const std::string& key) override;

 private:
  std::function<Value()> gasGaugeBattery_;
  std::string root_;
};

}  // namespace zorva
