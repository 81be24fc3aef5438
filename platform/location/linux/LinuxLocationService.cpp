// SPDX-License-Identifier: Apache-2.0
#include "platform/location/linux/LinuxLocationService.h"

#include <set>
#include <utility>

#include "platform/kit/bus/BusProperties.h"

namespace zorva {
namespace {

constexpr const char* kGeoClue = "org.freedesktop.GeoClue2";
constexpr const char* kManagerPath = "/org/freedesktop/GeoClue2/Manager";
constexpr const char* kManager = "org.freedesktop.GeoClue2.Manager";

// Codes of technologies, as in LocationService.h.
enum : std::int64_t { kGps = 1, kNmea = 2, kWiFi = 4, kCell = 6 };

// The technologies of the modem's location sources, a bit mask. The other bits are assistance for
// GPS.
constexpr std::pair<std::uint32_t, std::int64_t> kSources[] = {
    {1u << 0, kCell},                    // 3GPP location area and cell
    {1u << 1, kGps},                     // raw
    {1u << 2, kNmea}, {1u << 3, kCell},  // CDMA base station
    {1u << 4, kGps},                     // managed by another service
};

}  // namespace

LinuxLocationService::LinuxLocationService(sd_event* event, LinuxBus& bus,
                                           ModemLocationSources modems,
                                           NotificationCentre& notifications)
    : bus_(bus),
      modems_(std::move(modems)),
      notifications_(notifications),
      update_(event, [this] { update(); }) {
  const auto geoClueChanged = [this] {
    geoClueChanged_ = true;
    update_.request();
  };
  registrations_.push_back(bus_.observeConnection(geoClueChanged));
  registrations_.push_back(bus_.observeService(kGeoClue, geoClueChanged));
  registrations_.push_back(bus_.observeSignals(
      std::string("type='signal',sender='") + kGeoClue + "',path='" + kManagerPath +
          "',interface='org.freedesktop.DBus.Properties',member='PropertiesChanged'",
      [geoClueChanged](sd_bus_message*) { geoClueChanged(); }));
  registrations_.push_back(modems_.observe([this] { update_.request(); }));
  technologies_ = readTechnologies();
}

bool LinuxLocationService::geoClueInUse() {
  const LinuxBus::Reply reply = getProperty(bus_, kGeoClue, kManagerPath, kManager, "InUse", "b");
  int inUse = 0;
  return reply.message && sd_bus_message_read(reply.message.get(), "b", &inUse) > 0 && inUse != 0;
}

std::vector<std::int64_t> LinuxLocationService::readTechnologies() {
  if (std::exchange(geoClueChanged_, false)) geoClueInUse_ = geoClueInUse();
  std::set<std::int64_t> technologies;
  if (geoClueInUse_) technologies.insert(kWiFi);
  const std::uint32_t enabled = modems_.enabled();
  for (const auto& [source, technology] : kSources) {
    if (enabled & source) technologies.insert(technology);
  }
  return {technologies.begin(), technologies.end()};
}

void LinuxLocationService::update() {
  std::vector<std::int64_t> technologies = readTechnologies();
  if (technologies == technologies_) return;
  technologies_ = std::move(technologies);
  notifications_.post(kLocationTechnologyStatusChanged);
}

}  // namespace zorva
