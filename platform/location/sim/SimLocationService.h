// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "platform/location/LocationService.h"
#include "platform/notifications/NotificationCentre.h"
#include "platform/scenario/SimParts.h"

namespace zorva {

/// The location service; at first cells are its only technology and there are no clients.
class SimLocationService : public LocationService {
 public:
  SimLocationService(SimParts& parts, NotificationCentre& notifications);

  std::vector<std::int64_t> copyTechnologiesInUse() override;
  std::vector<std::pair<std::string, Dictionary>> copyClients() override;

  /// Each setter reports its change.
  void setTechnologies(std::vector<std::int64_t> technologies);
  /// An empty value removes the client.
  void setClient(const std::string& key, std::optional<Dictionary> record);

 private:
  NotificationCentre& notifications_;
  SimFaultPoint copyTechnologiesInUseFault_;
  SimFaultPoint copyClientsFault_;
  std::vector<std::int64_t> technologies_{6};
  std::vector<std::pair<std::string, Dictionary>> clients_;
};

}  // namespace zorva
