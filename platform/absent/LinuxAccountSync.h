// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/push/AccountSync.h"

namespace zorva {

/// There is no such service on Linux, hence no account to report on. Notifications posted in its
/// name are delivered like any system notification.
class LinuxAccountSync : public AccountSync {
 public:
  std::vector<Dictionary> statusReports() override { return {}; }
};

}  // namespace zorva
