#pragma once

#include <cstdint>
#include <vector>

#include "platform/LocationService.h"
#include "platform/Registration.h"
#include "platform/linux/EventSources.h"
#include "platform/linux/LinuxBus.h"
#include "platform/linux/LinuxSystemNotifications.h"
#include "platform/linux/ModemManagerClient.h"

namespace zorva {

/// Whether GeoClue locates anybody, and what the modems are set up to locate by
/// (docs/linux-services.md). Neither tells others of its clients: there are none here.
class LinuxLocationService : public LocationService {
 public:
  /// Reads what is there at once; all of them outlive this. A change posts
  /// kLocationTechnologyStatusChanged from the event loop.
  LinuxLocationService(sd_event* event, LinuxBus& bus, ModemManagerClient& modems,
                       LinuxSystemNotifications& notifications);

  /// In ascending order.
  std::vector<std::int64_t> copyTechnologiesInUse() override { return technologies_; }
  std::vector<std::pair<std::string, Dictionary>> copyClients() override { return {}; }

 private:
  bool geoClueInUse();
  std::vector<std::int64_t> readTechnologies();
  void update();

  LinuxBus& bus_;
  ModemManagerClient& modems_;
  LinuxSystemNotifications& notifications_;
  bool geoClueInUse_ = false;
  bool geoClueChanged_ = true;  ///< since it was asked
  std::vector<std::int64_t> technologies_;
  CoalescedCall update_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
