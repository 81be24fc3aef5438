#pragma once

#include "platform/TelephonyNotifications.h"

namespace zorva {

class LinuxTelephonyNotifications : public TelephonyNotifications {
 public:
  Registration observe(const std::string&, Callback) override { return {}; }
};

}  // namespace zorva
