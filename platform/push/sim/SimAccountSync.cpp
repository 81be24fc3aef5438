// SPDX-License-Identifier: Apache-2.0
#include "platform/push/sim/SimAccountSync.h"

namespace zorva {

SimAccountSync::SimAccountSync(SimParts& parts, NotificationCentre& notifications)
    : statusReportsFault_(parts.faults, "accountSync.statusReports") {
  parts.sections.addBoth("account_reports", [this](const ScenarioNode& node) -> ScenarioAction {
    std::vector<Dictionary> reports;
    for (const ScenarioNode& item : node.list()) {
      Dictionary report;
      for (const auto& [key, value] : item.entries()) report.set(key.text(), value.value());
      reports.push_back(std::move(report));
    }
    return [this, reports] { setReports(reports); };
  });
  parts.sections.addStep(
      "account_ping", [&notifications](const ScenarioNode& node) -> ScenarioAction {
        const bool sent = node.text() == "sent";
        if (!sent && node.text() != "received") node.refuse("write sent or received here");
        const char* name = sent ? accountsync::kPingGoingOut : accountsync::kPingReceivedTraffic;
        return [&notifications, name] { notifications.post(name); };
      });
}

}  // namespace zorva
