// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string_view>

#include "platform/notifications/SystemNotifications.h"

namespace zorva {

/// The notification centre's interface for the platform's own services.
class NotificationCentre : public SystemNotifications {
 public:
  /// Calls the subscribers of the name in this process before it returns.
  virtual void post(std::string_view name) = 0;
};

}  // namespace zorva
