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

/// What the modems are set up to locate by.
struct ModemLocationSources {
  std::function<std::uint32_t()> enabled;  ///< a set of bits, as ModemManager numbers them
  std::function<Registration(std::function<void()> changed)> observe;
};

/// Whether GeoClue locates anybody, and what the modems are set up to locate by
/// (docs/linux-services.md). Neither shows its clients to others: there are none here.
class LinuxLocationService : public LocationService {
 public:
  /// Reads the present state at once; all of them outlive this. A change posts
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
  bool geoClueChanged_ = true;  ///< since it was asked
  std::vector<std::int64_t> technologies_;
  CoalescedCall update_;
  std::vector<Registration> registrations_;
};

}  // namespace zorva
