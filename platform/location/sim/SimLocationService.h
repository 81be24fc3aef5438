// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/location/LocationService.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The location service, at first with cells for its only technology and no clients.
class SimLocationService : public LocationService {
 public:
  SimLocationService(SimParts& parts, NotificationCentre& notifications);

  std::vector<std::int64_t> copyTechnologiesInUse() override;
  std::vector<std::pair<std::string, Dictionary>> copyClients() override;

  /// Each reports its change.
  void setTechnologies(std::vector<std::int64_t> technologies);
  /// Nothing takes the client away.
  void setClient(const std::string& key, std::optional<Dictionary> record);

 private:
  NotificationCentre& notifications_;
  SimFaultPoint copyTechnologiesInUseFault_;
  SimFaultPoint copyClientsFault_;
  std::vector<std::int64_t> technologies_{6};
  std::vector<std::pair<std::string, Dictionary>> clients_;
};

}  // namespace zorva
