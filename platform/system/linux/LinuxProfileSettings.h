// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/kit/bus/LinuxBus.h"
#include "platform/system/ProfileSettings.h"

namespace zorva {

/// The auto-lock time is the time without use after which the login manager acts (IdleActionSec= of
/// logind.conf), in whole seconds; nothing while it is to do nothing then, or is not there. What a
/// desktop's own screen lock is set to is not known here.
class LinuxProfileSettings : public ProfileSettings {
 public:
  /// The bus must outlive this.
  explicit LinuxProfileSettings(LinuxBus& bus) : bus_(bus) {}

  Value effectiveValue(const std::string& setting) override;

 private:
  LinuxBus& bus_;
};

}  // namespace zorva
