#pragma once

#include "platform/Clock.h"
#include "platform/PersistentConnections.h"
#include "platform/sim/SimAccountDatabase.h"
#include "platform/sim/SimParts.h"
#include "platform/sim/SimProcessIdentity.h"
#include "platform/sim/SimSystemNotifications.h"

namespace zorva {

/// The persistent-connection service, which has settings of the user "mobile" only (501 where the
/// handset has no such user): push and manual polling at first. Read in another name there is
/// nothing set, no push and no caches. It is the same for every settings class.
class SimPersistentConnections : public PersistentConnections {
 public:
  SimPersistentConnections(SimParts& parts, const Clock& clock, const SimAccountDatabase& accounts,
                           SimProcessIdentity& identity, SimSystemNotifications& notifications);

  bool pushEnabled(std::int32_t) override { return readByOwner() && push_; }
  std::int32_t pollInterval(std::int32_t) override {
    return readByOwner() ? polling_ : kManualPolling;
  }
  std::vector<std::pair<std::string, IntervalCache>> intervalCaches() override;

  /// Sets both and tells the change.
  void setPreferences(bool push, std::int32_t polling);
  /// Sets one cache and tells the change; nothing takes it away.
  void setCache(const std::string& identifier, std::optional<IntervalCache> cache);

 private:
  ScenarioAction read(const ScenarioNode& node);
  ScenarioAction readCache(const std::string& identifier, const ScenarioNode& node);
  bool readByOwner() const;

  const Clock& clock_;
  const SimAccountDatabase& accounts_;
  SimProcessIdentity& identity_;
  SimSystemNotifications& notifications_;
  SimFaultPoint intervalCachesFault_;
  bool push_ = true;
  std::int32_t polling_ = kManualPolling;
  std::vector<std::pair<std::string, IntervalCache>> caches_;
};

}  // namespace zorva
