// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "platform/loop/Clock.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/push/PersistentConnections.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The persistent-connection service. It has settings only for the user "mobile" (kUsualOwner if
/// the handset has no such user): push and manual polling at first. For other users nothing is set:
/// no push and no caches. All settings classes are the same.
class SimPersistentConnections : public PersistentConnections {
 public:
  static constexpr std::uint32_t kUsualOwner = 501;

  /// `readByOwner` returns whether the effective user is now "mobile".
  SimPersistentConnections(SimParts& parts, const Clock& clock, std::function<bool()> readByOwner,
                           NotificationCentre& notifications);

  bool pushEnabled(std::int32_t) override { return readByOwner_() && push_; }
  std::int32_t pollInterval(std::int32_t) override {
    return readByOwner_() ? polling_ : kManualPolling;
  }
  std::vector<std::pair<std::string, IntervalCache>> intervalCaches() override;

  /// Sets both settings and reports the change.
  void setPreferences(bool push, std::int32_t polling);
  /// Sets one cache and reports the change; an empty value removes it.
  void setCache(const std::string& identifier, std::optional<IntervalCache> cache);

 private:
  ScenarioAction read(const ScenarioNode& node);
  ScenarioAction readCache(const std::string& identifier, const ScenarioNode& node);

  const Clock& clock_;
  std::function<bool()> readByOwner_;
  NotificationCentre& notifications_;
  SimFaultPoint intervalCachesFault_;
  bool push_ = true;
  std::int32_t polling_ = kManualPolling;
  std::vector<std::pair<std::string, IntervalCache>> caches_;
};

}  // namespace zorva
