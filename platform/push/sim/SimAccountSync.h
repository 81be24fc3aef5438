// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <utility>

#include "platform/notifications/NotificationCentre.h"
#include "platform/push/AccountSync.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The account-sync service; at first there is no account.
class SimAccountSync : public AccountSync {
 public:
  SimAccountSync(SimParts& parts, NotificationCentre& notifications);

  std::vector<Dictionary> statusReports() override {
    if (statusReportsFault_.strikes()) return {};
    return reports_;
  }

  void setReports(std::vector<Dictionary> reports) { reports_ = std::move(reports); }

 private:
  SimFaultPoint statusReportsFault_;
  std::vector<Dictionary> reports_;
};

}  // namespace zorva
