// SPDX-License-Identifier: Apache-2.0
#include "platform/thermal/linux/LinuxThermal.h"

#include <algorithm>
#include <cmath>
#include <string_view>
#include <utility>

#include "platform/kit/files/SysfsAttributes.h"

namespace zorva {
namespace {

// Whether the name is the prefix and a number.
bool isNumbered(std::string_view name, std::string_view prefix) {
  return name.starts_with(prefix) && name.size() > prefix.size() &&
         name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

// The cooling device is bound to a temperature of the zone from which on the device has to do less.
// Fans have trip points of another kind, and a device that is bound to none (a backlight that is
// cooler when it is dark) has a state that says nothing about heat.
bool throttles(const std::string& zone, const std::string& device) {
  const auto trip = readNumber(zone + "/" + device + "_trip_point");
  return trip && *trip >= 0 &&
         readAttribute(zone + "/trip_point_" + std::to_string(*trip) + "_type") == "passive";
}

// In percent of the strongest throttling.
std::int32_t throttling(const std::string& device) {
  const auto current = readNumber(device + "/cur_state");
  const auto most = readNumber(device + "/max_state");
  if (!current || !most || *current <= 0 || *most <= 0) return 0;
  const double share = static_cast<double>(*current) / static_cast<double>(*most);
  return static_cast<std::int32_t>(std::ceil(std::min(share, 1.0) * 100));
}

// In hundredths of a degree; 0 for what a reading cannot hold.
std::uint64_t sensorReading(std::optional<std::int64_t> millidegrees) {
  if (!millidegrees || *millidegrees < 0 || *millidegrees > 655'350) return 0;
  return static_cast<std::uint64_t>(*millidegrees + 5) / 10;
}

}  // namespace

LinuxThermal::LinuxThermal(sd_event* event, NotificationCentre& notifications,
                           const ProvideState& provideState, std::string directory)
    : event_(event),
      notifications_(notifications),
      directory_(std::move(directory)),
      changed_(event, [this] { reportChange(); }) {
  for (std::size_t index = 0; index < kThermalSensorValues.size(); ++index) {
    states_.push_back(
        provideState(kThermalSensorValues[index], [this, index] { return sensorState(index); }));
  }
}

std::int32_t LinuxThermal::level() {
  if (!events_) listen();  // before the reading, so that no change falls between the two
  return reported_ = readLevel();
}

std::int32_t LinuxThermal::readLevel() const {
  std::int32_t level = 0;
  for (const std::string& name : entryNames(directory_)) {
    if (!isNumbered(name, "thermal_zone")) continue;
    const std::string zone = directory_ + "/" + name;
    for (const std::string& device : entryNames(zone)) {
      if (isNumbered(device, "cdev") && throttles(zone, device)) {
        level = std::max(level, throttling(zone + "/" + device));
      }
    }
  }
  return level;
}

std::uint64_t LinuxThermal::sensorState(std::size_t index) const {
  std::uint64_t state = 0;
  for (int reading = 0; reading < kThermalReadingsPerState; ++reading) {
    const std::string zone =
        directory_ + "/thermal_zone" +
        std::to_string(static_cast<int>(index) * kThermalReadingsPerState + reading);
    state |= sensorReading(readNumber(zone + "/temp")) << (16 * reading);
  }
  return state;
}

void LinuxThermal::listen() {
  events_.emplace(event_, [this] { changed_.request(); });
  sd_device_monitor* monitor = nullptr;
  if (sd_device_monitor_new(&monitor) < 0) return;
  monitor_.reset(monitor);
  const auto deviceChanged = [](sd_device_monitor*, sd_device*, void* self) {
    static_cast<LinuxThermal*>(self)->changed_.request();
    return 0;
  };
  if (sd_device_monitor_filter_add_match_subsystem_devtype(monitor, "thermal", nullptr) < 0 ||
      sd_device_monitor_attach_event(monitor, event_) < 0 ||
      sd_device_monitor_start(monitor, deviceChanged, this) < 0) {
    monitor_.reset();
  }
}

void LinuxThermal::reportChange() {
  const std::int32_t now = readLevel();
  if (std::exchange(reported_, now) != now) notifications_.post(kThermalLevelChanged);
}

}  // namespace zorva
