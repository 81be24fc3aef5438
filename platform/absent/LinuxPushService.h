// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/push/PushService.h"

namespace zorva {

/// There is no push service on Linux that hands its messages to others. What is posted in its name
/// is heard all the same, as any system notification.
class LinuxPushService : public PushService {
 public:
  std::unique_ptr<PushConnection> createConnection(const std::string&) override { return nullptr; }
};

}  // namespace zorva
