// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/push/PushService.h"

namespace zorva {

/// There is no push service on Linux that delivers its messages to other programs. Notifications
/// posted in its name are delivered like any system notification.
class LinuxPushService : public PushService {
 public:
  std::unique_ptr<PushConnection> createConnection(const std::string&) override { return nullptr; }
};

}  // namespace zorva
