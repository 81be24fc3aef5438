// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/kit/bus/LinuxBus.h"
#include "platform/system/ProfileSettings.h"

namespace zorva {

/// The auto-lock time is the time of inactivity after which the login manager acts (IdleActionSec=
/// of logind.conf), in whole seconds; nothing if no action is set, or if there is no login manager.
/// The settings of a desktop's own screen lock are not read.
class LinuxProfileSettings : public ProfileSettings {
 public:
  /// The bus must outlive this object.
  explicit LinuxProfileSettings(LinuxBus& bus) : bus_(bus) {}

  Value effectiveValue(const std::string& setting) override;

 private:
  LinuxBus& bus_;
};

}  // namespace zorva
