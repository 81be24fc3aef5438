// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "platform/kit/files/SysfsAttributes.h"
#include "platform/registry/linux/LinuxRegistryEntry.h"

namespace zorva {

/// The display's backlight. Its directory is looked up anew at every reading, so that the handle
/// works again when the device was taken out and put back.
class LinuxBacklight : public LinuxRegistryEntry {
 public:
  /// The one of the best type, then the lowest by name; nothing if there is none.
  static std::shared_ptr<LinuxBacklight> find(const std::string& classDirectory);

  RegistryResult readProperties(Dictionary& properties) override;
  Value readProperty(const std::string& key) override;
  const char* subsystem() const override { return "backlight"; }
  std::unique_ptr<Watch> watch(sd_event* event, Report report) override;

 private:
  class BrightnessWatch;

  LinuxBacklight(const std::string& classDirectory, std::string name);
  bool present() const;
  SysfsAttributes attributes() const;

  std::string name_;
  std::string directory_;
};

}  // namespace zorva
