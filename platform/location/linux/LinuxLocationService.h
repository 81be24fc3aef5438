// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <vector>

#include "platform/base/Registration.h"
#include "platform/kit/bus/LinuxBus.h"
#include "platform/kit/loop/EventSources.h"
#include "platform/location/LocationService.h"
#include "platform/notifications/NotificationCentre.h"

namespace zorva {

/// The location sources that are enabled on the modems.
struct ModemLocationSources {
  std::function<std::uint32_t()> enabled;  ///< a bit mask of ModemManager's location sources
  std::function<Registration(std::function<void()> changed)> observe;
};

/// Whether GeoClue is in use, and which location sources are enabled on the modems
/// (docs/linux-services.md). Neither reveals its clients, so the list of clients is empty.
class LinuxLocationService : public LocationService {
 public:
  /// Reads the current state immediately. All arguments must outlive this object. A change posts
  /// kLocationTechnologyStatusChanged from the event loop.
  LinuxLocationService(sd_event* event, LinuxBus& bus, ModemLocationSources modems,
                       NotificationCentre& notifications);

  /// In ascending order.
  std::vector<std::int64_t> copyTechnologiesInUse() override { return technologies_; }
  std::vector<std::pair<std::string, Dictionary>> copyClients() override { return {}; }

 private:
  bool geoClueInUse();
  std::vector<std::int64_t> readTechnologies();
  void update();

  LinuxBus& bus_;
  ModemLocationSources modems_;
  NotificationCentre& notifications_;
  bool geoClueInUse_ = false;
  bool geoClueChanged_ = true;  ///< since the last query
  std::vector<std::int64_t> technologies_;
  CoalescedCall update_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
